#include "conference/gst/plugin_loading.h"

#include <chrono>
#include <cstdlib>

namespace kavrin::conference {

namespace {

// Threads: enter and leave on any; close on the thread that ends the process.
class Gate {
 public:
  static Gate& instance() {
    static Gate* const gate = new Gate;  // outlives the threads that use it
    return *gate;
  }

  bool enter() KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    if (!closed_) ++inside_;
    return !closed_;
  }
  void leave() KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    if (--inside_ == 0) empty_.notifyAll();
  }

 private:
  Gate() {
    std::atexit([] { instance().close(); });
  }

  // The first start on a machine looks at every plug-in there is and may take seconds. But not for
  // ever: a plug-in may itself end the process while it is loaded.
  void close() KAVRIN_EXCLUDES(mutex_) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    MutexLock lock(mutex_);
    closed_ = true;
    while (inside_ > 0 && empty_.waitUntil(mutex_, deadline)) {
    }
  }

  Mutex mutex_;
  CondVar empty_;
  int inside_ KAVRIN_GUARDED_BY(mutex_) = 0;
  bool closed_ KAVRIN_GUARDED_BY(mutex_) = false;
};

}  // namespace

PluginLoading::PluginLoading() : allowed_(Gate::instance().enter()) {}

PluginLoading::~PluginLoading() {
  if (allowed_) Gate::instance().leave();
}

}  // namespace kavrin::conference
