// A facade in a script environment of its own, with the log captured and the scripted engine at its
// start.
#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "engine/conference_node_engine.h"
#include "events/environment_hook.h"
#include "tests/unit/fake_node_api/script_environment.h"
#include "tests/unit/support/log_capture.h"
#include "tests/unit/support/scripted.h"
#include "tests/unit/support/temp_folder.h"

namespace kavrin::testing {

class FacadeTest : public ::testing::Test {
 protected:
  FacadeTest() {
    steer("{\"command\":\"reset\"}");
    facade = std::make_unique<KavrinNodeConferenceEngine>(hook);
    facade->registerMethods();
  }
  ~FacadeTest() override {
    facade.reset();
    steer("{\"command\":\"reset\"}");
    EXPECT_EQ(liveEngines() - enginesBefore, abandoned);
  }

  Variant json(const std::string& name, const std::string& text) {
    return facade->runJsonParamFunction(&env, name, text);
  }
  Variant arguments(const std::string& name, std::vector<Variant> values) {
    napi_env environment = &env;
    return facade->runFunction(environment, name, static_cast<int>(values.size()), values.data());
  }
  Variant withCallback(const std::string& name, const std::string& text, napi_value callback) {
    return facade->runJsonParamFunctionWithCallback(&env, name, text, callback);
  }

  // Logs in as "me"; the engine's answer has reached script when it returns.
  void logIn() {
    std::vector<std::string> answers;
    const std::string text = R"({"rootHost":"h","logPath":")" + folder.path() +
                             R"(","puid":"me","password":"p","name":"n"})";
    ASSERT_EQ(withCallback("Init", text, env.recorder(answers)).toInt32(), 0);
    ASSERT_TRUE(env.runLoopUntil([&] { return !answers.empty(); }));
    ASSERT_EQ(answers, std::vector<std::string>{"0"});
  }

  int abandoned = 0;  // engines that the test leaves behind on purpose
  const int enginesBefore = liveEngines();
  LogCapture log;
  TempFolder folder;
  fake::ScriptEnvironment env;
  EnvironmentHook hook{&env, [this] { facade.reset(); }};
  std::unique_ptr<KavrinNodeConferenceEngine> facade;
};

}  // namespace kavrin::testing
