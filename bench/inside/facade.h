// A logged-in facade over the quiet engine, in a script environment that stands in for Node.
#pragma once

#include <memory>
#include <string>

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
    std::vector<std::string> answers;
    facade_->runJsonParamFunctionWithCallback(&env_, "Init", login, env_.recorder(answers));
  }

  KavrinNodeConferenceEngine& operator*() { return *facade_; }
  KavrinNodeConferenceEngine* operator->() { return facade_.get(); }
  napi_env env() { return &env_; }

 private:
  fake::ScriptEnvironment env_;
  EnvironmentHook hook_{&env_, [this] { facade_.reset(); }};
  std::unique_ptr<KavrinNodeConferenceEngine> facade_ =
      std::make_unique<KavrinNodeConferenceEngine>(hook_);
};

}  // namespace kavrin::bench
