// Allocations that fail or take their time. Only for a program that links memory_shortage.cpp,
// which replaces the allocation functions.
#pragma once

#include <cstddef>
#include <functional>

namespace kavrin::testing {

// Runs `work` with allocation number `nth` of this thread, counted from 0, failing, and those
// behind it as well. True when it ended with std::bad_alloc.
bool runsShort(int nth, const std::function<void()>& work);

// Runs `work`, and `meanwhile` before this thread's first allocation of `bytes` in it, as another
// thread might. False when there was no such allocation.
bool meanwhileAllocating(std::size_t bytes, const std::function<void()>& meanwhile,
                         const std::function<void()>& work);

}  // namespace kavrin::testing
