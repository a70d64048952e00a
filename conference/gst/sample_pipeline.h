// A pipeline that ends in an element named "out" of type appsink and hands over its samples.
#pragma once

#include <gst/app/gstappsink.h>

#include <functional>
#include <memory>
#include <string>

#include "conference/gst/gst_runtime.h"
#include "conference/media/devices.h"
#include "support/thread_annotations.h"

namespace kavrin::conference {

// Threads: construct and destroy on any one thread; `onSample` is called on the pipeline's
// streaming thread. Shutdown: the destructor first shuts the gate to `onSample` (waiting for a call
// that runs), then stops the pipeline.
class SamplePipeline : public Capture {
 public:
  using OnSample = std::function<void(GstSamplePtr)>;

  // Null when the pipeline cannot be built, does not start or the process is ending. A `file`
  // becomes the location of the element named "file"; the pipeline then has half a second to
  // understand it.
  static std::unique_ptr<SamplePipeline> start(const std::string& description, OnSample onSample,
                                               const std::string& file = {});
  ~SamplePipeline() override;

  // True when the end of the stream or an error has come since the last call.
  bool ended();

 private:
  SamplePipeline(PipelinePtr pipeline, OnSample onSample);
  static GstFlowReturn newSample(GstAppSink* sink, gpointer self);
  void pass(GstSamplePtr sample) KAVRIN_EXCLUDES(mutex_);

  const PipelinePtr pipeline_;
  Mutex mutex_;
  OnSample onSample_ KAVRIN_GUARDED_BY(mutex_);
};

// The sample's picture; shares its memory when it is tightly packed, else copies it once. Null for
// anything but I420 of even size.
PicturePtr pictureOf(GstSamplePtr sample, StreamType type);

}  // namespace kavrin::conference
