// Runs part of a test in a forked child, for what a process has only once: its log file, its
// environment variables.
#pragma once

#if defined(_WIN32)
#include "tests/unit/support/child_process_windows.h"
#else

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>

namespace kavrin::testing {

// Runs `work` in a child. Failed expectations there are printed and make the result a failure.
inline ::testing::AssertionResult inChild(const std::function<void()>& work) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    work();
    std::fflush(nullptr);
    _exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "the child ended with status " << status;
}

}  // namespace kavrin::testing

#endif
