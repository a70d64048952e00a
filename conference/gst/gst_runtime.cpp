#include "conference/gst/gst_runtime.h"

#include <mutex>

#include "conference/gst/plugin_loading.h"

#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KAVRIN_THREAD_SANITIZER 1
#endif
#elif defined(__SANITIZE_THREAD__)
#define KAVRIN_THREAD_SANITIZER 1
#endif
#if defined(KAVRIN_THREAD_SANITIZER)
#include <sanitizer/tsan_interface.h>
#endif

namespace kavrin::conference {

bool ensureGstreamer() {
  const PluginLoading loading;
  if (!loading) return false;
  static std::once_flag once;
  static bool ready = false;
  std::call_once(once, [] {
    gst_registry_fork_set_enabled(FALSE);
    gst_segtrap_set_enabled(FALSE);
    ready = gst_init_check(nullptr, nullptr, nullptr) != FALSE;
  });
  return ready;
}

#if defined(KAVRIN_THREAD_SANITIZER)
void handOver(void* object) { __tsan_release(object); }
void takeOver(void* object) { __tsan_acquire(object); }
#else
void handOver(void*) {}
void takeOver(void*) {}
#endif

PipelinePtr parsePipeline(const char* description) {
  const PluginLoading loading;
  if (!loading) return nullptr;
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
