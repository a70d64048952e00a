// Keeps what the code under test prints out of the test report, and lets tests read it.
//
// Threads: one thread; begin() and end() are called by the test program around every test.
#pragma once

#include <string>

namespace kavrin::testing {

class StdoutCapture {
 public:
  static StdoutCapture& instance();

  // From begin() to end() the standard output of the process goes to a temporary file.
  void begin();
  void end();

  // What was printed since begin() or the last take().
  std::string take();

 private:
  StdoutCapture();

  int realStdout_;
  int file_;
  bool active_ = false;
  long taken_ = 0;
};

}  // namespace kavrin::testing
