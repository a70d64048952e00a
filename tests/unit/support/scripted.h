// Steering of the scripted engine from unit tests.
#pragma once

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <string>
#include <vector>

#include "tests/scripted_engine/control.h"

namespace kavrin::testing {

// Carries out one command and returns its answer, {"value": ...}.
inline rapidjson::Document steer(const std::string& command) {
  rapidjson::Document answer;
  answer.Parse(scripted::execute(command).c_str());
  EXPECT_FALSE(answer.HasMember("error")) << command << ": " << answer["error"].GetString();
  return answer;
}

// The calls since the last reset, as "JoinRoom[\"r\"]".
std::vector<std::string> engineCalls();

// A text as it stands in these, with quotation marks and escapes.
std::string quoted(const std::string& text);

// Objects of the engine library that are alive.
inline int liveEngines() { return steer("{\"command\":\"live\"}")["value"]["engines"].GetInt(); }

inline void setResult(const std::string& operation, int result) {
  steer("{\"command\":\"setResult\",\"operation\":\"" + operation +
        "\",\"result\":" + std::to_string(result) + "}");
}

inline void setOutput(const std::string& operation, const std::string& json) {
  steer("{\"command\":\"setOutput\",\"operation\":\"" + operation + "\",\"output\":" + json + "}");
}

inline void setThrow(const std::string& operation, const std::string& text) {
  steer("{\"command\":\"setThrow\",\"operation\":\"" + operation + "\",\"text\":\"" + text + "\"}");
}

// `mode` is "automatic", "inline", "hold" or "drop".
inline void setPlan(const std::string& operation, const std::string& mode, int code = 0) {
  steer("{\"command\":\"setPlan\",\"operation\":\"" + operation + "\",\"mode\":\"" + mode +
        "\",\"code\":" + std::to_string(code) + ",\"text\":\"\"}");
}

}  // namespace kavrin::testing
