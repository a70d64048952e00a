// The door through which tests steer the scripted engine.
#pragma once

#include <string>

#include "engine/engine_interface.h"

namespace kavrin::scripted {

// Carries out one command, a JSON object whose member "command" names it, and returns the answer as
// JSON text: {"value": ...}, or {"error": text} when the command could not be carried out.
//
// Threads: any thread.
KAVRIN_ENGINE_API std::string execute(const std::string& command);

}  // namespace kavrin::scripted
