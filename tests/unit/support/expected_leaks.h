// Tells the leak checker that what is allocated meanwhile on this thread is left behind on purpose.
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#define KAVRIN_LEAKS_ARE_CHECKED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KAVRIN_LEAKS_ARE_CHECKED 1
#endif
#endif

#ifdef KAVRIN_LEAKS_ARE_CHECKED
#include <sanitizer/lsan_interface.h>
#endif

namespace kavrin::testing {

class ExpectedLeaks {
 public:
#ifdef KAVRIN_LEAKS_ARE_CHECKED
  ExpectedLeaks() { __lsan_disable(); }
  ~ExpectedLeaks() { __lsan_enable(); }
#else
  ExpectedLeaks() {}
  ~ExpectedLeaks() {}
#endif
  ExpectedLeaks(const ExpectedLeaks&) = delete;
  ExpectedLeaks& operator=(const ExpectedLeaks&) = delete;
};

}  // namespace kavrin::testing
