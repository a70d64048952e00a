#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include "tests/unit/support/stdout_capture.h"

namespace kavrin::testing {
namespace {

int standardOutput() { return _fileno(stdout); }

}  // namespace

StdoutCapture& StdoutCapture::instance() {
  static StdoutCapture capture;
  return capture;
}

StdoutCapture::StdoutCapture()
    : realStdout_(_dup(standardOutput())), file_(_dup(_fileno(std::tmpfile()))) {
  _setmode(file_, _O_BINARY);
}

void StdoutCapture::begin() {
  if (active_) return;
  active_ = true;
  std::fflush(stdout);
  if (_chsize(file_, 0) != 0) return;
  _lseek(file_, 0, SEEK_SET);
  taken_ = 0;
  _dup2(file_, standardOutput());
}

void StdoutCapture::end() {
  if (!active_) return;
  active_ = false;
  std::fflush(stdout);
  _dup2(realStdout_, standardOutput());
}

// Both descriptors share one position, which goes back to the end after reading.
std::string StdoutCapture::take() {
  std::fflush(stdout);
  std::string text;
  char chunk[4096];
  _lseek(file_, taken_, SEEK_SET);
  for (int length = 0; (length = _read(file_, chunk, sizeof chunk)) > 0;) {
    text.append(chunk, static_cast<std::size_t>(length));
    taken_ += length;
  }
  _lseek(file_, 0, SEEK_END);
  return text;
}

}  // namespace kavrin::testing
