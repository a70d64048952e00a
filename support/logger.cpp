#include "support/logger.h"

#include <atomic>
#include <cstring>
#include <string_view>

#include "support/host_services.h"

namespace kavrin {
namespace {

constexpr std::size_t kFolderCapacity = 265;
constexpr std::size_t kDefaultFolderCapacity = 1024;
constexpr std::size_t kTimestampCapacity = 64;

// The process's log file. The one piece of state that all environments share, by intent: support
// asks for one file per process.
std::atomic<std::FILE*>& processLogFile() {
  static std::atomic<std::FILE*> file{nullptr};
  return file;
}

const char* levelText(std::int32_t level) {
  switch (level) {
    case kLogDebug:
      return "DEBUG";
    case kLogInfo:
      return "INFO";
    case kLogWarning:
      return "WARNING";
    case kLogError:
      return "ERROR";
    default:
      return "";
  }
}

std::string formattedTime(const char* format) {
  const host::LocalTime now = host::localTime();
  char text[kTimestampCapacity];
  const std::size_t length = std::strftime(text, sizeof text, format, &now.calendar);
  return std::string(text, length) + '.' + std::to_string(now.milliseconds);
}

std::string logFolder(const char* requested) {
  if (requested != nullptr) return std::string(requested, strnlen(requested, kFolderCapacity - 1));
  char folder[kDefaultFolderCapacity];
  std::snprintf(folder, sizeof folder, "%s%cKavrinConferenceNodeExt",
                host::defaultAppFolder().c_str(), host::kPathSeparator);
  return folder;
}

}  // namespace

bool Logger::open(const char* folder) {
  std::atomic<std::FILE*>& shared = processLogFile();
  if (shared.load(std::memory_order_acquire) != nullptr) return false;
  const std::string target = logFolder(folder);
  host::createFolder(target);
  const std::string path = host::joinPath(target, "KVNodeExt_" + formattedTime("%H%M%S") + ".log");
  std::FILE* opened = std::fopen(path.c_str(), "a");
  if (opened == nullptr) return true;
  std::FILE* none = nullptr;
  if (!shared.compare_exchange_strong(none, opened, std::memory_order_acq_rel)) {
    std::fclose(opened);  // another thread was first
    return false;
  }
  return true;
}

bool Logger::isOpen() const { return processLogFile().load(std::memory_order_acquire) != nullptr; }

std::FILE* Logger::destination(std::int32_t level) const {
  return level < minLevel ? nullptr : processLogFile().load(std::memory_order_acquire);
}

void Logger::writeHeader(std::FILE* file, std::int32_t level, std::int32_t line,
                         const char* function) const {
  const std::string thread = std::to_string(host::currentThreadId());
  const std::string time = formattedTime("%Y-%m-%d %H:%M:%S");
  constexpr const char* kSourceFile = "";
  const auto put = [&](std::FILE* stream) {
    std::fprintf(stream, "%s [%s][%s:%s:%d][%s]", time.c_str(), thread.c_str(), kSourceFile,
                 function, line, levelText(level));
  };
  put(file);
  if (echoToConsole) put(stdout);
}

void Logger::finishRecord(std::FILE* file) const {
  std::fputs("\n", file);
  if (echoToConsole) std::fputs("\n", stdout);
  std::fflush(file);
}

void Logger::write(std::int32_t level, std::int32_t line, const char* function, const char* format,
                   ...) {
  std::FILE* file = destination(level);
  if (file == nullptr) return;
  writeHeader(file, level, line, function);
  std::va_list arguments;
  va_start(arguments, format);
  std::va_list again;
  va_copy(again, arguments);
  std::vfprintf(file, format, arguments);
  std::vfprintf(stdout, format, again);
  va_end(again);
  va_end(arguments);
  finishRecord(file);
}

void Logger::writeText(std::int32_t level, std::int32_t line, const char* function,
                       const std::string& message) {
  write(level, line, function, "%s", message.c_str());
}

std::string formatWithoutArguments(const std::string& format) {
  constexpr std::string_view kFlagsWidthPrecision = "-+ #0'I123456789.*$";
  constexpr std::string_view kLengths = "hlqjzZtL";
  constexpr std::string_view kConversions = "diouxXeEfFgGaAcsCSpnm";
  std::string result;
  for (std::size_t i = 0; i < format.size(); ++i) {
    if (format[i] != '%') {
      result += format[i];
      continue;
    }
    std::size_t end = format.find_first_not_of(kFlagsWidthPrecision, i + 1);
    if (end != std::string::npos) end = format.find_first_not_of(kLengths, end);
    if (end == std::string::npos) break;  // cut off inside a conversion
    if (format[end] == '%') {
      result += '%';
    } else if (kConversions.find(format[end]) == std::string_view::npos) {
      result.append(format, i, end - i + 1);  // no conversion at all: it stands for itself
    }
    i = end;
  }
  return result;
}

}  // namespace kavrin
