// Conversion between script values and Variants.
//
// Conversion never throws and never ends a call: a failure is logged at ERROR (a fixed message,
// then the same message with the Node-API detail) and yields an empty value.
//
// Threads: script thread only, the one that owns `env`.
#pragma once

#include <optional>
#include <string>

#include "bridge/node_api.h"
#include "bridge/variant.h"

namespace kavrin {
class Logger;
}

namespace node_napi {

using kavrin::Logger;
using kavrin::Variant;

// The text of the last failed Node-API call: "error:<message>:<detail>", or "error:<detail>"
// without a message. The detail is "empty error message" when Node-API has none.
std::string errorText(napi_env env, const char* message = nullptr);

// A script value as a Variant. Numbers become PendingNumber (classified by their first typed
// read), texts are cut at the first U+0000, everything that is no number, boolean or text is
// handed on as ScriptValue. Null when reading fails.
Variant convertNValueToVariant(Logger& logger, napi_env& env, napi_value& value);

// A Variant as a script value; arrays become plain objects with index keys. A null handle when the
// kind has no script form (Null, Int8, UInt8, PendingNumber) or the value cannot be created.
napi_value convertVariantToNValue(Logger& logger, napi_env& env, Variant value);
// The same for a value that others keep: nothing of it is copied but what script gets.
napi_value makeNValue(Logger& logger, napi_env& env, const Variant& value);

// UTF-8 text of a script string, cut at the first U+0000; nothing when `value` is no string.
std::optional<std::string> readText(napi_env env, napi_value value);

}  // namespace node_napi
