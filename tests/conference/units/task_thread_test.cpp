#include "conference/base/task_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <stdexcept>

namespace kavrin::conference {
namespace {

using namespace std::chrono_literals;

TEST(TaskThread, RunsInOrderAndTimedTasksWhenDue) {
  TaskThread thread;
  std::vector<int> order;
  std::promise<void> done;
  thread.postAt(Clock::now() + 40ms, [&] {
    order.push_back(3);
    done.set_value();
  });
  thread.postAt(Clock::now() + 20ms, [&] { order.push_back(2); });
  thread.post([&] { order.push_back(0); });
  thread.post([&] { order.push_back(1); });
  done.get_future().wait();
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3}));
}

TEST(TaskThread, CloseDropsWhatHasNotBegun) {
  TaskThread thread;
  std::promise<void> begun, release;
  std::atomic<bool> late{false};
  thread.post([&] {
    begun.set_value();
    release.get_future().wait();
  });
  thread.post([&] { late = true; });
  begun.get_future().wait();
  EXPECT_FALSE(thread.close(10ms));
  release.set_value();
  EXPECT_TRUE(thread.close(5s));
  EXPECT_FALSE(thread.post([] {}));
  EXPECT_FALSE(thread.postAt(Clock::now(), [] {}));
  EXPECT_FALSE(late);
}

TEST(TaskThread, MayBeClosedAndDestroyedByItsOwnTask) {
  auto thread = std::make_unique<TaskThread>();
  std::promise<void> done;
  thread->post([&] {
    thread.reset();
    done.set_value();
  });
  EXPECT_EQ(done.get_future().wait_for(5s), std::future_status::ready);
}

TEST(TaskThread, ATaskThatThrowsDoesNotEndIt) {
  TaskThread thread;
  std::promise<void> done;
  thread.post([] { throw std::runtime_error("from a callback"); });
  thread.post([&] { done.set_value(); });
  EXPECT_EQ(done.get_future().wait_for(5s), std::future_status::ready);
}

TEST(TaskThread, CloseWithoutTasksReturnsAtOnce) {
  TaskThread thread;
  EXPECT_TRUE(thread.close(0ms));
  EXPECT_FALSE(thread.onThread());
}

}  // namespace
}  // namespace kavrin::conference
