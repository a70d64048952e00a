// A thread-safe function of the unit tests' script environment.
//
// The object stays in memory until the environment is destroyed, long after Node would have freed
// it: that is how a late use is told from a crash.
//
// Threads: call(), acquire(), release() and isOpen() on any thread, the rest on the script thread.
// `mutex_` guards the members below it.
#pragma once

#include <deque>
#include <string>

#include "bridge/node_api.h"
#include "support/thread_annotations.h"

struct napi_threadsafe_function__ {
 public:
  struct Setup {
    napi_env env;
    napi_value callback;
    std::string name;
    std::size_t queueLimit;  // 0: none
    std::size_t threads;
    void* finalizeData;
    napi_finalize finalize;
    void* context;
    napi_threadsafe_function_call_js callJs;
  };

  explicit napi_threadsafe_function__(Setup setup) : setup_(setup), threads_(setup.threads) {}

  napi_status call(void* data) KAVRIN_EXCLUDES(mutex_);
  napi_status acquire() KAVRIN_EXCLUDES(mutex_);
  napi_status release(bool abort) KAVRIN_EXCLUDES(mutex_);
  bool isOpen() KAVRIN_EXCLUDES(mutex_);

  // Delivers one message, or ends the function when nobody can post any more. False when there was
  // nothing to do; `delivered` counts messages.
  bool dispatch(int& delivered) KAVRIN_EXCLUDES(mutex_);
  // Ends the function: what is queued is handed over without an environment. A function that
  // somebody still holds is a leak.
  void end(bool environmentEnds) KAVRIN_EXCLUDES(mutex_);

  const Setup& setup() const { return setup_; }

 private:
  void misuse(const char* what);
  void deliver(void* data);

  const Setup setup_;
  kavrin::Mutex mutex_;
  std::deque<void*> queue_ KAVRIN_GUARDED_BY(mutex_);
  std::size_t threads_ KAVRIN_GUARDED_BY(mutex_);
  bool closing_ KAVRIN_GUARDED_BY(mutex_) = false;
  bool freed_ KAVRIN_GUARDED_BY(mutex_) = false;
};
