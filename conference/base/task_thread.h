// One thread that runs tasks one after the other.
//
// Threads: every function may be called from any thread, the task thread included. The thread is
// started by the first task. Tasks run without any lock held; one that throws is dropped.
//
// Shutdown: close() is final. A task that runs at that moment is waited for, but not longer than
// the caller's patience; the thread shares its state with this object, so a task that overstays
// its welcome (or that itself closes its thread) may outlive the object safely.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <thread>

#include "support/thread_annotations.h"

namespace kavrin::conference {

using Clock = std::chrono::steady_clock;

class TaskThread {
 public:
  using Task = std::function<void()>;

  TaskThread();
  ~TaskThread();
  TaskThread(const TaskThread&) = delete;
  TaskThread& operator=(const TaskThread&) = delete;

  // Runs `task` after the tasks posted before it. False, and the task is dropped, once closed.
  bool post(Task task);
  // Runs `task` at `time` or as soon afterwards as the thread is free.
  bool postAt(Clock::time_point time, Task task);

  // Drops the tasks that have not begun and refuses new ones. Returns true when no task runs any
  // more (or the caller is the running task), false when the running one outlasted `patience`.
  bool close(std::chrono::milliseconds patience);

  bool onThread() const;

 private:
  struct State {
    Mutex mutex;
    CondVar wake;
    CondVar finished;
    std::deque<Task> ready KAVRIN_GUARDED_BY(mutex);
    std::multimap<Clock::time_point, Task> timed KAVRIN_GUARDED_BY(mutex);
    bool closed KAVRIN_GUARDED_BY(mutex) = false;
    bool started KAVRIN_GUARDED_BY(mutex) = false;
    bool exited KAVRIN_GUARDED_BY(mutex) = false;
    std::thread::id threadId KAVRIN_GUARDED_BY(mutex);
    std::thread thread KAVRIN_GUARDED_BY(mutex);
  };

  static void run(const std::shared_ptr<State>& state);
  static bool next(State& state, Task& task);
  static void takeDue(State& state) KAVRIN_REQUIRES(state.mutex);
  void startLocked() KAVRIN_REQUIRES(state_->mutex);

  const std::shared_ptr<State> state_;
};

}  // namespace kavrin::conference
