// Failures that a test asks of Node-API functions, and counts of the calls that they got.
//
// Threads: any thread.
#pragma once

#include <algorithm>
#include <map>
#include <optional>
#include <string>

#include "bridge/node_api.h"
#include "support/thread_annotations.h"

namespace kavrin::fake {

class FaultPlan {
 public:
  // The `nth` call of `function` from now on, counted from 1, fails with `status` and has no other
  // effect. One plan per function; a new one replaces it.
  void fail(const std::string& function, int nth = 1, napi_status status = napi_generic_failure)
      KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    faults_[function] = {nth, status, false};
  }

  // Every call of `function` fails until clear().
  void failAlways(const std::string& function, napi_status status = napi_generic_failure)
      KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    faults_[function] = {kEvery, status, false};
  }

  // The `nth` call of any function from now on fails, in the same way.
  void failAny(int nth, napi_status status = napi_generic_failure) KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    any_ = {nth, status, false};
    failedOfAny_.clear();
  }

  // The function that failAny() made fail; "" when it has not come to that.
  std::string failedOfAny() KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    return failedOfAny_;
  }

  // True when a planned failure of `function` has happened.
  bool happened(const std::string& function) KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    const auto found = faults_.find(function);
    return found != faults_.end() && found->second.happened;
  }

  void clear() KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    faults_.clear();
    any_ = {};
    failedOfAny_.clear();
  }

  int calls(const std::string& function) KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    return calls_[function];
  }

  // Counts a call; the status with which it is to fail, if it is.
  std::optional<napi_status> enter(const char* function) KAVRIN_EXCLUDES(mutex_) {
    MutexLock lock(mutex_);
    ++calls_[function];
    if (any_.callsLeft > 0 && --any_.callsLeft == 0) {
      failedOfAny_ = function;
      return any_.status;
    }
    const auto found = faults_.find(function);
    if (found == faults_.end()) return std::nullopt;
    Fault& fault = found->second;
    if (fault.callsLeft != kEvery && --fault.callsLeft != 0) {
      fault.callsLeft = std::max(fault.callsLeft, kDone);
      return std::nullopt;
    }
    fault.happened = true;
    return fault.status;
  }

 private:
  static constexpr int kEvery = -2;
  static constexpr int kDone = -1;

  struct Fault {
    int callsLeft = 0;  // 1: the next call fails
    napi_status status = napi_ok;
    bool happened = false;
  };

  Mutex mutex_;
  std::map<std::string, Fault> faults_ KAVRIN_GUARDED_BY(mutex_);
  Fault any_ KAVRIN_GUARDED_BY(mutex_);
  std::string failedOfAny_ KAVRIN_GUARDED_BY(mutex_);
  std::map<std::string, int> calls_ KAVRIN_GUARDED_BY(mutex_);
};

}  // namespace kavrin::fake
