#include "module/call_entry_points.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bridge/convert.h"
#include "module/call_arguments.h"
#include "module/engine_handle.h"

namespace kavrin::ConferenceEngineWrapper {
namespace {

constexpr const char* kExecFunTag = "kavrin::ConferenceEngineWrapper::ExecFun";

// What a third argument that is no array counts as.
constexpr std::uint32_t kCountOfNonArray = 99;

// No method takes nearly as many arguments, and every method checks its count first. Elements
// beyond this are not looked at: a sparse array may claim four thousand million of them.
constexpr std::uint32_t kConvertedArguments = 1024;

// The text form of an argument. Texts are by far the most common and need no Variant.
std::string textOf(Logger& logger, napi_env env, napi_value value) {
  if (auto text = node_napi::readText(env, value)) return std::move(*text);
  return node_napi::convertNValueToVariant(logger, env, value).toString();
}

std::uint32_t argumentCount(napi_env env, napi_value arguments) {
  std::uint32_t count = kCountOfNonArray;
  napi_get_array_length(env, arguments, &count);
  return count;
}

// Numbers, texts and booleans have no elements to read: reading from no handle at all fails for
// them with the host's own words, where the host would make an object of them.
napi_value elementSource(napi_env env, napi_value arguments) {
  napi_valuetype type = napi_undefined;
  napi_typeof(env, arguments, &type);
  return type == napi_object || type == napi_function ? arguments : nullptr;
}

// The first elements as Variants; nothing when one of them cannot be read.
std::optional<std::vector<Variant>> convertElements(Logger& logger, napi_env env,
                                                    napi_value arguments, std::uint32_t count) {
  const napi_value source = elementSource(env, arguments);
  std::vector<Variant> converted(std::min(count, kConvertedArguments));
  for (std::uint32_t index = 0; index < converted.size(); ++index) {
    napi_value element = nullptr;
    if (napi_get_element(env, source, index, &element) != napi_ok) {
      const std::string message =
          "execFun Wrong arguments. napi_get_element:" + std::to_string(index);
      logger.writeText(kLogError, __LINE__, kExecFunTag,
                       node_napi::errorText(env, message.c_str()));
      return std::nullopt;
    }
    converted[index] = node_napi::convertNValueToVariant(logger, env, element);
    if (converted[index].is(Variant::Kind::Null)) {
      logger.write(kLogError, __LINE__, kExecFunTag, "call method args is not valid");
      return std::nullopt;
    }
  }
  return converted;
}

}  // namespace

napi_value execFun(napi_env env, napi_callback_info info) {
  const CallArguments<3> arguments(env, info);
  if (!arguments.complete()) return nullptr;
  const auto facade = requireFacade(env, arguments[0]);
  if (facade == nullptr) return nullptr;
  const std::uint32_t count = argumentCount(env, arguments[2]);
  const std::string name = textOf(facade->log(), env, arguments[1]);
  auto converted = convertElements(facade->log(), env, arguments[2], count);
  if (!converted) return nullptr;
  Variant result =
      facade->runFunction(env, name, static_cast<std::int32_t>(count), converted->data());
  if (result.is(Variant::Kind::Null)) return nullptr;
  return node_napi::convertVariantToNValue(facade->log(), env, std::move(result));
}

napi_value execJsonParamFun(napi_env env, napi_callback_info info) {
  const CallArguments<3> arguments(env, info);
  if (!arguments.complete()) return nullptr;
  const auto facade = requireFacade(env, arguments[0]);
  if (facade == nullptr) return nullptr;
  const std::string name = textOf(facade->log(), env, arguments[1]);
  const std::string json = textOf(facade->log(), env, arguments[2]);
  return node_napi::convertVariantToNValue(facade->log(), env,
                                           facade->runJsonParamFunction(env, name, json));
}

napi_value execJsonParamFunWithCallback(napi_env env, napi_callback_info info) {
  const CallArguments<4> arguments(env, info);
  if (!arguments.complete()) return nullptr;
  const auto facade = requireFacade(env, arguments[0]);
  if (facade == nullptr) return nullptr;
  const std::string name = textOf(facade->log(), env, arguments[1]);
  const std::string json = textOf(facade->log(), env, arguments[2]);
  return node_napi::convertVariantToNValue(
      facade->log(), env, facade->runJsonParamFunctionWithCallback(env, name, json, arguments[3]));
}

}  // namespace kavrin::ConferenceEngineWrapper
