#include "conference/session/completions.h"

#include <utility>

namespace kavrin::conference {

Completions::Id Completions::add(Completion completion) {
  {
    MutexLock lock(mutex_);
    if (!closed_) {
      waiting_.emplace(++last_, std::move(completion));
      return last_;
    }
  }
  completion(Code::kStopped);
  return 0;
}

void Completions::finish(Id id, Code code) {
  Completion completion;
  {
    MutexLock lock(mutex_);
    const auto found = waiting_.find(id);
    if (found == waiting_.end()) return;
    completion = std::move(found->second);
    waiting_.erase(found);
  }
  completion(code);
}

void Completions::close() {
  std::map<Id, Completion> waiting;
  {
    MutexLock lock(mutex_);
    closed_ = true;
    waiting.swap(waiting_);
  }
  for (const auto& entry : waiting) entry.second(Code::kCancelled);
}

}  // namespace kavrin::conference
