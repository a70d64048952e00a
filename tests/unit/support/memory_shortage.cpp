#include "tests/unit/support/memory_shortage.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace {

constexpr int kUnlimited = -1;

// Allocations of this thread until they fail.
thread_local int allocationsLeft = kUnlimited;

// What this thread does before its next allocation of that many bytes.
thread_local std::size_t awaitedBytes = 0;
thread_local const std::function<void()>* awaiting = nullptr;

}  // namespace

void* operator new(std::size_t size) {
  if (awaiting != nullptr && size == awaitedBytes) (*std::exchange(awaiting, nullptr))();
  if (allocationsLeft == 0) throw std::bad_alloc();
  if (allocationsLeft > 0) --allocationsLeft;
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}

void* operator new[](std::size_t size) { return operator new(size); }

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

bool kavrin::testing::runsShort(int nth, const std::function<void()>& work) {
  bool isShort = false;
  allocationsLeft = nth;
  try {
    work();
  } catch (const std::bad_alloc&) {
    isShort = true;
  }
  allocationsLeft = kUnlimited;
  return isShort;
}

bool kavrin::testing::meanwhileAllocating(std::size_t bytes, const std::function<void()>& meanwhile,
                                          const std::function<void()>& work) {
  awaitedBytes = bytes;
  awaiting = &meanwhile;
  work();
  return std::exchange(awaiting, nullptr) == nullptr;
}
