#include "tests/unit/support/stdout_capture.h"

#include <unistd.h>

#include <cstdio>

namespace kavrin::testing {

StdoutCapture& StdoutCapture::instance() {
  static StdoutCapture capture;
  return capture;
}

StdoutCapture::StdoutCapture()
    : realStdout_(dup(STDOUT_FILENO)), file_(dup(fileno(std::tmpfile()))) {}

void StdoutCapture::begin() {
  if (active_) return;
  active_ = true;
  std::fflush(stdout);
  if (ftruncate(file_, 0) != 0) return;
  lseek(file_, 0, SEEK_SET);
  taken_ = 0;
  dup2(file_, STDOUT_FILENO);
}

void StdoutCapture::end() {
  if (!active_) return;
  active_ = false;
  std::fflush(stdout);
  dup2(realStdout_, STDOUT_FILENO);
}

std::string StdoutCapture::take() {
  std::fflush(stdout);
  std::string text;
  char chunk[4096];
  ssize_t length = 0;
  while ((length = pread(file_, chunk, sizeof chunk, taken_)) > 0) {
    text.append(chunk, static_cast<std::size_t>(length));
    taken_ += length;
  }
  return text;
}

}  // namespace kavrin::testing
