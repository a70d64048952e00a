// Script values and Variants of every kind, as a fuzzer's input says.
#pragma once

#include "bridge/variant.h"
#include "tests/hardening/coverage/input.h"
#include "tests/unit/fake_node_api/script_environment.h"

namespace kavrin {

// Any value that script can pass, also one whose properties cannot be read.
napi_value anyScriptValue(fake::ScriptEnvironment& env, Input& input);

// Any Variant that native code can build, also kinds that no method returns.
Variant anyVariant(fake::ScriptEnvironment& env, Input& input);

// Makes Node-API functions that conversion uses fail on their n-th call.
void planFaults(fake::FaultPlan& faults, Input& input);

// True when a function has failed as planned.
bool faultHappened(fake::FaultPlan& faults);

}  // namespace kavrin
