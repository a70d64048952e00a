// A mutex that notes how long it is held, in processor time of its holder: a thread that the system
// puts aside meanwhile says nothing about our code.
//
// Threads: any. Results may be read while nobody uses the mutexes.
#pragma once

#include <time.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <mutex>

namespace kavrin::bench {

struct Holds {
  static constexpr std::int64_t kBucketNs = 100;
  static constexpr std::size_t kBuckets = 4096;  // the last one takes everything above

  const char* name;
  std::int64_t count = 0;
  std::int64_t longestNs = 0;
  std::array<std::int32_t, kBuckets> buckets{};

  void note(std::int64_t heldNs) {
    ++count;
    longestNs = std::max(longestNs, heldNs);
    ++buckets[std::min(static_cast<std::size_t>(heldNs / kBucketNs), kBuckets - 1)];
  }
  // What that share of the holds stays below, in nanoseconds.
  std::int64_t quantile(double share) const {
    auto left = static_cast<std::int64_t>(share * static_cast<double>(count));
    std::size_t bucket = 0;
    while (bucket < kBuckets - 1 && (left -= buckets[bucket]) > 0) ++bucket;
    return static_cast<std::int64_t>(bucket + 1) * kBucketNs;
  }
};

// One record per name, for all mutexes of that name; null for a mutex that has none.
inline Holds* holdsOf(const char* name) {
  static Holds all[] = {{"frame store"}, {"event queue"}, {"callback registry"}, {"copies"}};
  for (Holds& holds : all) {
    if (std::strcmp(holds.name, name) == 0) return &holds;
  }
  return nullptr;
}

inline std::int64_t processorTimeNs() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

class ProbedMutex : public std::mutex {
 public:
  ProbedMutex() = default;
  explicit ProbedMutex(const char* name) : holds_(holdsOf(name)) {}

  void lock() {
    std::mutex::lock();
    if (holds_ != nullptr) since_ = processorTimeNs();
  }
  bool try_lock() {
    if (!std::mutex::try_lock()) return false;
    if (holds_ != nullptr) since_ = processorTimeNs();
    return true;
  }
  void unlock() {
    // Under the mutex; the program has one facade, so one mutex of each name.
    if (holds_ != nullptr) holds_->note(processorTimeNs() - since_);
    std::mutex::unlock();
  }

 private:
  Holds* const holds_ = nullptr;
  std::int64_t since_ = 0;
};

}  // namespace kavrin::bench
