#include "conference/media/scaler.h"

#include <libyuv.h>

#include <algorithm>
#include <memory>

namespace kavrin::conference {
namespace {

struct Planes {
  unsigned char* y;
  unsigned char* u;
  unsigned char* v;
};

// A picture with memory that is not initialised, and where to write its planes.
std::shared_ptr<Picture> newPicture(int width, int height, StreamType type,
                                    Clock::time_point producedAt, Planes& planes) {
  auto picture = std::make_shared<Picture>();
  picture->width = static_cast<std::uint16_t>(width);
  picture->height = static_cast<std::uint16_t>(height);
  picture->type = type;
  picture->producedAt = producedAt;
  std::shared_ptr<unsigned char[]> memory(new unsigned char[picture->size()]);
  planes.y = memory.get();
  planes.u = planes.y + width * height;
  planes.v = planes.u + width * height / 4;
  picture->data = memory.get();
  picture->memory = std::move(memory);
  return picture;
}

int even(int number) { return std::max(2, number / 2 * 2); }

}  // namespace

PicturePtr packPicture(const PlanesView& view, StreamType type, Clock::time_point producedAt) {
  Planes out{};
  auto picture = newPicture(view.width, view.height, type, producedAt, out);
  libyuv::I420Copy(view.planes[0], view.strides[0], view.planes[1], view.strides[1], view.planes[2],
                   view.strides[2], out.y, view.width, out.u, view.width / 2, out.v, view.width / 2,
                   view.width, view.height);
  return picture;
}

PicturePtr scalePicture(const Picture& picture, int width, int height, StreamType type) {
  Planes out{};
  auto scaled = newPicture(width, height, type, picture.producedAt, out);
  const int w = picture.width;
  const int h = picture.height;
  const unsigned char* y = picture.data;
  const unsigned char* u = y + w * h;
  const unsigned char* v = u + w * h / 4;
  libyuv::I420Scale(y, w, u, w / 2, v, w / 2, w, h, out.y, width, out.u, width / 2, out.v,
                    width / 2, width, height, libyuv::kFilterBilinear);
  return scaled;
}

std::vector<unsigned char> bgraOf(const Picture& picture) {
  const int width = picture.width;
  const int height = picture.height;
  const unsigned char* y = picture.data;
  const unsigned char* u = y + width * height;
  const unsigned char* v = u + width * height / 4;
  std::vector<unsigned char> pixels(std::size_t{picture.width} * picture.height * 4);
  libyuv::I420ToARGB(y, width, u, width / 2, v, width / 2, pixels.data(), width * 4, width, height);
  return pixels;
}

VideoFormat smallFormat(int width, int height) {
  if (height < 360) return {even(width / 2), even(height / 2), 0};
  return {even(width * 180 / height), 180, 0};
}

VideoFormat fitInto(int width, int height, int maxWidth, int maxHeight) {
  if (width <= maxWidth && height <= maxHeight) return {even(width), even(height), 0};
  const double scale = std::min(double(maxWidth) / width, double(maxHeight) / height);
  return {even(static_cast<int>(width * scale)), even(static_cast<int>(height * scale)), 0};
}

}  // namespace kavrin::conference
