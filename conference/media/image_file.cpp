#include "conference/media/image_file.h"

#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <gst/video/video.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>

#include "conference/gst/gst_runtime.h"

namespace kavrin::conference {
namespace {

std::string endingOf(const std::string& path) {
  const auto dot = path.find_last_of("./\\");
  if (dot == std::string::npos || path[dot] != '.') return {};
  std::string ending = path.substr(dot + 1);
  std::transform(ending.begin(), ending.end(), ending.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return ending;
}

bool isJpeg(const std::string& ending) { return ending == "jpg" || ending == "jpeg"; }

// The picture in a buffer with the row alignment that GStreamer expects of raw video.
GstBuffer* bufferOf(const Picture& picture) {
  GstVideoInfo info;
  gst_video_info_set_format(&info, GST_VIDEO_FORMAT_I420, picture.width, picture.height);
  GstBuffer* buffer = gst_buffer_new_allocate(nullptr, info.size, nullptr);
  const unsigned char* source = picture.data;
  for (int plane = 0; plane < 3; ++plane) {
    const std::size_t width = plane == 0 ? picture.width : picture.width / 2;
    const std::size_t rows = plane == 0 ? picture.height : picture.height / 2;
    for (std::size_t row = 0; row < rows; ++row, source += width) {
      gst_buffer_fill(buffer, info.offset[plane] + row * info.stride[plane], source, width);
    }
  }
  GST_BUFFER_PTS(buffer) = 0;
  return buffer;
}

// The encoded picture, or null.
GstSamplePtr encode(const Picture& picture, bool jpeg) {
  const char* description =
      jpeg ? "appsrc name=in ! jpegenc quality=90 ! appsink name=out sync=false"
           : "appsrc name=in ! videoconvert ! pngenc compression-level=2 ! "
             "appsink name=out sync=false";
  const PipelinePtr pipeline = parsePipeline(description);
  if (!pipeline) return nullptr;
  const GstElementPtr in = elementOf(pipeline, "in");
  const GstElementPtr out = elementOf(pipeline, "out");
  const GstCapsPtr caps(gst_caps_new_simple(
      "video/x-raw", "format", G_TYPE_STRING, "I420", "width", G_TYPE_INT, int{picture.width},
      "height", G_TYPE_INT, int{picture.height}, "framerate", GST_TYPE_FRACTION, 1, 1, nullptr));
  g_object_set(in.get(), "caps", caps.get(), "format", GST_FORMAT_TIME, nullptr);
  gst_element_set_state(pipeline.get(), GST_STATE_PLAYING);
  gst_app_src_push_buffer(GST_APP_SRC(in.get()), bufferOf(picture));
  gst_app_src_end_of_stream(GST_APP_SRC(in.get()));
  return GstSamplePtr(gst_app_sink_try_pull_sample(GST_APP_SINK(out.get()), 2 * GST_SECOND));
}

}  // namespace

bool isImageFileName(const std::string& path) {
  const std::string ending = endingOf(path);
  return ending == "png" || isJpeg(ending);
}

Code writeImageFile(const Picture& picture, const std::string& path) {
  if (!isImageFileName(path)) return Code::kInvalidArgument;
  const GstSamplePtr sample = encode(picture, isJpeg(endingOf(path)));
  GstMapInfo map;
  if (!sample || !gst_buffer_map(gst_sample_get_buffer(sample.get()), &map, GST_MAP_READ)) {
    return Code::kMediaFailed;
  }
  std::FILE* file = std::fopen(path.c_str(), "wb");
  bool written = false;
  if (file != nullptr) {
    written = std::fwrite(map.data, 1, map.size, file) == map.size;
    written = std::fclose(file) == 0 && written;
    if (!written) std::remove(path.c_str());
  }
  gst_buffer_unmap(gst_sample_get_buffer(sample.get()), &map);
  return written ? Code::kOk : Code::kFileError;
}

}  // namespace kavrin::conference
