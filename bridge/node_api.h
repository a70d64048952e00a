// The host's native-module interface at the version this module is built against.
#pragma once

#include <node_api.h>

static_assert(NAPI_VERSION == 8, "the module is built against Node-API version 8");
