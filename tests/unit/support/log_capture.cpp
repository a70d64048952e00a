#include "tests/unit/support/log_capture.h"

#include <algorithm>
#include <filesystem>

#include "tests/unit/support/pattern.h"
#include "tests/unit/support/temp_folder.h"

namespace kavrin::testing {
namespace {

// The process's log file, opened on the first call.
const std::string& logFile() {
  static const TempFolder folder;
  static const std::string path = [] {
    Logger().open(folder.path().c_str());
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
      return entry.path().string();
    }
    return std::string();
  }();
  return path;
}

}  // namespace

std::vector<LogRecord> parseLog(const std::string& text) {
  static const Pattern header(
      "^([0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{1,3}) "
      "\\[([0-9]+)]\\[([^]:]*):([^]]*):([0-9]+)]\\[([A-Z]*)]");
  std::vector<LogRecord> records;
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    const std::string line = text.substr(start, end - start);
    start = end + 1;
    Pattern::Groups match;
    constexpr std::size_t kLongestHeader = 300;
    if (header.isIn(line.substr(0, kLongestHeader), &match)) {
      records.push_back({match[1], match[2], match[3], match[4], std::stoi(match[5]), match[6],
                         line.substr(match[0].size())});
    } else if (!records.empty()) {
      records.back().message += "\n" + line;
    }
  }
  return records;
}

LogCapture::LogCapture() : start_(readFile(logFile()).size()) {}

std::vector<LogRecord> LogCapture::records() const {
  return parseLog(readFile(logFile()).substr(start_));
}

std::vector<std::string> LogCapture::lines() {
  std::vector<std::string> result;
  for (const LogRecord& record : records()) {
    result.push_back(record.level + " " + record.function + ": " + record.message);
  }
  start_ = readFile(logFile()).size();
  return result;
}

std::vector<std::string> LogCapture::linesOf(const std::string& function) const {
  std::vector<std::string> result;
  for (const LogRecord& record : records()) {
    if (record.function == function) result.push_back(record.level + " " + record.message);
  }
  return result;
}

bool LogCapture::contains(const std::string& level, const std::string& message) const {
  const auto all = records();
  return std::any_of(all.begin(), all.end(), [&](const LogRecord& record) {
    return record.level == level && record.message == message;
  });
}

}  // namespace kavrin::testing
