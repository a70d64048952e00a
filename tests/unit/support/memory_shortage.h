// Allocations that fail or take their time. Only for a program that links memory_shortage.cpp,
// which replaces the allocation functions.
#pragma once

#include <cstddef>
#include <functional>

namespace kavrin::testing {

enum class Shortage {
  None,    // there were fewer allocations
  Caught,  // `work` returned all the same
  Escaped  // `work` ended with std::bad_alloc
};

// Runs `work` with allocation number `nth` of this thread, counted from 0, failing, and those
// behind it as well.
Shortage runShort(int nth, const std::function<void()>& work);

// True when that ended with std::bad_alloc.
inline bool runsShort(int nth, const std::function<void()>& work) {
  return runShort(nth, work) == Shortage::Escaped;
}

// Runs `work`, and `meanwhile` before this thread's allocation number `nth` of `bytes` in it, as
// another thread might. False when there was no such allocation.
bool meanwhileAllocating(std::size_t bytes, const std::function<void()>& meanwhile,
                         const std::function<void()>& work, int nth = 0);

}  // namespace kavrin::testing
