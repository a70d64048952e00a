// Registrations that run out of memory: script gets an error, and nothing stays behind that would
// keep its process from ending.
#include <new>

#include "tests/unit/events/event_emitter_fixture.h"
#include "tests/unit/support/memory_shortage.h"

namespace kavrin {
namespace {

class RegistryMemoryTest : public EventEmitterTest {
 protected:
  enum class Outcome { Untroubled, Caught, Escaped };

  // Runs `work` with allocation number `nth` of that many bytes failing.
  static Outcome fail(std::size_t bytes, int nth, const std::function<void()>& work) {
    Outcome outcome = Outcome::Caught;
    const auto attempt = [&] {
      try {
        work();
      } catch (const std::bad_alloc&) {
        outcome = Outcome::Escaped;
      }
    };
    const auto refuse = [] { throw std::bad_alloc(); };
    const bool happened = testing::meanwhileAllocating(bytes, refuse, attempt, nth);
    return happened ? outcome : Outcome::Untroubled;
  }

  // Those that would keep the environment alive once the loop has run.
  int heldFunctions() {
    env.runLoop();
    return env.openThreadsafeFunctions();
  }

  // So long that nothing else is as large as its copies.
  const std::string name = std::string(5000, 'n');
  const std::size_t bytes = name.size() + 1;
};

TEST_F(RegistryMemoryTest, ACompletionThatCouldNotBeKeptHeldItsThreadsafeFunctionForEver) {
  napi_value callback = env.recorder(calls);
  int nth = 0;
  while (fail(bytes, nth, [&] { emitter->registerApiCallback(&env, callback, name); }) ==
         Outcome::Escaped) {
    EXPECT_EQ(heldFunctions(), 0) << nth;
    ++nth;
  }
  EXPECT_GE(nth, 2);  // the name that is given back, and the one in the map
  EXPECT_EQ(heldFunctions(), 1);
}

TEST_F(RegistryMemoryTest, AListenerThatCouldNotBeKeptHeldItsThreadsafeFunctionForEver) {
  const napi_value arguments[] = {env.string(name), env.recorder(calls), env.object()};
  const int references = env.heldReferences();
  int nth = 0;
  while (fail(bytes, nth, [&] { emitter->on(&env, 3, arguments); }) == Outcome::Escaped) {
    EXPECT_EQ(heldFunctions(), 0) << nth;
    EXPECT_EQ(env.heldReferences(), references) << nth;
    ++nth;
  }
  EXPECT_GE(nth, 1);
  EXPECT_EQ(heldFunctions(), 1);
}

TEST_F(RegistryMemoryTest, AListenerThatCannotBeReplacedGoesOn) {
  Texts old;
  on("level", env.recorder(old));
  const napi_value arguments[] = {env.string("level"), env.recorder(calls), env.object()};
  const std::size_t kOneRecord = sizeof(std::shared_ptr<int>);
  int nth = 0;
  while (fail(kOneRecord, nth, [&] { emitter->on(&env, 3, arguments); }) == Outcome::Escaped) {
    emitter->emit("level", "1");
    env.runLoop();
    EXPECT_EQ(std::exchange(old, {}).size(), 1U) << nth;
    EXPECT_EQ(heldFunctions(), 1) << nth;
    ++nth;
  }
  EXPECT_GE(nth, 1);
  emitter->emit("level", "1");
  env.runLoop();
  EXPECT_EQ(old.size(), 0U);
  EXPECT_EQ(calls.size(), 1U);
}

TEST_F(RegistryMemoryTest, AFailureThatCouldNotBeLoggedEndedTheProcess) {
  on("level", env.recorder(calls));
  emitter->emit("level", "no JSON");
  const std::string logged = "napi_call_function failed.";
  EXPECT_EQ(fail(logged.size() + 1, 0, [&] { env.runLoop(); }), Outcome::Caught);
  EXPECT_EQ(std::exchange(env.uncaught, {}).size(), 1U);  // the SyntaxError of JSON.parse
  emitter->emit("level", "1");
  env.runLoop();
  EXPECT_EQ(calls.size(), 1U);
}

}  // namespace
}  // namespace kavrin
