#include "support/run_down.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

namespace kavrin {
namespace {

TEST(RunDown, LetsCallsInUntilItIsClosed) {
  RunDown runDown;
  {
    const RunDown::Pass pass(runDown);
    EXPECT_TRUE(pass);
    const RunDown::Pass nested(runDown);
    EXPECT_TRUE(nested);
  }
  runDown.close();
  EXPECT_FALSE(RunDown::Pass(runDown));
  runDown.close();
  EXPECT_FALSE(RunDown::Pass(runDown));
}

TEST(RunDown, ClosingWaitsForThoseInside) {
  RunDown runDown;
  std::atomic<bool> inside{false};
  std::atomic<bool> leaving{false};
  std::thread caller([&] {
    const RunDown::Pass pass(runDown);
    inside = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    leaving = true;
  });
  while (!inside) std::this_thread::yield();
  runDown.close();
  EXPECT_TRUE(leaving);
  caller.join();
}

TEST(RunDown, NobodyTouchesTheGuardedObjectAfterItsEnd) {
  for (int round = 0; round < 50; ++round) {
    const auto runDown = std::make_shared<RunDown>();
    auto guarded = std::make_unique<int>(0);
    int* const address = guarded.get();
    std::atomic<int> calls{0};
    std::vector<std::thread> callers;
    for (int i = 0; i < 4; ++i) {
      callers.emplace_back([&, runDown] {
        for (int call = 0; call < 100; ++call) {
          const RunDown::Pass pass(*runDown);
          if (!pass) return;
          static_cast<void>(*static_cast<volatile int*>(address));  // freed memory after close()
          ++calls;
        }
      });
    }
    runDown->close();
    guarded.reset();
    for (std::thread& caller : callers) caller.join();
    EXPECT_LE(calls, 400);
  }
}

}  // namespace
}  // namespace kavrin
