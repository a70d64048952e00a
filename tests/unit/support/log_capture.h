// Reads back the records that the code under test writes to the log.
//
// The first LogCapture of a process opens the process's log file, in a temporary folder; every
// object sees the records that were written after it was made.
#pragma once

#include <string>
#include <vector>

#include "support/logger.h"

namespace kavrin::testing {

struct LogRecord {
  std::string time;  // "2026-03-05 15:30:12.7"
  std::string thread;
  std::string file;
  std::string function;
  int line = 0;
  std::string level;
  std::string message;
};

// The records of a log's text, which may hold line ends in their messages.
std::vector<LogRecord> parseLog(const std::string& text);

class LogCapture {
 public:
  LogCapture();

  std::vector<LogRecord> records() const;
  // The records as "LEVEL function: message", since construction or the last call.
  std::vector<std::string> lines();
  // The records of one function, as "LEVEL message".
  std::vector<std::string> linesOf(const std::string& function) const;
  bool contains(const std::string& level, const std::string& message) const;

 private:
  std::size_t start_;
};

}  // namespace kavrin::testing
