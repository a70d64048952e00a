#include "events/event_queue.h"

#include <gtest/gtest.h>

#include <thread>

namespace kavrin {
namespace {

std::shared_ptr<const NodeEvent> event(std::string key) {
  auto made = std::make_shared<NodeEvent>();
  made->key = std::move(key);
  return made;
}

TEST(EventQueue, HandsOutEverythingOnceInOrder) {
  EventQueue queue;
  EXPECT_TRUE(queue.takeAll().empty());
  queue.append(event("a"));
  queue.append(event("b"));
  const auto taken = queue.takeAll();
  ASSERT_EQ(taken.size(), 2u);
  EXPECT_EQ(taken[0]->key, "a");
  EXPECT_EQ(taken[1]->key, "b");
  EXPECT_TRUE(queue.takeAll().empty());
}

TEST(EventQueue, DropsItsTenOldestEventsWhenItHoldsMoreThanAMillion) {
  EventQueue queue;
  const auto filler = event("filler");
  for (int i = 0; i < 20; ++i) queue.append(event(std::to_string(i)));
  for (std::size_t i = 20; i < 1'000'000; ++i) queue.append(filler);
  queue.append(event("the 1,000,001st"));  // found exactly a million: nothing is dropped
  queue.append(event("the 1,000,002nd"));
  auto taken = queue.takeAll();
  EXPECT_EQ(taken.size(), 1'000'002u - 10);
  EXPECT_EQ(taken.front()->key, "10");
  EXPECT_EQ(taken.back()->key, "the 1,000,002nd");
}

TEST(EventQueue, AMillionAndOneEventsAreKept) {
  EventQueue queue;
  const auto filler = event("filler");
  for (std::size_t i = 0; i <= 1'000'000; ++i) queue.append(filler);
  EXPECT_EQ(queue.takeAll().size(), 1'000'001u);
  queue.append(filler);
  EXPECT_EQ(queue.takeAll().size(), 1u);
}

TEST(EventQueue, LosesNothingBetweenThreads) {
  constexpr int kThreads = 4;
  constexpr std::size_t kEvents = 5000;
  EventQueue queue;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (std::size_t i = 0; i < kEvents; ++i) queue.append(event("e"));
    });
  }
  std::size_t taken = 0;
  while (taken < kThreads * kEvents) taken += queue.takeAll().size();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(taken, kThreads * kEvents);
  EXPECT_TRUE(queue.takeAll().empty());
}

}  // namespace
}  // namespace kavrin
