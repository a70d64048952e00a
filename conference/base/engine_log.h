// The engine's own text log: one line per operation and per notable event, for support.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "support/thread_annotations.h"

namespace kavrin::conference {

// Threads: any thread. Lines written before open(), or after an open() that failed, are dropped.
class EngineLog {
 public:
  // Appends to "KavrinConferenceEngine.log" in `folder` from now on.
  void open(const std::string& folder);
  void line(const std::string& text);

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };

  Mutex mutex_;
  std::unique_ptr<std::FILE, Close> file_ KAVRIN_GUARDED_BY(mutex_);
};

}  // namespace kavrin::conference
