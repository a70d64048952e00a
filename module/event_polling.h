// loadNodeEvents(engine): hands all queued engine events to script, oldest first.
//
// Each event is an object {"key": name, "parms": array of values}. A value without a script form is
// undefined in its place. undefined is returned for a wrong argument count, and when Node-API fails
// half-way, which is logged; the events taken by then are lost.
//
// Threads: script thread only.
#pragma once

#include "bridge/node_api.h"

namespace kavrin::ConferenceEngineWrapper {

napi_value loadNodeEvents(napi_env env, napi_callback_info info);

}  // namespace kavrin::ConferenceEngineWrapper
