// What a completion shows before it touches its facade.
//
// The engine calls a completion on threads of its own, perhaps late and, if it is a poor one, more
// than once or on several threads together. The ticket lets calls through while the facade lives,
// one after the other: the first one posts and unregisters, a later one finds nothing to post to.
//
// Threads: any; copies share their state. The mutex is recursive because work calls the engine,
// which may call the completion again from inside.
#pragma once

#include <memory>
#include <mutex>
#include <utility>

#include "support/run_down.h"

namespace kavrin {

class CompletionTicket {
 public:
  // `calls` is the gate that the facade closes at its end.
  explicit CompletionTicket(std::shared_ptr<RunDown> calls) : calls_(std::move(calls)) {}

  template <typename Work>
  void redeem(Work work) const {
    const RunDown::Pass pass(*calls_);
    if (!pass) return;
    const std::lock_guard<std::recursive_mutex> lock(*order_);
    work();
  }

 private:
  std::shared_ptr<RunDown> calls_;
  std::shared_ptr<std::recursive_mutex> order_ = std::make_shared<std::recursive_mutex>();
};

}  // namespace kavrin
