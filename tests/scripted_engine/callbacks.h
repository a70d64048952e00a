// Calls of the engine's callback interface, asked for by name with JSON arguments.
#pragma once

#include <cstdint>

#include "tests/scripted_engine/json.h"

namespace kavrin::scripted {

// Calls the callback that `command` names, on as many threads and as often as it says.
//
// Members of `command`: "callback"; "engine" (number, the newest when absent); "room" with "roomId"
// and "localUid"; "arguments", one per parameter after the room (a text, null for an absent text,
// a number, a boolean, a list of {"uid", "volume"}, a picture {"width", "height", "streamType",
// "seed"}); "sequence", the index of an argument that is replaced by a running number; "threads"
// (1); "count" per thread (1); "intervalUs" between two calls of a thread (0), but for its first
// "burst" ones (0); "late", to call even after UnInit; "background", to return before the calls are
// done.
//
// Threads: any thread. The calls themselves run on threads of this library; all of them start
// together.
void fireCallbacks(const JsonValue& command);

}  // namespace kavrin::scripted
