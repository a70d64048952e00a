// What a fuzzer holds its input to.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace kavrin {

// Ends the process, which makes the fuzzer keep the input, when a rule does not hold.
inline void require(bool holds, const char* rule) {
  if (holds) return;
  std::fprintf(stderr, "violated: %s\n", rule);
  std::abort();
}

}  // namespace kavrin
