// Pictures as files.
#pragma once

#include <string>

#include "conference/media/picture.h"

namespace kavrin::conference {

// True for names that end in .png, .jpg or .jpeg, in any case of letters.
bool isImageFileName(const std::string& path);

// Writes PNG or JPEG, chosen by the name's ending. A file that could not be written whole is
// removed. kInvalidArgument, kMediaFailed or kFileError on failure.
Code writeImageFile(const Picture& picture, const std::string& path);

}  // namespace kavrin::conference
