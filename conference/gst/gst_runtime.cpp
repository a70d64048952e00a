#include "conference/gst/gst_runtime.h"

#include <mutex>

namespace kavrin::conference {

bool ensureGstreamer() {
  static std::once_flag once;
  static bool ready = false;
  std::call_once(once, [] {
    gst_registry_fork_set_enabled(FALSE);
    gst_segtrap_set_enabled(FALSE);
    ready = gst_init_check(nullptr, nullptr, nullptr) != FALSE;
  });
  return ready;
}

PipelinePtr parsePipeline(const char* description) {
  if (!ensureGstreamer()) return nullptr;
  GError* error = nullptr;
  PipelinePtr pipeline(gst_parse_launch(description, &error));
  if (error == nullptr) return pipeline;
  g_error_free(error);
  return nullptr;
}

GstElementPtr elementOf(const PipelinePtr& pipeline, const char* name) {
  return GstElementPtr(gst_bin_get_by_name(GST_BIN(pipeline.get()), name));
}

}  // namespace kavrin::conference
