#include "tests/unit/support/log_capture.h"

#include <algorithm>
#include <filesystem>
#include <regex>

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
  static const std::regex header(
      "^(\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{1,3}) "
      "\\[(\\d+)\\]\\[([^:\\]]*):([^\\]]*):(\\d+)\\]\\[([A-Z]*)\\]");
  std::vector<LogRecord> records;
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    const std::string line = text.substr(start, end - start);
    start = end + 1;
    std::smatch match;
    const std::string head = line.substr(0, 300);
    if (std::regex_search(head, match, header)) {
      records.push_back({match[1], match[2], match[3], match[4], std::stoi(match[5]), match[6],
                         line.substr(static_cast<std::size_t>(match.length()))});
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
