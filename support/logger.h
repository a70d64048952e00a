// The module's log: one text file per process and, in part, standard output.
//
// Every facade owns a Logger, and all of them write to the one file that the first successful
// open() in the process has created, in whichever environment that was. The file is never closed,
// rotated or limited. A record is
//
//   2026-03-05 15:30:12.7 [10344][:KavrinNodeConferenceEngine::GetSDKVersion:58][DEBUG]message
//
// with the thread id, the (empty) file, function and line in brackets; milliseconds are not padded
// and nothing stands between header and message. The message alone also goes to standard output,
// without a line end, through the C library's stream (so a pipe sees it when that is flushed).
//
// Threads: open() and write() may be called from any thread. There is no lock: a record is written
// with several stream calls, between which records of other threads may come.
#pragma once

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <string>

#if defined(__GNUC__)
#define KAVRIN_PRINTF(formatIndex, firstArgument) \
  __attribute__((format(printf, formatIndex, firstArgument)))
#else
#define KAVRIN_PRINTF(formatIndex, firstArgument)
#endif

namespace kavrin {

enum LogLevel : std::int32_t { kLogDebug = 0, kLogInfo = 1, kLogWarning = 2, kLogError = 3 };

class Logger {
 public:
  Logger() = default;
  Logger(const Logger&) = delete;
  Logger& operator=(const Logger&) = delete;

  // Opens "KVNodeExt_<time>.log" in `folder` (at most 264 bytes of it count; created when it is
  // missing, one level), or in the default application folder when `folder` is null. False when
  // the process has its log file already; true otherwise, also when the file could not be created,
  // in which case a later open tries again.
  bool open(const char* folder);

  // True when records are written at all; callers may skip costly preparations otherwise.
  bool isOpen() const;

  // Writes one record; `function` is its tag, `line` the place in the source. A record below
  // minLevel, or before open(), is dropped. Write errors are ignored.
  void write(std::int32_t level, std::int32_t line, const char* function, const char* format, ...)
      KAVRIN_PRINTF(5, 6);

  // As write(), with a message that is not a format: texts from script or exceptions.
  void writeText(std::int32_t level, std::int32_t line, const char* function,
                 const std::string& message);

  // Set before the logger is used by several threads.
  std::int32_t minLevel = kLogDebug;
  bool echoToConsole = false;  // header and line end go to standard output as well

 private:
  std::FILE* destination(std::int32_t level) const;
  void writeHeader(std::FILE* file, std::int32_t level, std::int32_t line,
                   const char* function) const;
  void finishRecord(std::FILE* file) const;
};

// What printf makes of `format` without any argument: "%%" gives "%", every other conversion
// nothing. No conversion reads an argument, so the text may come from anywhere.
std::string formatWithoutArguments(const std::string& format);

}  // namespace kavrin
