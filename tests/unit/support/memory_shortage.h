// Allocations that fail. Only for a program that links memory_shortage.cpp, which replaces the
// allocation functions.
#pragma once

#include <functional>

namespace kavrin::testing {

// Runs `work` with allocation number `nth` of this thread, counted from 0, failing, and those
// behind it as well. True when it ended with std::bad_alloc.
bool runsShort(int nth, const std::function<void()>& work);

}  // namespace kavrin::testing
