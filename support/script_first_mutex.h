// A mutex of one script thread and many engine threads: the script thread waits for the engine
// thread that holds it and for no other, however many are queueing.
//
// An ordinary mutex goes to whoever comes first when it is given back, and engine threads that come
// again and again would keep a waiting script thread out for many of their turns.
//
// Threads: ScriptLock belongs to the script thread, EngineLock to any thread, the script thread
// included when an engine answers it at once; neither nests.
#pragma once

#include "support/thread_annotations.h"

namespace kavrin {

class KAVRIN_CAPABILITY("mutex") ScriptFirstMutex {
 public:
  ScriptFirstMutex() = default;
  explicit ScriptFirstMutex(const char* name) : held_(name) {}
  ScriptFirstMutex(const ScriptFirstMutex&) = delete;
  ScriptFirstMutex& operator=(const ScriptFirstMutex&) = delete;

 private:
  friend class ScriptLock;
  friend class EngineLock;

  Mutex engineTurn_;  // of the engine threads, only the holder of this one asks for the others
  Mutex next_;        // held while waiting for held_: whoever has it comes next
  Mutex held_;
};

// Clang cannot follow a capability that is made of three mutexes, hence the unchecked bodies.
class KAVRIN_SCOPED_CAPABILITY ScriptLock {
 public:
  explicit ScriptLock(ScriptFirstMutex& mutex)
      KAVRIN_ACQUIRE(mutex) KAVRIN_NO_THREAD_SAFETY_ANALYSIS : mutex_(mutex) {
    if (mutex_.held_.tryLock()) return;
    mutex_.next_.lock();
    mutex_.held_.lock();
    mutex_.next_.unlock();
  }
  ~ScriptLock() KAVRIN_RELEASE() KAVRIN_NO_THREAD_SAFETY_ANALYSIS { mutex_.held_.unlock(); }
  ScriptLock(const ScriptLock&) = delete;
  ScriptLock& operator=(const ScriptLock&) = delete;

 private:
  ScriptFirstMutex& mutex_;
};

class KAVRIN_SCOPED_CAPABILITY EngineLock {
 public:
  explicit EngineLock(ScriptFirstMutex& mutex)
      KAVRIN_ACQUIRE(mutex) KAVRIN_NO_THREAD_SAFETY_ANALYSIS : mutex_(mutex) {
    mutex_.engineTurn_.lock();
    mutex_.next_.lock();
    mutex_.held_.lock();
    mutex_.next_.unlock();
  }
  ~EngineLock() KAVRIN_RELEASE() KAVRIN_NO_THREAD_SAFETY_ANALYSIS {
    mutex_.held_.unlock();
    mutex_.engineTurn_.unlock();
  }
  EngineLock(const EngineLock&) = delete;
  EngineLock& operator=(const EngineLock&) = delete;

 private:
  ScriptFirstMutex& mutex_;
};

}  // namespace kavrin
