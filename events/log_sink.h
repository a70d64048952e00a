// Where the callback registry writes its log lines.
#pragma once

#include <string>

namespace kavrin {

// Threads: LogE and LogI may be called from any thread.
class LogSink {
 public:
  virtual ~LogSink() = default;
  // One line at the error level. The message is read as a format without arguments: "%%" is a
  // percent sign and any other conversion prints nothing.
  virtual void LogE(const std::string& message) = 0;
  // The same at the information level.
  virtual void LogI(const std::string& message) = 0;
};

}  // namespace kavrin
