// The table of named methods: one record per method, grouped by domain.
//
// A record drives everything that is known of a method: its name, which of the three forms it has,
// its parameters and the handler behind it. Dispatch is filled from the records, and
// docs/methods.md is generated from them.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "bridge/node_api.h"
#include "bridge/variant.h"

class KavrinNodeConferenceEngine;

namespace kavrin {

// Handlers run on the script thread, inside the call that script made, and never throw.
using ArgumentHandler = Variant (*)(KavrinNodeConferenceEngine&, napi_env&, int argc,
                                    Variant* argv);
using JsonHandler = Variant (*)(KavrinNodeConferenceEngine&, napi_env, const std::string& json);
using JsonCallbackHandler = Variant (*)(KavrinNodeConferenceEngine&, napi_env,
                                        const std::string& json, napi_value callback);

// A parameter as the documentation shows it.
struct Parameter {
  const char* name;
  const char* type;
};

struct MethodRecord {
  const char* name;
  std::variant<ArgumentHandler, JsonHandler, JsonCallbackHandler> handler;
  std::span<const Parameter> parameters;
  const char* result;       // what script gets
  const char* description;  // one sentence
};

// The methods of one domain.
struct MethodGroup {
  const char* title;
  std::span<const MethodRecord> methods;
};

extern const MethodGroup kLifecycleMethods;
extern const MethodGroup kRoomMethods;
extern const MethodGroup kMediaMethods;
extern const MethodGroup kDeviceMethods;
extern const MethodGroup kScreenShareMethods;
extern const MethodGroup kDataChannelMethods;
extern const MethodGroup kVideoFrameMethods;

// All groups, in the order of the documentation.
std::span<const MethodGroup* const> methodGroups();

}  // namespace kavrin
