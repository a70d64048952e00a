#include "tests/scripted_engine/scenario.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <utility>

#include "tests/scripted_engine/control.h"

namespace kavrin::scripted {
namespace {

// The calling thread's number, as system tools show it.
std::string threadId() {
#if defined(_WIN32)
  return std::to_string(::GetCurrentThreadId());
#else
  return std::to_string(::gettid());
#endif
}

std::string callRecord(int engine, const std::string& operation, const std::string& arguments) {
  return "{\"engine\":" + std::to_string(engine) + ",\"operation\":\"" + operation +
         "\",\"arguments\":" + arguments + ",\"thread\":" + threadId() + "}";
}

}  // namespace

// Never destroyed: engine threads may outlive static destruction when a host exits abruptly.
Scenario& Scenario::instance() {
  static auto* scenario = new Scenario;
  return *scenario;
}

std::shared_ptr<EngineSlot> Scenario::addEngine(KavrinConferenceEngineEvent* sink) {
  MutexLock lock(mutex_);
  auto slot = std::make_shared<EngineSlot>();
  slot->number = ++engineCount_;
  slot->sink = sink;
  engines_[slot->number] = slot;
  return slot;
}

std::int32_t Scenario::enter(int engine, const std::string& operation,
                             const std::string& arguments) {
  {
    MutexLock lock(mutex_);
    calls_.push_back(callRecord(engine, operation, arguments));
    if (blocked_.contains(operation)) {
      waiting_.push_back(operation);
      while (blocked_.contains(operation)) released_.wait(mutex_);
      waiting_.erase(std::find(waiting_.begin(), waiting_.end(), operation));
    }
  }
  runHooks(operation, false);
  MutexLock lock(mutex_);
  if (const auto thrown = throws_.find(operation); thrown != throws_.end()) {
    throw std::runtime_error(thrown->second);
  }
  const auto result = results_.find(operation);
  return result == results_.end() ? 0 : result->second;
}

void Scenario::runHooks(const std::string& operation, bool afterGate) {
  std::size_t position = 0;
  while (const std::optional<Hook> hook = nextHook(operation, afterGate, position)) {
    if (hook->ownThread) {
      std::thread([&] { execute(hook->command); }).join();
    } else {
      execute(hook->command);
    }
  }
}

std::optional<Hook> Scenario::nextHook(const std::string& operation, bool afterGate,
                                       std::size_t& position) {
  MutexLock lock(mutex_);
  std::vector<Hook>& hooks = hooks_[operation];
  while (position < hooks.size()) {
    Hook& hook = hooks[position++];
    if (hook.afterGate != afterGate || hook.times == 0) continue;
    --hook.times;
    return hook;
  }
  return std::nullopt;
}

std::string Scenario::output(const std::string& operation) {
  MutexLock lock(mutex_);
  const auto found = outputs_.find(operation);
  return found == outputs_.end() ? std::string() : found->second;
}

void Scenario::accept(const std::shared_ptr<EngineSlot>& slot, const std::string& operation,
                      CompletionRun run) {
  CompletionPlan plan;
  auto completion = std::make_shared<Completion>();
  completion->engine = slot->number;
  completion->operation = operation;
  completion->run = std::move(run);
  {
    MutexLock lock(mutex_);
    plan = plans_[operation];
    completion->id = ++completionCount_;
    if (plan.mode == CompletionPlan::Mode::kHold) held_[completion->id] = completion;
  }
  if (plan.mode == CompletionPlan::Mode::kInline) {
    completion->run(plan.code, plan.text ? plan.text->c_str() : nullptr);
  } else if (plan.mode == CompletionPlan::Mode::kAutomatic) {
    answerLater(slot, std::move(completion), plan);
  }
}

void Scenario::answerLater(std::shared_ptr<EngineSlot> slot, std::shared_ptr<Completion> completion,
                           const CompletionPlan& plan) {
  jobs_.start([slot = std::move(slot), completion = std::move(completion), plan]() mutable {
    if (plan.delayMs > 0) std::this_thread::sleep_for(std::chrono::milliseconds(plan.delayMs));
    const bool inside = !plan.late && slot->gate.enter();
    if (inside || plan.late) completion->run(plan.code, plan.text ? plan.text->c_str() : nullptr);
    completion.reset();
    if (inside) slot->gate.leave();
  });
}

void Scenario::reset() {
  decltype(held_) dropped;
  {
    MutexLock lock(mutex_);
    blocked_.clear();
    released_.notifyAll();
    dropped.swap(held_);
    calls_.clear();
    results_.clear();
    throws_.clear();
    outputs_.clear();
    plans_.clear();
    hooks_.clear();
  }
  dropped.clear();
  jobs_.joinAll();
}

std::vector<std::string> Scenario::calls(std::size_t from) {
  MutexLock lock(mutex_);
  if (from >= calls_.size()) return {};
  return {calls_.begin() + static_cast<std::ptrdiff_t>(from), calls_.end()};
}

void Scenario::clearCalls() {
  MutexLock lock(mutex_);
  calls_.clear();
}

void Scenario::setResult(const std::string& operation, std::int32_t result) {
  MutexLock lock(mutex_);
  results_[operation] = result;
}

void Scenario::setThrow(const std::string& operation, std::optional<std::string> text) {
  MutexLock lock(mutex_);
  throws_.erase(operation);
  if (text) throws_[operation] = *std::move(text);
}

void Scenario::setOutput(const std::string& operation, std::string json) {
  MutexLock lock(mutex_);
  outputs_[operation] = std::move(json);
}

void Scenario::setPlan(const std::string& operation, CompletionPlan plan) {
  MutexLock lock(mutex_);
  plans_[operation] = std::move(plan);
}

void Scenario::addHook(const std::string& operation, Hook hook) {
  MutexLock lock(mutex_);
  hooks_[operation].push_back(std::move(hook));
}

void Scenario::block(const std::string& operation) {
  MutexLock lock(mutex_);
  blocked_.insert(operation);
}

void Scenario::release(const std::string& operation) {
  MutexLock lock(mutex_);
  blocked_.erase(operation);
  released_.notifyAll();
}

std::vector<std::string> Scenario::waiting() {
  MutexLock lock(mutex_);
  return waiting_;
}

std::vector<std::shared_ptr<Completion>> Scenario::heldCompletions() {
  MutexLock lock(mutex_);
  std::vector<std::shared_ptr<Completion>> held;
  for (const auto& [id, completion] : held_) held.push_back(completion);
  return held;
}

std::shared_ptr<Completion> Scenario::takeCompletion(int id, bool keep) {
  MutexLock lock(mutex_);
  const auto found = held_.find(id);
  if (found == held_.end()) return nullptr;
  std::shared_ptr<Completion> completion = found->second;
  if (!keep) held_.erase(found);
  return completion;
}

std::shared_ptr<EngineSlot> Scenario::engine(int number) {
  MutexLock lock(mutex_);
  const auto found = engines_.find(number == 0 ? engineCount_ : number);
  return found == engines_.end() ? nullptr : found->second;
}

}  // namespace kavrin::scripted
