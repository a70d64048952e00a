// Counts of the objects that this library has created and not yet destroyed, for leak checks.
//
// Threads: any thread.
#pragma once

#include <atomic>
#include <cstdint>

namespace kavrin::scripted {

struct LiveObjects {
  std::atomic<std::int64_t> engines{0};
  std::atomic<std::int64_t> options{0};
  std::atomic<std::int64_t> users{0};
  std::atomic<std::int64_t> infos{0};
  std::atomic<std::int64_t> completions{0};
};

// The counts of this process.
inline LiveObjects& liveObjects() {
  static LiveObjects counts;
  return counts;
}

// Counts itself for as long as it lives.
class LiveToken {
 public:
  explicit LiveToken(std::atomic<std::int64_t>& count) : count_(count) { ++count_; }
  ~LiveToken() { --count_; }
  LiveToken(const LiveToken&) = delete;
  LiveToken& operator=(const LiveToken&) = delete;

 private:
  std::atomic<std::int64_t>& count_;
};

}  // namespace kavrin::scripted
