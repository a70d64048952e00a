// Building blocks of the method tables.
//
// Most methods decode their parameters, call one operation of the engine and return its code. For
// them a table row is the whole method:
//
//   forward<"MuteAudio", &Engine::MuteAudio, &UserSwitchParameters::userId,
//           &UserSwitchParameters::isEnable>("description")
//
// names the method, the operation, and the parameters in the order in which the operation takes
// them. The keys that script may send are those of the record that the members belong to.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <string>
#include <type_traits>

#include "engine/conference_node_engine.h"
#include "engine/parameters.h"

namespace kavrin::methods {

using Facade = KavrinNodeConferenceEngine;
using Engine = KavrinConferenceEngine;

inline constexpr std::int32_t kCallFailed = -1;  // the call cannot be made

// A text as a template argument.
template <std::size_t Size>
struct FixedText {
  char text[Size]{};

  constexpr FixedText() = default;
  constexpr FixedText(const char (&source)[Size]) { std::copy_n(source, Size, text); }
};

// The tag of a method's log lines.
template <FixedText Name>
constexpr auto makeTag() {
  constexpr char kPrefix[] = "KavrinNodeConferenceEngine::";
  constexpr std::size_t kPrefixLength = sizeof kPrefix - 1;
  FixedText<kPrefixLength + sizeof Name.text> tag;
  std::copy_n(kPrefix, kPrefixLength, tag.text);
  std::copy_n(Name.text, sizeof Name.text, tag.text + kPrefixLength);
  return tag;
}
template <FixedText Name>
inline constexpr auto kTag = makeTag<Name>();

// Runs a handler's work; an exception is logged with its text and becomes the failure code.
template <typename Work>
Variant guarded(Facade& facade, const char* tag, Work work, std::int32_t errorLine = __LINE__) {
  try {
    return work();
  } catch (const std::exception& error) {
    facade.log().writeText(kLogError, errorLine, tag, error.what());
  } catch (...) {
    facade.log().write(kLogError, errorLine, tag, "unknown exception");
  }
  return Variant::int32(kCallFailed);
}

// Calls the engine between the two log lines that every operation has.
template <typename Call>
std::int32_t tracedCall(Facade& facade, const char* tag, Call call,
                        std::int32_t returnLevel = kLogInfo) {
  facade.log().write(kLogInfo, __LINE__, tag, "method enter...");
  const std::int32_t code = call(*facade.engine());
  facade.log().write(returnLevel, __LINE__, tag, "method return %d", code);
  return code;
}

// A method with parameters: refuses an empty text or a missing engine, decodes, then works.
template <typename Parameters, typename Work>
Variant withParameters(Facade& facade, const char* tag, const std::string& json, Work work) {
  if (json.empty() || facade.engine() == nullptr) return Variant::int32(kCallFailed);
  return guarded(facade, tag, [&] {
    Parameters parameters;
    decodeJson(json, parameters);
    return work(parameters);
  });
}

// A method that ignores its text: refuses a missing engine, then works.
template <typename Work>
Variant withEngine(Facade& facade, const char* tag, Work work) {
  if (facade.engine() == nullptr) return Variant::int32(kCallFailed);
  return guarded(facade, tag, work);
}

// How a parameter is handed to an operation: texts as C strings, the rest as it is.
inline const char* argument(const std::string& text) { return text.c_str(); }
inline const std::int32_t& argument(const std::int32_t& number) { return number; }
inline bool argument(const bool& flag) { return flag; }

// The record that a list of members belongs to.
template <auto... Members>
struct RecordOfMembers;
template <typename Record, typename Type, Type Record::*First, auto... Rest>
struct RecordOfMembers<First, Rest...> {
  using type = Record;
};
template <auto... Members>
using RecordOf = typename RecordOfMembers<Members...>::type;

// --- Handlers of the common shapes --------------------------------------------------------------

template <FixedText Name, auto Operation, auto... Members>
Variant forwardHandler(Facade& facade, napi_env, const std::string& json) {
  const char* tag = kTag<Name>.text;
  return withParameters<RecordOf<Members...>>(facade, tag, json, [&](const auto& parameters) {
    return Variant::int32(tracedCall(facade, tag, [&](Engine& engine) {
      return (engine.*Operation)(argument(parameters.*Members)...);
    }));
  });
}

template <FixedText Name, auto Operation, LogLevel ReturnLevel>
Variant forwardPlainHandler(Facade& facade, napi_env, const std::string&) {
  const char* tag = kTag<Name>.text;
  return withEngine(facade, tag, [&] {
    const auto call = [](Engine& engine) { return (engine.*Operation)(); };
    return Variant::int32(tracedCall(facade, tag, call, ReturnLevel));
  });
}

void fillOption(Engine::VideoOption& option, const DeviceParameters& parameters);

template <FixedText Name, auto Operation>
Variant forwardOptionHandler(Facade& facade, napi_env, const std::string& json) {
  const char* tag = kTag<Name>.text;
  return withParameters<DeviceParameters>(facade, tag, json, [&](const auto& parameters) {
    Engine::VideoOption option;
    fillOption(option, parameters);
    return Variant::int32(
        tracedCall(facade, tag, [&](Engine& engine) { return (engine.*Operation)(option); }));
  });
}

// --- Rows of the method tables ------------------------------------------------------------------

template <typename Record>
constexpr auto makeParameterList() {
  std::array<Parameter, Record::kFields.size()> list{};
  constexpr const char* kTypes[] = {"string", "integer", "boolean", "list of integers"};
  for (std::size_t i = 0; i < list.size(); ++i) {
    list[i] = {Record::kFields[i].key, kTypes[Record::kFields[i].member.index()]};
  }
  return list;
}
template <typename Record>
inline constexpr auto kParameterList = makeParameterList<Record>();

inline constexpr const char* kEngineCode = "number: the engine's code";

// Calls `Operation` with the given members of its parameter record.
template <FixedText Name, auto Operation, auto... Members>
constexpr MethodRecord forward(const char* description) {
  return {Name.text, JsonHandler{forwardHandler<Name, Operation, Members...>},
          kParameterList<RecordOf<Members...>>, kEngineCode, description};
}

// Calls `Operation` without arguments; the text of the call is ignored.
template <FixedText Name, auto Operation, LogLevel ReturnLevel = kLogInfo>
constexpr MethodRecord forwardPlain(const char* description) {
  return {Name.text,
          JsonHandler{forwardPlainHandler<Name, Operation, ReturnLevel>},
          {},
          kEngineCode,
          description};
}

// Calls `Operation` with a camera or share source.
template <FixedText Name, auto Operation>
constexpr MethodRecord forwardOption(const char* description) {
  return {Name.text, JsonHandler{forwardOptionHandler<Name, Operation>},
          kParameterList<DeviceParameters>, kEngineCode, description};
}

// A JSON method with a handler of its own.
template <typename Record>
constexpr MethodRecord jsonMethod(const char* name, JsonHandler handler, const char* result,
                                  const char* description) {
  return {name, handler, kParameterList<Record>, result, description};
}
constexpr MethodRecord plainMethod(const char* name, JsonHandler handler, const char* result,
                                   const char* description) {
  return {name, handler, {}, result, description};
}
template <typename Record>
constexpr MethodRecord callbackMethod(const char* name, JsonCallbackHandler handler,
                                      const char* result, const char* description) {
  return {name, handler, kParameterList<Record>, result, description};
}
constexpr MethodRecord argumentMethod(const char* name, ArgumentHandler handler,
                                      std::span<const Parameter> parameters, const char* result,
                                      const char* description) {
  return {name, handler, parameters, result, description};
}

}  // namespace kavrin::methods
