#include "conference/base/engine_log.h"

#include <chrono>
#include <ctime>

namespace kavrin::conference {
namespace {

std::string timestamp() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto millis =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm local{};
#if defined(_WIN32)
  localtime_s(&local, &seconds);
#else
  localtime_r(&seconds, &local);
#endif
  char day[32];
  std::strftime(day, sizeof day, "%Y-%m-%d %H:%M:%S", &local);
  char text[48];
  std::snprintf(text, sizeof text, "%s.%03d", day, static_cast<int>(millis));
  return text;
}

}  // namespace

void EngineLog::open(const std::string& folder) {
  MutexLock lock(mutex_);
  file_.reset();
  if (!folder.empty()) {
    file_.reset(std::fopen((folder + "/KavrinConferenceEngine.log").c_str(), "a"));
  }
}

void EngineLog::line(const std::string& text) {
  MutexLock lock(mutex_);
  if (!file_) return;
  std::fprintf(file_.get(), "%s %s\n", timestamp().c_str(), text.c_str());
  std::fflush(file_.get());
}

}  // namespace kavrin::conference
