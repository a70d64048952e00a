#include "conference/base/task_thread.h"

#include <utility>

namespace kavrin::conference {

TaskThread::TaskThread() : state_(std::make_shared<State>()) {}

TaskThread::~TaskThread() {
  close(std::chrono::milliseconds(1500));
  MutexLock lock(state_->mutex);
  if (state_->thread.joinable()) state_->thread.detach();
}

bool TaskThread::post(Task task) {
  MutexLock lock(state_->mutex);
  if (state_->closed) return false;
  state_->ready.push_back(std::move(task));
  startLocked();
  state_->wake.notifyOne();
  return true;
}

bool TaskThread::postAt(Clock::time_point time, Task task) {
  MutexLock lock(state_->mutex);
  if (state_->closed) return false;
  state_->timed.emplace(time, std::move(task));
  startLocked();
  state_->wake.notifyOne();
  return true;
}

bool TaskThread::close(std::chrono::milliseconds patience) {
  std::deque<Task> ready;  // The dropped tasks are destroyed at the end, without the lock.
  std::multimap<Clock::time_point, Task> timed;
  std::thread thread;
  const auto deadline = Clock::now() + patience;
  {
    MutexLock lock(state_->mutex);
    state_->closed = true;
    ready.swap(state_->ready);
    timed.swap(state_->timed);
    state_->wake.notifyAll();
    if (!state_->started || state_->threadId == std::this_thread::get_id()) return true;
    while (!state_->exited && state_->finished.waitUntil(state_->mutex, deadline)) {
    }
    if (!state_->exited) return false;
    thread = std::move(state_->thread);
  }
  if (thread.joinable()) thread.join();
  return true;
}

bool TaskThread::onThread() const {
  MutexLock lock(state_->mutex);
  return state_->threadId == std::this_thread::get_id();
}

void TaskThread::startLocked() {
  if (state_->started) return;
  state_->thread = std::thread([state = state_] { run(state); });
  state_->threadId = state_->thread.get_id();
  state_->started = true;
}

void TaskThread::run(const std::shared_ptr<State>& state) {
  Task task;
  while (next(*state, task)) {
    try {
      task();
    } catch (...) {
      // Nothing above this frame could handle it, and a host must not end because of one callback.
    }
    task = nullptr;
  }
  MutexLock lock(state->mutex);
  state->exited = true;
  state->finished.notifyAll();
}

bool TaskThread::next(State& state, Task& task) {
  MutexLock lock(state.mutex);
  for (;;) {
    if (state.closed) return false;
    takeDue(state);
    if (!state.ready.empty()) {
      task = std::move(state.ready.front());
      state.ready.pop_front();
      return true;
    }
    if (state.timed.empty()) {
      state.wake.wait(state.mutex);
    } else {
      const auto due = state.timed.begin()->first;
      state.wake.waitUntil(state.mutex, due);
    }
  }
}

void TaskThread::takeDue(State& state) {
  const auto now = Clock::now();
  while (!state.timed.empty() && state.timed.begin()->first <= now) {
    state.ready.push_back(std::move(state.timed.begin()->second));
    state.timed.erase(state.timed.begin());
  }
}

}  // namespace kavrin::conference
