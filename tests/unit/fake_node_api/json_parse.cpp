#include <rapidjson/document.h>
#include <rapidjson/error/en.h>

#include "tests/unit/fake_node_api/script_environment.h"

namespace kavrin::fake {
namespace {

napi_value valueOf(napi_env env, const rapidjson::Value& json) {
  switch (json.GetType()) {
    case rapidjson::kNullType:
      return env->null();
    case rapidjson::kFalseType:
    case rapidjson::kTrueType:
      return env->boolean(json.GetBool());
    case rapidjson::kNumberType:
      return env->number(json.GetDouble());
    case rapidjson::kStringType:
      return env->string({json.GetString(), json.GetStringLength()});
    case rapidjson::kArrayType: {
      napi_value array = env->array();
      for (const auto& element : json.GetArray()) array->elements.push_back(valueOf(env, element));
      return array;
    }
    default: {
      napi_value object = env->object();
      for (const auto& member : json.GetObject()) {
        object->set({member.name.GetString(), member.name.GetStringLength()},
                    valueOf(env, member.value));
      }
      return object;
    }
  }
}

}  // namespace

napi_value parseJson(napi_env env, const std::string& text) {
  rapidjson::Document document;
  document.Parse(text.data(), text.size());
  if (!document.HasParseError()) return valueOf(env, document);
  return env->throwError(rapidjson::GetParseError_En(document.GetParseError()), "SyntaxError");
}

}  // namespace kavrin::fake
