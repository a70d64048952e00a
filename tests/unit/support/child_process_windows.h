// inChild() where processes cannot be forked: the test program is started again for this test
// alone, and runs only the one piece of work there. Include child_process.h.
#pragma once

#include <gtest/gtest.h>
#include <process.h>
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

namespace kavrin::testing {

inline constexpr char kChildCallVariable[] = "KAVRIN_CHILD_CALL";

inline std::string currentTestName() {
  const ::testing::TestInfo* test = ::testing::UnitTest::GetInstance()->current_test_info();
  return std::string(test->test_suite_name()) + "." + test->name();
}

// How many times the running test has come to inChild() before.
inline int nextChildCall() {
  static std::string test;
  static int calls = 0;
  if (test != currentTestName()) {
    test = currentTestName();
    calls = 0;
  }
  return calls++;
}

inline ::testing::AssertionResult inChild(const std::function<void()>& work) {
  const int call = nextChildCall();
  std::fflush(nullptr);
  if (const char* wanted = std::getenv(kChildCallVariable)) {
    if (call != std::atoi(wanted)) return ::testing::AssertionSuccess();
    work();
    std::fflush(nullptr);
    _exit(::testing::Test::HasFailure() ? 1 : 0);
  }
  char program[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, program, MAX_PATH);
  const std::string quoted = '"' + std::string(program) + '"';
  const std::string filter = "--gtest_filter=" + currentTestName();
  _putenv_s(kChildCallVariable, std::to_string(call).c_str());
  const auto status = _spawnl(_P_WAIT, program, quoted.c_str(), filter.c_str(), nullptr);
  _putenv_s(kChildCallVariable, "");
  if (status == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "the child ended with status " << status << "; set "
                                       << kChildCallVariable << '=' << call << " to see it alone";
}

}  // namespace kavrin::testing
