// The lifetime rules of the callback registry, by their numbers in event_emitter.h.
#include <atomic>
#include <thread>

#include "tests/unit/events/event_emitter_fixture.h"

namespace kavrin {
namespace {

// Posts from some threads; whoever joins or destroys it waits for the last post. The number is
// bounded: posts without end would keep the loop that delivers them busy for ever.
class Posters {
 public:
  Posters(int threads, int postsPerThread, std::function<void()> post) {
    for (int i = 0; i < threads; ++i) {
      threads_.emplace_back([this, postsPerThread, post] {
        for (int n = 0; n < postsPerThread; ++n) {
          post();
          ++posts_;
          std::this_thread::yield();
        }
      });
    }
  }
  ~Posters() { join(); }

  void join() {
    for (std::thread& thread : threads_) thread.join();
    threads_.clear();
  }
  int posts() const { return posts_; }

 private:
  std::atomic<int> posts_{0};
  std::vector<std::thread> threads_;
};

// Rules 1 and 2: misuse of a function, and script functions off the script thread, fail the test.
TEST_F(EventEmitterTest, PostsRaceWithOnAndOff) {
  const napi_value callback = env.recorder(calls);
  constexpr int kPosts = 3 * 500;
  Posters posters(3, kPosts / 3, [this] { emitter->emit("e", R"({"n":1})"); });
  for (int round = 0; round < 200 || posters.posts() < kPosts; ++round) {
    on("e", callback);
    if (round % 3 == 0) env.runLoop();
    if (round % 5 == 0) on("e", callback);
    off("e");
  }
  posters.join();
  env.runLoop();
  EXPECT_EQ(posters.posts(), kPosts);
}

TEST_F(EventEmitterTest, CompletionsAreAnsweredAndUnregisteredOnOtherThreads) {
  constexpr int kCompletions = 200;
  std::vector<std::thread> threads;
  std::vector<std::string> keys;
  for (int i = 0; i < kCompletions; ++i) keys.push_back(registerCompletion("Init"));
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = t; i < kCompletions; i += 4) {
        emitter->emitApiCallback(keys[i], i);
        emitter->unregister(keys[i]);
      }
    });
  }
  EXPECT_TRUE(env.runLoopUntil([&] { return calls.size() == kCompletions; }));
  for (std::thread& thread : threads) thread.join();
  env.runLoop();
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
  std::vector<int> codes;
  for (const std::string& call : calls) codes.push_back(std::stoi(call));
  std::sort(codes.begin(), codes.end());
  for (int i = 0; i < kCompletions; ++i) EXPECT_EQ(codes[static_cast<std::size_t>(i)], i);
}

// Rule 3.
TEST_F(EventEmitterTest, EveryFunctionIsReleasedExactlyOnce) {
  on("a", env.recorder(calls));
  on("b", env.recorder(calls));
  on("b", env.recorder(calls));
  registerCompletion("c");
  const std::string d = registerCompletion("d");
  emitter->unregister(d);
  off("a");
  emitter->releaseAll();
  emitter->releaseAll();
  emitter.reset();
  EXPECT_EQ(env.faults.calls("napi_release_threadsafe_function"), 5);
  env.runLoop();
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
  EXPECT_EQ(env.heldReferences(), 0);
}

// Rule 4.
TEST_F(EventEmitterTest, MessagesOutliveTheirRegistry) {
  on("e", env.recorder(calls));
  emitter->emit("e", "1");
  emitter.reset();
  EXPECT_EQ(env.runLoop(), 1);
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
}

// Rule 5.
TEST_F(EventEmitterTest, MessagesOfAListenerAreDroppedAfterOff) {
  on("e", env.recorder(calls));
  emitter->emit("e", "1");
  off("e");
  EXPECT_EQ(env.runLoop(), 1);
  EXPECT_TRUE(calls.empty());
  EXPECT_TRUE(log.take().empty());
}

TEST_F(EventEmitterTest, MessagesOfAListenerAreDroppedAfterItsReplacement) {
  std::vector<std::string> first;
  on("e", env.recorder(first));
  emitter->emit("e", "1");
  on("e", env.recorder(calls));
  emitter->emit("e", "2");
  env.runLoop();
  EXPECT_TRUE(first.empty());
  EXPECT_EQ(calls, Texts{"2, {}"});
}

TEST_F(EventEmitterTest, MessagesOfCompletionsSurviveUnregisteringAndReleaseAll) {
  const std::string first = registerCompletion("a");
  const std::string second = registerCompletion("b");
  emitter->emitApiCallback(first, 1);
  emitter->unregister(first);
  emitter->emitApiCallback(second, 2);
  on("listener", env.recorder(calls));
  emitter->emit("listener", "3");
  emitter->releaseAll();
  env.runLoop();
  EXPECT_EQ(calls, (Texts{"1", "2"}));
}

TEST_F(EventEmitterTest, AListenerMayRemoveItselfInsideItsCall) {
  on("e", env.function([&](napi_value, const auto&) -> napi_value {
    calls.push_back("called");
    off("e");
    return nullptr;
  }));
  emitter->emit("e", "1");
  emitter->emit("e", "2");
  env.runLoop();
  EXPECT_EQ(calls, Texts{"called"});
}

TEST_F(EventEmitterTest, AListenerMayBeRemovedWhileItsPayloadIsParsed) {
  napi_value json = env.object();
  json->set("parse", env.function([&](napi_value, const auto&) -> napi_value {
    off("e");
    return nullptr;
  }));
  env.global()->set("JSON", json);
  on("e", env.recorder(calls));
  emitter->emit("e", "1");
  env.runLoop();
  EXPECT_TRUE(calls.empty());
  EXPECT_TRUE(log.take().empty());
}

TEST_F(EventEmitterTest, AListenerMayRegisterOthersInsideItsCall) {
  on("e", env.function([&](napi_value, const auto&) -> napi_value {
    for (int i = 0; i < 20; ++i) on("other" + std::to_string(i), env.recorder(calls));
    emitter->emit("other19", "7");
    return nullptr;
  }));
  emitter->emit("e", "1");
  env.runLoop();
  EXPECT_EQ(calls, Texts{"7, {}"});
}

// Rule 6.
TEST_F(EventEmitterTest, NothingIsDeliveredAfterTheRegistrysEnd) {
  const std::string key = registerCompletion("Init");
  emitter->emitApiCallback(key, 1);
  emitter.reset();
  EXPECT_EQ(env.runLoop(), 1);
  EXPECT_TRUE(calls.empty());
}

TEST_F(EventEmitterTest, TheRegistryMayEndInsideADelivery) {
  const std::string key =
      emitter->registerApiCallback(&env, env.function([&](napi_value, const auto&) -> napi_value {
        emitter.reset();
        return env.throwError("after the end");
      }),
                                   "Init");
  on("listener", env.recorder(calls));
  emitter->emitApiCallback(key, 1);
  emitter->emitApiCallback(key, 2);
  emitter->emit("listener", "1");
  env.runLoop();
  EXPECT_EQ(env.uncaught, Texts{"Error: after the end"});
  EXPECT_TRUE(calls.empty());
  EXPECT_TRUE(log.take().empty());  // the registry's log is not used after its end
}

// Rule 7.
TEST_F(EventEmitterTest, AReplacedListenerKeepsTheEnvironmentAliveUntilReleaseAll) {
  on("e", env.recorder(calls));
  on("e", env.recorder(calls));
  off("e");
  env.runLoop();
  EXPECT_EQ(env.openThreadsafeFunctions(), 1);
  EXPECT_EQ(env.heldReferences(), 1);
  emitter->releaseAll();
  env.runLoop();
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
  EXPECT_EQ(env.heldReferences(), 0);
}

TEST_F(EventEmitterTest, AListenerRegisteredOverACompletionIsReleasedWithIt) {
  const std::string key = registerCompletion("Init");
  on(key, env.recorder(calls));
  emitter->unregister(key);  // the engine's answer takes away what is registered by then
  env.runLoop();
  EXPECT_EQ(env.openThreadsafeFunctions(), 1);
  EXPECT_EQ(env.heldReferences(), 1);  // given back on the script thread
  emitter->releaseAll();
  env.runLoop();
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
  EXPECT_EQ(env.heldReferences(), 0);
}

TEST_F(EventEmitterTest, UnregisteringAListenerOnAnotherThreadTouchesNoScriptState) {
  on("e", env.recorder(calls));
  std::thread([&] { emitter->unregister("e"); }).join();
  EXPECT_EQ(env.heldReferences(), 1);
  emitter.reset();
  EXPECT_EQ(env.heldReferences(), 0);
}

// Rule 8: the environment notes every use of a function that it has freed.
TEST_F(EventEmitterTest, TheRegistryEndsBeforeTheFunctionsOfItsEnvironment) {
  on("e", env.recorder(calls));
  on("e", env.recorder(calls));
  registerCompletion("Init");
  emitter->emit("e", "1");
  env.close();
  EXPECT_EQ(emitter, nullptr);
  EXPECT_TRUE(calls.empty());
}

TEST_F(EventEmitterTest, FunctionsMadeAfterOthersAreStillReleasedInTime) {
  on("a", env.recorder(calls));
  env.runLoop();
  off("a");
  on("b", env.recorder(calls));
  registerCompletion("c");
  env.close();
  EXPECT_EQ(emitter, nullptr);
}

TEST_F(EventEmitterTest, PostsRaceWithTheEndOfTheEnvironment) {
  on("e", env.recorder(calls));
  // Other threads are shut out by the registry's owner; here they stop before its end.
  auto posters = std::make_unique<Posters>(2, 500, [this] { emitter->emit("e", "1"); });
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  posters.reset();
  env.close();
  EXPECT_TRUE(calls.empty());
}

// Rule 9: the sanitizers see the messages that are not freed.
TEST_F(EventEmitterTest, MessagesAreFreedWithoutAnEnvironment) {
  on("e", env.recorder(calls));
  const std::string key = registerCompletion("Init");
  for (int i = 0; i < 10; ++i) emitter->emit("e", std::string(100, ' ') + "1");
  emitter->emitApiCallback(key, 1, std::string(100, 'x'));
  env.close();
  EXPECT_TRUE(calls.empty());
}

TEST(EnvironmentHookTest, RunsOnceAndIsRemovedWhenItsOwnerEndsFirst) {
  fake::ScriptEnvironment env;
  int runs = 0;
  {
    EnvironmentHook removed(&env, [&] { ++runs; });
    EXPECT_EQ(env.hooks.size(), 1u);
    removed.rearm();
    EXPECT_EQ(env.hooks.size(), 1u);
  }
  EXPECT_TRUE(env.hooks.empty());
  EnvironmentHook hook(&env, [&] { ++runs; });
  env.close();
  EXPECT_EQ(runs, 1);
  hook.rearm();  // too late: nothing happens
  EXPECT_TRUE(env.hooks.empty());
}

}  // namespace
}  // namespace kavrin
