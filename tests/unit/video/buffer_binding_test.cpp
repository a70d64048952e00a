// Script's buffers, and pictures of many threads.
#include <atomic>
#include <chrono>
#include <thread>

#include "tests/unit/video/frame_store_fixture.h"

namespace kavrin {
namespace {

// --- Binding
// ---------------------------------------------------------------------------------------

TEST_F(FrameStoreTest, OnlyBuffersAreBound) {
  napi_value values[] = {env.object(), env.number(1), env.undefined(), env.string("x"), nullptr};
  for (napi_value value : values) {
    EXPECT_FALSE(store->bind(&env, value, "ann", 0));
    EXPECT_EQ(env.takeException(), "TypeError: Argument must be a Buffer");
  }
  EXPECT_EQ(env.heldReferences(), 0);
}

TEST_F(FrameStoreTest, BindingFailsWithNodeApi) {
  env.faults.fail("napi_is_buffer");
  EXPECT_FALSE(store->bind(&env, env.buffer({1}), "ann", 0));
  EXPECT_EQ(env.takeException(), "TypeError: Argument must be a Buffer");
  for (const char* function : {"napi_get_buffer_info", "napi_create_reference"}) {
    env.faults.fail(function);
    EXPECT_FALSE(store->bind(&env, env.buffer({1}), "ann", 0)) << function;
    EXPECT_EQ(env.heldReferences(), 0) << function;
    EXPECT_EQ(get("ann", 0), R"({"ret":-1,"width":0,"height":0})") << function;
  }
}

TEST_F(FrameStoreTest, ABufferIsHeldUntilItIsReplacedOrUnbound) {
  bind("ann", 0, 24);
  napi_value second = bind("ann", 0, 24);
  EXPECT_EQ(env.heldReferences(), 1);
  store->announce("ann", 0);
  deliver("ann", 0, 4, 4, 3);
  get("ann", 0);
  EXPECT_EQ(second->bytes[0], 3);
  store->unbind(&env, "ann", 0);
  EXPECT_EQ(env.heldReferences(), 0);
  EXPECT_EQ(get("ann", 0), R"({"ret":-1,"width":0,"height":0})");
  store->unbind(&env, "ann", 0);
  store->unbind(&env, "nobody", 7);
}

TEST_F(FrameStoreTest, AFailedBindingKeepsTheOldBuffer) {
  bind("ann", 0, 24);
  EXPECT_FALSE(store->bind(&env, env.object(), "ann", 0));
  env.takeException();
  store->announce("ann", 0);
  deliver("ann", 0, 4, 4);
  EXPECT_EQ(get("ann", 0), R"({"ret":0,"width":4,"height":4})");
}

TEST_F(FrameStoreTest, TheEndOfTheStoreGivesItsBuffersBack) {
  bind("ann", 0, 24);
  bind("bob", 2, 24);
  store.reset();
  EXPECT_EQ(env.heldReferences(), 0);
}

TEST_F(FrameStoreTest, ADetachedBufferHasNoData) {
  store->announce("ann", 0);
  napi_value buffer = bind("ann", 0, 24);
  deliver("ann", 0, 4, 4);
  notes.take();
  buffer->detached = true;
  EXPECT_EQ(get("ann", 0), R"({"ret":-4,"width":0,"height":0})");
  EXPECT_TRUE(notes.take().empty());
  buffer->detached = false;
  EXPECT_EQ(get("ann", 0), R"({"ret":0,"width":4,"height":4})");  // it stayed fresh
}

TEST_F(FrameStoreTest, ADetachedBufferThatWasTooSmallStaysTooSmall) {
  store->announce("ann", 0);
  bind("ann", 0, 10)->detached = true;
  deliver("ann", 0, 4, 4);
  EXPECT_EQ(get("ann", 0), R"({"ret":-3,"width":4,"height":4})");
}

TEST_F(FrameStoreTest, AResizedBufferIsMeasuredAnew) {
  store->announce("ann", 0);
  napi_value buffer = bind("ann", 0, 24);
  deliver("ann", 0, 4, 4, 1);
  notes.take();
  buffer->bytes = Bytes(10);  // other memory, too
  EXPECT_EQ(get("ann", 0), R"({"ret":-3,"width":4,"height":4})");
  EXPECT_EQ(notes.take(), Texts{R"(overflow {"needSize":24,"curSize":10,"width":4,"height":4,)"
                                R"("uid":"ann","type":0})"});
  buffer->bytes = Bytes(100);
  EXPECT_EQ(get("ann", 0), R"({"ret":0,"width":4,"height":4})");
  EXPECT_EQ(buffer->bytes[23], 24);
}

TEST_F(FrameStoreTest, ABufferThatCannotBeAskedForHasNoData) {
  store->announce("ann", 0);
  bind("ann", 0, 24);
  deliver("ann", 0, 4, 4);
  for (const char* function : {"napi_get_reference_value", "napi_get_buffer_info"}) {
    env.faults.fail(function);
    EXPECT_EQ(get("ann", 0), R"({"ret":-4,"width":0,"height":0})") << function;
  }
  EXPECT_EQ(get("ann", 0), R"({"ret":0,"width":4,"height":4})");
}

TEST_F(FrameStoreTest, AnEmptyBufferIsTooSmall) {
  store->announce("ann", 0);
  bind("ann", 0, 0);
  deliver("ann", 0, 4, 4);
  EXPECT_EQ(get("ann", 0), R"({"ret":-3,"width":4,"height":4})");
}

// --- Threads
// ---------------------------------------------------------------------------------------

TEST_F(FrameStoreTest, PicturesOfManyThreadsArriveWhole) {
  constexpr int kThreads = 3;
  constexpr int kSide = 16;
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  store->announce("ann", 0);
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      const Bytes bytes(kSide * kSide * 3 / 2, static_cast<unsigned char>(t));
      while (!stop) {
        store->deliver("ann", 0, {kSide, kSide, 0, bytes.data()});
        store->deliver("ann", 2, {kSide, kSide, 0, bytes.data()});
      }
    });
  }
  threads.emplace_back([&] {
    while (!stop) {
      store->announce("ann", 2);
      store->setExemptUser("bob");
      store->withdraw("ann", 2);
      store->removeMember("carl");
    }
  });
  int copied = 0;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  for (int i = 0; copied < 300 && std::chrono::steady_clock::now() < deadline; ++i) {
    napi_value buffer = i % 50 == 0 ? bind("ann", 0, kSide * kSide * 3 / 2) : nullptr;
    if (buffer == nullptr) {
      copied += store->get({"ann", 0}, false).ret == Store::kCopied ? 1 : 0;
      continue;
    }
    if (store->get({"ann", 0}, true).ret != Store::kCopied) continue;
    ++copied;
    EXPECT_EQ(buffer->bytes, Bytes(buffer->bytes.size(), buffer->bytes[0]));  // of one thread
    if (i % 100 == 0) store->unbind(&env, "ann", 0);
  }
  stop = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_GE(copied, 300);
}

}  // namespace
}  // namespace kavrin
