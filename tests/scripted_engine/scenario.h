// What the tests of this process asked of the scripted engine, and what the module did with it.
//
// There is one Scenario per process, shared by all engines and all script environments: that is how
// a test on one thread steers the engine of a worker.
//
// Threads: any thread calls any function. mutex_ guards every member below it; it is never held
// while the module's code runs.
// Shutdown: reset() joins every thread that the library started.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "engine/engine_interface.h"
#include "support/thread_annotations.h"
#include "tests/scripted_engine/callback_gate.h"
#include "tests/scripted_engine/completion.h"
#include "tests/scripted_engine/jobs.h"

namespace kavrin::scripted {

// What outlives an engine object: its number and the way to its sink.
struct EngineSlot {
  int number = 0;
  KavrinConferenceEngineEvent* sink = nullptr;
  CallbackGate gate;
};

// A command that runs inside an operation, before the operation answers.
struct Hook {
  std::string command;
  bool ownThread = false;  // on a thread of its own, which the operation waits for
  bool afterGate = false;  // UnInit only: after callbacks have been turned away
  int times = 1;
};

class Scenario {
 public:
  using CompletionRun = std::function<void(std::int32_t code, const char* text)>;

  static Scenario& instance();

  // --- from the engine ---

  std::shared_ptr<EngineSlot> addEngine(KavrinConferenceEngineEvent* sink) KAVRIN_EXCLUDES(mutex_);
  // Notes the call, waits while the operation is blocked, runs the operation's hooks, throws what
  // it is told to throw and returns the result it is told to return. `arguments` is a JSON array.
  std::int32_t enter(int engine, const std::string& operation, const std::string& arguments)
      KAVRIN_EXCLUDES(mutex_);
  void runHooks(const std::string& operation, bool afterGate) KAVRIN_EXCLUDES(mutex_);
  // The JSON text that tells what the operation hands out; empty when nothing was told.
  std::string output(const std::string& operation) KAVRIN_EXCLUDES(mutex_);
  // Answers or keeps a completion function as the operation's plan says.
  void accept(const std::shared_ptr<EngineSlot>& slot, const std::string& operation,
              CompletionRun run) KAVRIN_EXCLUDES(mutex_);

  // --- from the tests ---

  // Back to the start: joins threads, drops held completions, forgets calls and wishes. Engines
  // that are still alive stay usable and keep their numbers.
  void reset() KAVRIN_EXCLUDES(mutex_);
  std::vector<std::string> calls(std::size_t from) KAVRIN_EXCLUDES(mutex_);
  void clearCalls() KAVRIN_EXCLUDES(mutex_);
  void setResult(const std::string& operation, std::int32_t result) KAVRIN_EXCLUDES(mutex_);
  void setThrow(const std::string& operation, std::optional<std::string> text)
      KAVRIN_EXCLUDES(mutex_);
  void setOutput(const std::string& operation, std::string json) KAVRIN_EXCLUDES(mutex_);
  void setPlan(const std::string& operation, CompletionPlan plan) KAVRIN_EXCLUDES(mutex_);
  void addHook(const std::string& operation, Hook hook) KAVRIN_EXCLUDES(mutex_);
  void block(const std::string& operation) KAVRIN_EXCLUDES(mutex_);
  void release(const std::string& operation) KAVRIN_EXCLUDES(mutex_);
  // Names of the operations that callers wait in now, one per caller.
  std::vector<std::string> waiting() KAVRIN_EXCLUDES(mutex_);
  std::vector<std::shared_ptr<Completion>> heldCompletions() KAVRIN_EXCLUDES(mutex_);
  // The held completion `id`, or null; forgotten here unless `keep`.
  std::shared_ptr<Completion> takeCompletion(int id, bool keep) KAVRIN_EXCLUDES(mutex_);
  // The engine `number`, 0 for the newest; null when there is none.
  std::shared_ptr<EngineSlot> engine(int number) KAVRIN_EXCLUDES(mutex_);
  Jobs& jobs() { return jobs_; }

 private:
  Scenario() = default;

  void answerLater(std::shared_ptr<EngineSlot> slot, std::shared_ptr<Completion> completion,
                   const CompletionPlan& plan);
  std::optional<Hook> nextHook(const std::string& operation, bool afterGate, std::size_t& position)
      KAVRIN_EXCLUDES(mutex_);

  Jobs jobs_;
  Mutex mutex_;
  CondVar released_;
  int engineCount_ KAVRIN_GUARDED_BY(mutex_) = 0;
  int completionCount_ KAVRIN_GUARDED_BY(mutex_) = 0;
  std::map<int, std::shared_ptr<EngineSlot>> engines_ KAVRIN_GUARDED_BY(mutex_);
  std::vector<std::string> calls_ KAVRIN_GUARDED_BY(mutex_);
  std::map<std::string, std::int32_t> results_ KAVRIN_GUARDED_BY(mutex_);
  std::map<std::string, std::string> throws_ KAVRIN_GUARDED_BY(mutex_);
  std::map<std::string, std::string> outputs_ KAVRIN_GUARDED_BY(mutex_);
  std::map<std::string, CompletionPlan> plans_ KAVRIN_GUARDED_BY(mutex_);
  std::map<std::string, std::vector<Hook>> hooks_ KAVRIN_GUARDED_BY(mutex_);
  std::set<std::string> blocked_ KAVRIN_GUARDED_BY(mutex_);
  std::vector<std::string> waiting_ KAVRIN_GUARDED_BY(mutex_);
  std::map<int, std::shared_ptr<Completion>> held_ KAVRIN_GUARDED_BY(mutex_);
};

}  // namespace kavrin::scripted
