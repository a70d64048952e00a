// A logged-in facade over the quiet engine, in a script environment that stands in for Node.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "engine/conference_node_engine.h"
#include "events/environment_hook.h"
#include "tests/unit/fake_node_api/script_environment.h"

namespace kavrin::bench {

class Facade {
 public:
  Facade() {
    facade_->registerMethods();
    const std::string login =
        R"({"rootHost":"bench","logPath":"/nonexistent","puid":"local","password":"","name":"B"})";
    facade_->runJsonParamFunctionWithCallback(&env_, "Init", login, env_.recorder(answers_));
  }

  KavrinNodeConferenceEngine& operator*() { return *facade_; }
  KavrinNodeConferenceEngine* operator->() { return facade_.get(); }
  napi_env env() { return &env_; }
  fake::ScriptEnvironment& environment() { return env_; }

  // Binds a buffer of that many bytes to the user's camera.
  void bind(const std::string& user, std::size_t bytes) {
    const napi_value buffer = env_.buffer(std::vector<unsigned char>(bytes));
    facade_->frameStore().bind(&env_, buffer, user, 0);
  }

 private:
  std::vector<std::string> answers_;
  fake::ScriptEnvironment env_;
  EnvironmentHook hook_{&env_, [this] { facade_.reset(); }};
  std::unique_ptr<KavrinNodeConferenceEngine> facade_ =
      std::make_unique<KavrinNodeConferenceEngine>(hook_);
};

}  // namespace kavrin::bench
