// Copies and scales pictures.
#pragma once

#include "conference/media/picture.h"

namespace kavrin::conference {

// Planes of a picture somewhere in memory, with any strides.
struct PlanesView {
  const unsigned char* planes[3];
  int strides[3];  // bytes
  int width;       // pixels, even
  int height;      // pixels, even
};

// A tightly packed copy.
PicturePtr packPicture(const PlanesView& view, StreamType type, Clock::time_point producedAt);

// A new picture of the given even size, marked as `type`; keeps the moment of production.
PicturePtr scalePicture(const Picture& picture, int width, int height, StreamType type);

// Rows from the top, four bytes a pixel: blue, green, red, 255.
std::vector<unsigned char> bgraOf(const Picture& picture);

// The size of the small stream beside a picture: 180 rows, or half of what is smaller than 360.
VideoFormat smallFormat(int width, int height);

// The largest even size of the same shape within the bounds.
VideoFormat fitInto(int width, int height, int maxWidth, int maxHeight);

}  // namespace kavrin::conference
