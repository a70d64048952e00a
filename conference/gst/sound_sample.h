#pragma once

#include "conference/gst/gst_runtime.h"
#include "conference/media/picture.h"

namespace kavrin::conference {

// The samples of a signed 16-bit mono sample, copied, with their loudness. Never null.
SoundPtr soundOf(GstSample* sample);

}  // namespace kavrin::conference
