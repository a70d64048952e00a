#include "tests/unit/support/scripted.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace kavrin::testing {

std::vector<std::string> engineCalls() {
  std::vector<std::string> result;
  const rapidjson::Document answer = steer("{\"command\":\"calls\"}");
  for (const auto& call : answer["value"].GetArray()) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
    call["arguments"].Accept(writer);
    result.push_back(call["operation"].GetString() + std::string(buffer.GetString()));
  }
  return result;
}

std::string quoted(const std::string& text) {
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer>(buffer).String(text.c_str());
  return buffer.GetString();
}

}  // namespace kavrin::testing
