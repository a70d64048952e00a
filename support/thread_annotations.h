// Mutexes that clang's thread-safety analysis understands.
//
// Members that more than one thread touches are declared with KAVRIN_GUARDED_BY(mutex), functions
// that expect a lock with KAVRIN_REQUIRES(mutex). The clang build fails when a guarded member is
// used without its mutex; other compilers see plain std::mutex.
#pragma once

#include <condition_variable>
#include <mutex>

#if defined(KAVRIN_LOCK_PROBE)
#include "bench/inside/probed_mutex.h"  // the build that measures how long mutexes are held
#endif

#if defined(__clang__)
#define KAVRIN_THREAD_ATTRIBUTE(x) __attribute__((x))
#else
#define KAVRIN_THREAD_ATTRIBUTE(x)
#endif

#define KAVRIN_CAPABILITY(x) KAVRIN_THREAD_ATTRIBUTE(capability(x))
#define KAVRIN_SCOPED_CAPABILITY KAVRIN_THREAD_ATTRIBUTE(scoped_lockable)
#define KAVRIN_GUARDED_BY(x) KAVRIN_THREAD_ATTRIBUTE(guarded_by(x))
#define KAVRIN_PT_GUARDED_BY(x) KAVRIN_THREAD_ATTRIBUTE(pt_guarded_by(x))
#define KAVRIN_REQUIRES(...) KAVRIN_THREAD_ATTRIBUTE(requires_capability(__VA_ARGS__))
#define KAVRIN_ACQUIRE(...) KAVRIN_THREAD_ATTRIBUTE(acquire_capability(__VA_ARGS__))
#define KAVRIN_TRY_ACQUIRE(...) KAVRIN_THREAD_ATTRIBUTE(try_acquire_capability(__VA_ARGS__))
#define KAVRIN_RELEASE(...) KAVRIN_THREAD_ATTRIBUTE(release_capability(__VA_ARGS__))
#define KAVRIN_EXCLUDES(...) KAVRIN_THREAD_ATTRIBUTE(locks_excluded(__VA_ARGS__))
#define KAVRIN_NO_THREAD_SAFETY_ANALYSIS KAVRIN_THREAD_ATTRIBUTE(no_thread_safety_analysis)

namespace kavrin {

class KAVRIN_CAPABILITY("mutex") Mutex {
 public:
  Mutex() = default;
#if defined(KAVRIN_LOCK_PROBE)
  explicit Mutex(const char* name) : mutex_(name) {}
#else
  explicit Mutex(const char* /*name*/) {}  // names are for measurements
#endif
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() KAVRIN_ACQUIRE() { mutex_.lock(); }
  bool tryLock() KAVRIN_TRY_ACQUIRE(true) { return mutex_.try_lock(); }
  void unlock() KAVRIN_RELEASE() { mutex_.unlock(); }

 private:
  friend class CondVar;
#if defined(KAVRIN_LOCK_PROBE)
  bench::ProbedMutex mutex_;
#else
  std::mutex mutex_;
#endif
};

// Holds a Mutex for the length of a scope.
class KAVRIN_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Mutex& mutex) KAVRIN_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
  ~MutexLock() KAVRIN_RELEASE() { mutex_.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Mutex& mutex_;
};

// A condition variable for a Mutex. The caller of a wait holds the mutex, before and after.
class CondVar {
 public:
  void wait(Mutex& mutex) KAVRIN_REQUIRES(mutex) {
    std::unique_lock<std::mutex> lock(mutex.mutex_, std::adopt_lock);
    condition_.wait(lock);
    lock.release();
  }
  // False when `deadline` passed before a wake-up.
  template <typename TimePoint>
  bool waitUntil(Mutex& mutex, const TimePoint& deadline) KAVRIN_REQUIRES(mutex) {
    std::unique_lock<std::mutex> lock(mutex.mutex_, std::adopt_lock);
    const bool woken = condition_.wait_until(lock, deadline) == std::cv_status::no_timeout;
    lock.release();
    return woken;
  }
  void notifyOne() { condition_.notify_one(); }
  void notifyAll() { condition_.notify_all(); }

 private:
  std::condition_variable condition_;
};

}  // namespace kavrin
