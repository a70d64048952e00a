// Counts what the calling thread allocates: the program's operator new is ours.
#pragma once

#include <cstdint>

namespace kavrin::bench {

// Allocations of the calling thread so far.
std::int64_t allocations();

}  // namespace kavrin::bench
