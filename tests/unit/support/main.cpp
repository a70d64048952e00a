// The test program: GoogleTest with the output of the code under test kept out of the report.
#include <gtest/gtest.h>

#include "tests/unit/support/stdout_capture.h"

namespace {

using kavrin::testing::StdoutCapture;

// Listeners hear of a beginning in the order of their registration and of an end in reverse. The
// printer stands between these two, so that it always prints to the real standard output.
class BeforePrinter : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult&) override {
    StdoutCapture::instance().end();
  }
};

class AfterPrinter : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo&) override { StdoutCapture::instance().begin(); }
  void OnTestPartResult(const testing::TestPartResult&) override {
    StdoutCapture::instance().begin();
  }
  void OnTestEnd(const testing::TestInfo&) override { StdoutCapture::instance().end(); }
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  auto& listeners = testing::UnitTest::GetInstance()->listeners();
  testing::TestEventListener* printer = listeners.Release(listeners.default_result_printer());
  listeners.Append(new BeforePrinter);
  listeners.Append(printer);
  listeners.Append(new AfterPrinter);
  return RUN_ALL_TESTS();
}
