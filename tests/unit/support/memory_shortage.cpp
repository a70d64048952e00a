#include "tests/unit/support/memory_shortage.h"

#include <cstdlib>
#include <new>
#include <utility>

#include "tests/unit/fake_node_api/inside_node_api.h"

namespace {

constexpr int kUnlimited = -1;

// Allocations of this thread until they fail.
thread_local int allocationsLeft = kUnlimited;
thread_local bool failed = false;

// What this thread does before its next allocation of that many bytes.
thread_local std::size_t awaitedBytes = 0;
thread_local int awaitedAfter = 0;
thread_local const std::function<void()>* awaiting = nullptr;

void beforeAllocation(std::size_t size) {
  if (awaiting != nullptr && size == awaitedBytes && awaitedAfter-- == 0) {
    (*std::exchange(awaiting, nullptr))();
  }
  if (allocationsLeft == 0) {
    failed = true;
    throw std::bad_alloc();
  }
  if (allocationsLeft > 0) --allocationsLeft;
}

}  // namespace

void* operator new(std::size_t size) {
  if (!kavrin::fake::InsideNodeApi::now()) beforeAllocation(size);
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

void* operator new[](std::size_t size) { return operator new(size); }

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

kavrin::testing::Shortage kavrin::testing::runShort(int nth, const std::function<void()>& work) {
  Shortage shortage = Shortage::None;
  allocationsLeft = nth;
  failed = false;
  try {
    work();
    if (failed) shortage = Shortage::Caught;
  } catch (const std::bad_alloc&) {
    shortage = Shortage::Escaped;
  }
  allocationsLeft = kUnlimited;
  return shortage;
}

bool kavrin::testing::meanwhileAllocating(std::size_t bytes, const std::function<void()>& meanwhile,
                                          const std::function<void()>& work, int nth) {
  awaitedBytes = bytes;
  awaitedAfter = nth;
  awaiting = &meanwhile;
  work();
  return std::exchange(awaiting, nullptr) == nullptr;
}
