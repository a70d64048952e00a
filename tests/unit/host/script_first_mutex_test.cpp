#include "support/script_first_mutex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace kavrin {
namespace {

constexpr int kEngineThreads = 8;

TEST(ScriptFirstMutex, LetsOneThreadInAtATime) {
  ScriptFirstMutex mutex;
  int value = 0;  // a lost update shows, and a race is seen by the thread sanitizer
  constexpr int kRounds = 5000;
  std::vector<std::thread> threads;
  for (int i = 0; i < kEngineThreads; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        const EngineLock lock(mutex);
        ++value;
      }
    });
  }
  for (int round = 0; round < kRounds; ++round) {
    const ScriptLock lock(mutex);
    ++value;
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(value, (kEngineThreads + 1) * kRounds);
}

TEST(ScriptFirstMutex, ScriptWaitsForNoEngineThreadButTheOneThatHoldsIt) {
  ScriptFirstMutex mutex;
  for (int round = 0; round < 10; ++round) {
    std::atomic<int> turns{0};
    std::atomic<bool> held{false};
    std::atomic<bool> given{false};
    std::vector<std::thread> threads;
    threads.emplace_back([&] {
      const EngineLock lock(mutex);
      held = true;
      while (!given) std::this_thread::yield();
    });
    while (!held) std::this_thread::yield();
    for (int i = 0; i < kEngineThreads; ++i) {
      threads.emplace_back([&] {
        const EngineLock lock(mutex);
        ++turns;
      });
    }
    int turnsBeforeScript = -1;
    std::thread script([&] {
      const ScriptLock lock(mutex);
      turnsBeforeScript = turns;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(30));  // until all of them wait
    given = true;
    script.join();
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(turnsBeforeScript, 0);
    EXPECT_EQ(turns, kEngineThreads);
  }
}

}  // namespace
}  // namespace kavrin
