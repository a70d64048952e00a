#include "conference/gst/sample_pipeline.h"

#include <gst/video/video.h>

#include <utility>

#include "conference/gst/plugin_loading.h"
#include "conference/media/scaler.h"

namespace kavrin::conference {

std::unique_ptr<SamplePipeline> SamplePipeline::start(const std::string& description,
                                                      OnSample onSample, const std::string& file) {
  const PluginLoading loading;  // the decoder of a file is found and loaded while it starts
  if (!loading) return nullptr;
  PipelinePtr pipeline = parsePipeline(description.c_str());
  if (!pipeline) return nullptr;
  if (!file.empty()) {
    g_object_set(elementOf(pipeline, "file").get(), "location", file.c_str(), nullptr);
  }
  std::unique_ptr<SamplePipeline> self(
      new SamplePipeline(std::move(pipeline), std::move(onSample)));
  GstElement* element = self->pipeline_.get();
  auto result = gst_element_set_state(element, GST_STATE_PLAYING);
  if (result == GST_STATE_CHANGE_ASYNC && !file.empty()) {
    result = gst_element_get_state(element, nullptr, nullptr, GST_SECOND / 2);
  }
  return result == GST_STATE_CHANGE_FAILURE ? nullptr : std::move(self);
}

SamplePipeline::SamplePipeline(PipelinePtr pipeline, OnSample onSample)
    : pipeline_(std::move(pipeline)), onSample_(std::move(onSample)) {
  GstAppSinkCallbacks callbacks{};
  callbacks.new_sample = &SamplePipeline::newSample;
  const GstElementPtr sink = elementOf(pipeline_, "out");
  handOver(this);
  gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()), &callbacks, this, nullptr);
}

SamplePipeline::~SamplePipeline() {
  OnSample gone;
  {
    MutexLock lock(mutex_);
    gone.swap(onSample_);
  }
  gst_element_set_state(pipeline_.get(), GST_STATE_NULL);
  takeOver(this);
}

bool SamplePipeline::ended() {
  GstBus* bus = gst_element_get_bus(pipeline_.get());
  GstMessage* message =
      gst_bus_pop_filtered(bus, static_cast<GstMessageType>(GST_MESSAGE_EOS | GST_MESSAGE_ERROR));
  gst_object_unref(bus);
  if (message == nullptr) return false;
  gst_message_unref(message);
  return true;
}

GstFlowReturn SamplePipeline::newSample(GstAppSink* sink, gpointer self) {
  GstSamplePtr sample(gst_app_sink_pull_sample(sink));
  takeOver(self);
  if (sample) static_cast<SamplePipeline*>(self)->pass(std::move(sample));
  handOver(self);
  return GST_FLOW_OK;
}

void SamplePipeline::pass(GstSamplePtr sample) {
  MutexLock lock(mutex_);
  if (onSample_) onSample_(std::move(sample));
}

namespace {

// A picture's bytes inside a GStreamer buffer, mapped for as long as the object lives.
struct MappedFrame {
  GstSamplePtr sample;
  GstVideoFrame frame{};
  bool mapped = false;

  MappedFrame() = default;
  MappedFrame(const MappedFrame&) = delete;
  MappedFrame& operator=(const MappedFrame&) = delete;
  ~MappedFrame() {
    if (mapped) gst_video_frame_unmap(&frame);
  }
};

PlanesView planesOf(const GstVideoFrame& frame) {
  PlanesView view{};
  for (int plane = 0; plane < 3; ++plane) {
    view.planes[plane] =
        static_cast<const unsigned char*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane));
    view.strides[plane] = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
  }
  view.width = GST_VIDEO_FRAME_WIDTH(&frame);
  view.height = GST_VIDEO_FRAME_HEIGHT(&frame);
  return view;
}

bool isTight(const PlanesView& view) {
  const int pixels = view.width * view.height;
  return view.strides[0] == view.width && view.strides[1] == view.width / 2 &&
         view.strides[2] == view.width / 2 && view.planes[1] == view.planes[0] + pixels &&
         view.planes[2] == view.planes[1] + pixels / 4;
}

}  // namespace

PicturePtr pictureOf(GstSamplePtr sample, StreamType type) {
  const auto now = Clock::now();
  auto mapped = std::make_shared<MappedFrame>();
  mapped->sample = std::move(sample);
  GstVideoInfo info;
  if (!gst_video_info_from_caps(&info, gst_sample_get_caps(mapped->sample.get()))) return nullptr;
  mapped->mapped = gst_video_frame_map(&mapped->frame, &info,
                                       gst_sample_get_buffer(mapped->sample.get()), GST_MAP_READ);
  if (!mapped->mapped || GST_VIDEO_INFO_FORMAT(&info) != GST_VIDEO_FORMAT_I420) return nullptr;
  const PlanesView view = planesOf(mapped->frame);
  if (view.width % 2 != 0 || view.height % 2 != 0) return nullptr;
  if (!isTight(view)) return packPicture(view, type, now);

  auto picture = std::make_shared<Picture>();
  picture->width = static_cast<std::uint16_t>(view.width);
  picture->height = static_cast<std::uint16_t>(view.height);
  picture->type = type;
  picture->producedAt = now;
  picture->data = view.planes[0];
  picture->memory = std::move(mapped);
  return picture;
}

}  // namespace kavrin::conference
