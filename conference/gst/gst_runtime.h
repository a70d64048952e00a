// GStreamer, made safe for a library inside somebody else's process.
#pragma once

#include <gst/gst.h>

#include <memory>

namespace kavrin::conference {

// Initialises GStreamer once per process, without forking and without signal handlers. False when
// it cannot be initialised or the process is ending. Threads: any.
bool ensureGstreamer();

// What one thread hands to another through GStreamer is in order, but ThreadSanitizer cannot see
// how. These tell it: the giver calls handOver, the taker takeOver, with the same object.
void handOver(void* object);
void takeOver(void* object);

struct GstObjectUnref {
  void operator()(void* object) const { gst_object_unref(object); }
};
struct GstSampleUnref {
  void operator()(GstSample* sample) const { gst_sample_unref(sample); }
};
struct GstCapsUnref {
  void operator()(GstCaps* caps) const { gst_caps_unref(caps); }
};

using GstElementPtr = std::unique_ptr<GstElement, GstObjectUnref>;
using GstSamplePtr = std::unique_ptr<GstSample, GstSampleUnref>;
using GstCapsPtr = std::unique_ptr<GstCaps, GstCapsUnref>;

// A pipeline from its textual description, set to the null state before it goes. Null when the
// description cannot be built (a plugin is missing) or the process is ending.
struct StopAndUnref {
  void operator()(GstElement* pipeline) const {
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
  }
};
using PipelinePtr = std::unique_ptr<GstElement, StopAndUnref>;
PipelinePtr parsePipeline(const char* description);

// The pipeline's element of that name; never null for a name in the description.
GstElementPtr elementOf(const PipelinePtr& pipeline, const char* name);

}  // namespace kavrin::conference
