// Keeps the loading of plug-ins and the end of the process apart.
//
// Loading plug-ins on one thread while another one ends the process does not go well: the C library
// takes libraries that it has already ended for new ones and starts them once more, and GObject
// aborts. So everything that may load plug-ins does it in the scope of a PluginLoading; the end of
// the process waits for those that are under way, and there are none after it.
#pragma once

#include "support/thread_annotations.h"

namespace kavrin::conference {

// Threads: any; each object belongs to one thread. Scopes may be nested.
class PluginLoading {
 public:
  PluginLoading();
  ~PluginLoading();
  PluginLoading(const PluginLoading&) = delete;
  PluginLoading& operator=(const PluginLoading&) = delete;

  // False when the process is ending: nothing may be loaded.
  explicit operator bool() const { return allowed_; }

 private:
  const bool allowed_;
};

}  // namespace kavrin::conference
