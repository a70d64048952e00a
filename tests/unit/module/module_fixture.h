// The module as script sees it: its exported functions in a script environment of their own.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/fake_node_api/script_environment.h"
#include "tests/unit/support/log_capture.h"
#include "tests/unit/support/scripted.h"
#include "tests/unit/support/temp_folder.h"

extern "C" {
std::int32_t node_api_module_get_api_version_v1();
napi_value napi_register_module_v1(napi_env env, napi_value exports);
}

namespace kavrin {

// An environment that has loaded the module, and what script does there.
class ModuleHost {
 public:
  using Texts = std::vector<std::string>;

  ModuleHost() {
    testing::steer("{\"command\":\"reset\"}");
    napi_register_module_v1(&env, exports);
  }
  ~ModuleHost() {
    env.close();
    testing::steer("{\"command\":\"reset\"}");
    EXPECT_EQ(testing::liveEngines() - enginesBefore, abandoned);
  }
  ModuleHost(const ModuleHost&) = delete;
  ModuleHost& operator=(const ModuleHost&) = delete;

  fake::CallResult call(const std::string& function, std::vector<napi_value> arguments) {
    return env.call(exports->find(function)->value, std::move(arguments));
  }
  // What a call came to: its shown value, or the exception.
  std::string outcome(const std::string& function, std::vector<napi_value> arguments) {
    const fake::CallResult result = call(function, std::move(arguments));
    return result.thrown.empty() ? fake::show(result.value) : "throws " + result.thrown;
  }

  napi_value create() { return call("createConfEngine", {}).value; }
  napi_value text(const std::string& value) { return env.string(value); }
  std::string json(napi_value handle, const std::string& method, const std::string& parameters) {
    return outcome("execJsonParamFun", {handle, text(method), text(parameters)});
  }
  std::string exec(napi_value handle, const std::string& method, napi_value arguments) {
    return outcome("execFun", {handle, text(method), arguments});
  }
  // Logs in; the engine's answer is put into `answers` by the loop.
  std::string init(napi_value handle, Texts& answers) {
    const std::string parameters = R"({"logPath":")" + folder.path() + R"(","puid":"me"})";
    return outcome("execJsonParamFunWithCallback",
                   {handle, text("Init"), text(parameters), env.recorder(answers)});
  }
  void fire(const std::string& callback, const std::string& arguments) {
    testing::steer(R"({"command":"fire","room":{"roomId":"r","localUid":"me"},"callback":")" +
                   callback + R"(","arguments":)" + arguments + "}");
  }

  static constexpr const char* kNoHandle =
      "throws TypeError: Expected an object as the first argument";

  int abandoned = 0;  // engines whose start failed on purpose: they are nobody's
  const int enginesBefore = testing::liveEngines();
  testing::LogCapture log;
  testing::TempFolder folder;
  fake::ScriptEnvironment env;
  napi_value exports = env.object();
};

class ModuleTest : public ::testing::Test, protected ModuleHost {};

}  // namespace kavrin
