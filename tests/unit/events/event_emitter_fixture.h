// A callback registry in a script environment of its own, with its log lines kept.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "events/environment_hook.h"
#include "events/event_emitter.h"
#include "support/thread_annotations.h"
#include "tests/unit/fake_node_api/script_environment.h"

namespace kavrin {

// Threads: any thread writes; the test reads.
class RecordedLog : public LogSink {
 public:
  void LogE(const std::string& message) override { add("E " + message); }
  void LogI(const std::string& message) override { add("I " + message); }

  std::vector<std::string> take() {
    MutexLock lock(mutex_);
    return std::exchange(lines_, {});
  }

 private:
  void add(std::string line) {
    MutexLock lock(mutex_);
    lines_.push_back(std::move(line));
  }

  Mutex mutex_;
  std::vector<std::string> lines_ KAVRIN_GUARDED_BY(mutex_);
};

class EventEmitterTest : public ::testing::Test {
 protected:
  using Texts = std::vector<std::string>;

  // The exception that the call left, "" when there is none.
  std::string on(const std::string& name, napi_value callback, napi_value context) {
    const napi_value arguments[] = {env.string(name), callback, context};
    EXPECT_EQ(emitter->on(&env, 3, arguments), nullptr);
    return env.takeException();
  }
  std::string on(const std::string& name, napi_value callback) {
    return on(name, callback, env.object());
  }
  std::string off(const std::string& name) {
    const napi_value arguments[] = {env.string(name)};
    EXPECT_EQ(emitter->off(&env, 1, arguments), nullptr);
    return env.takeException();
  }
  std::string registerCompletion(const std::string& name) {
    return emitter->registerApiCallback(&env, env.recorder(calls), name);
  }
  // The environment's end as the module arranges it.
  void onTeardown() { emitter.reset(); }

  RecordedLog log;
  Texts calls;  // the arguments of every call of a recorder
  fake::ScriptEnvironment env;
  EnvironmentHook hook{&env, [this] { onTeardown(); }};
  std::unique_ptr<EventEmitter> emitter = std::make_unique<EventEmitter>(log, hook);
};

}  // namespace kavrin
