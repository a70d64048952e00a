// An engine library that does nothing, quickly: every operation answers 0. The benchmarks put it
// beside the module so that what they measure is the module.
//
// Threads: as the engine interface says; the sink of the newest engine is kept for the benchmarks.
#pragma once

#include "engine/engine_interface.h"

namespace kavrin::bench {

// The sink of the engine that was created last; null before that.
KAVRIN_ENGINE_API KavrinConferenceEngineEvent* newestSink();

}  // namespace kavrin::bench
