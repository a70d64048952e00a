// The callback registry, function by function.
#include "events/event_emitter.h"

#include <algorithm>

#include "tests/unit/events/event_emitter_fixture.h"
#include "tests/unit/support/pattern.h"

namespace kavrin {
namespace {

TEST_F(EventEmitterTest, NamesAreHashedWithFnv1a) {
  EXPECT_EQ(NameHash()(""), 14695981039346656037ULL);
  EXPECT_EQ(NameHash()("a"), 0xaf63dc4c8601ec8cULL);
  EXPECT_EQ(NameHash()("foobar"), 0x85944171f73967e8ULL);
}

// --- Listeners
// -------------------------------------------------------------------------------------

TEST_F(EventEmitterTest, AListenerGetsTheParsedPayloadAndItsContext) {
  EXPECT_EQ(on("size", env.recorder(calls), env.array({env.number(5)})), "");
  emitter->emit("size", R"({"width":4,"list":[1,"x"]})");
  EXPECT_TRUE(calls.empty());  // nothing is called before the loop runs
  EXPECT_EQ(env.runLoop(), 1);
  EXPECT_EQ(calls, Texts{R"({"width":4,"list":[1,"x"]}, [5])"});
  EXPECT_TRUE(log.take().empty());
}

TEST_F(EventEmitterTest, AnEmptyPayloadIsUndefined) {
  on("e", env.recorder(calls));
  emitter->emit("e", "");
  env.runLoop();
  EXPECT_EQ(calls, Texts{"undefined, {}"});
}

TEST_F(EventEmitterTest, AnyValueMayBeAContext) {
  napi_value contexts[] = {env.undefined(),       env.null(),        env.number(1.5),
                           env.string("text"),    env.boolean(true), env.make(napi_symbol),
                           env.make(napi_bigint), env.object(),      env.function({})};
  for (napi_value context : contexts) {
    const napi_value callback =
        env.function([&](napi_value, const std::vector<napi_value>& arguments) -> napi_value {
          calls.push_back(arguments.at(1) == context ? "same" : "other");
          return nullptr;
        });
    EXPECT_EQ(on("e", callback, context), "") << fake::show(context);
    emitter->emit("e", "1");
    env.runLoop();
    EXPECT_EQ(calls, Texts{"same"}) << fake::show(context);
    calls.clear();
    off("e");
  }
}

TEST_F(EventEmitterTest, TheReceiverIsTheGlobalObject) {
  napi_value receiver = nullptr;
  on("e", env.function([&](napi_value self, const auto&) -> napi_value {
    receiver = self;
    return nullptr;
  }));
  emitter->emit("e", "1");
  env.runLoop();
  EXPECT_EQ(receiver, env.global());
}

TEST_F(EventEmitterTest, PostsAreDeliveredInTheirOrder) {
  on("e", env.recorder(calls));
  for (int i = 0; i < 4; ++i) emitter->emit("e", std::to_string(i));
  env.runLoop();
  EXPECT_EQ(calls, (Texts{"0, {}", "1, {}", "2, {}", "3, {}"}));
}

TEST_F(EventEmitterTest, NamesMayBeAnyText) {
  const std::string name = "\xE4\xB8\xAD %s _";
  on(name, env.recorder(calls));
  emitter->emit(name, "1");
  env.runLoop();
  EXPECT_EQ(calls.size(), 1u);
  EXPECT_EQ(off(name), "");
}

TEST_F(EventEmitterTest, PostsToUnknownNamesAreLoggedAndDropped) {
  emitter->emit("nobody", "1");
  emitter->emitApiCallback("nobody", 5);
  EXPECT_EQ(log.take(), (Texts{"I Emit event: not find event: nobody",
                               "I EmitApiCallback: not find event: nobody"}));
  EXPECT_EQ(env.runLoop(), 0);
}

TEST_F(EventEmitterTest, RefusedPostsAreLogged) {
  on("listener", env.recorder(calls));
  const std::string key = registerCompletion("completion");
  env.faults.failAlways("napi_call_threadsafe_function", napi_queue_full);
  emitter->emit("listener", "1");
  emitter->emitApiCallback(key, 5);
  EXPECT_EQ(log.take(), (Texts{"E Failed to call threadsafe function for event: listener",
                               "E Failed to call threadsafe function for API event: completion"}));
  EXPECT_EQ(env.runLoop(), 0);
}

// --- on() and off(): arguments
// ---------------------------------------------------------------------

TEST_F(EventEmitterTest, OnRefusesBadArguments) {
  const napi_value two[] = {env.string("e"), env.recorder(calls)};
  emitter->on(&env, 2, two);
  EXPECT_EQ(env.takeException(), "Error: Invalid arguments to on()");
  EXPECT_EQ(log.take(), Texts{"E Invalid arguments to on()"});
  EXPECT_EQ(on("", env.recorder(calls)), "Error: Invalid event name");
  const napi_value number[] = {env.number(1), env.recorder(calls), env.object()};
  emitter->on(&env, 3, number);
  EXPECT_EQ(env.takeException(), "Error: Invalid event name");
  const napi_value hidden[] = {env.string({"\0x", 2}), env.recorder(calls), env.object()};
  emitter->on(&env, 3, hidden);
  EXPECT_EQ(env.takeException(), "Error: Invalid event name");
  EXPECT_EQ(log.take(), Texts(3, "E Invalid event name"));
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
  EXPECT_EQ(env.heldReferences(), 0);
}

TEST_F(EventEmitterTest, OffRefusesBadArguments) {
  emitter->off(&env, 0, nullptr);
  EXPECT_EQ(env.takeException(), "Error: Invalid arguments to off()");
  EXPECT_EQ(off(""), "Error: Invalid event name");
  const napi_value object[] = {env.object()};
  emitter->off(&env, 1, object);
  EXPECT_EQ(env.takeException(), "Error: Invalid event name");
  EXPECT_EQ(log.take(), (Texts{"E Invalid arguments to off()", "E Invalid event name",
                               "E Invalid event name"}));
}

TEST_F(EventEmitterTest, AFunctionThatCannotBeCreatedIsThrownAndLeavesNothing) {
  EXPECT_EQ(on("e", env.object()), "Error: Failed to create threadsafe function");
  EXPECT_EQ(on("e", env.undefined()), "Error: Failed to create threadsafe function");
  env.faults.fail("napi_create_threadsafe_function");
  EXPECT_EQ(on("e", env.recorder(calls)), "Error: Failed to create threadsafe function");
  EXPECT_EQ(log.take(), Texts(3, "E Failed to create threadsafe function"));
  EXPECT_EQ(env.heldReferences(), 0);
  emitter->emit("e", "1");
  EXPECT_EQ(log.take(), Texts{"I Emit event: not find event: e"});
}

TEST_F(EventEmitterTest, AFunctionThatWouldOutliveItsRegistryIsNotKept) {
  env.faults.fail("napi_add_env_cleanup_hook");
  EXPECT_EQ(on("e", env.recorder(calls)), "Error: Failed to create threadsafe function");
  env.faults.fail("napi_add_env_cleanup_hook");
  EXPECT_EQ(registerCompletion("Init"), "");
  EXPECT_EQ(env.takeException(), "Error: Failed to create threadsafe function");
  env.runLoop();
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
  EXPECT_EQ(on("e", env.recorder(calls)), "");
  env.close();
  EXPECT_EQ(emitter, nullptr);
}

TEST_F(EventEmitterTest, AResourceNameThatCannotBeCreatedIsAFailedCreation) {
  env.faults.fail("napi_create_string_utf8");
  EXPECT_EQ(on("e", env.recorder(calls)), "Error: Failed to create threadsafe function");
  EXPECT_EQ(env.heldReferences(), 0);
}

TEST_F(EventEmitterTest, AContextThatCannotBeHeldIsThrownOnly) {
  for (const char* function : {"napi_create_reference", "napi_typeof"}) {
    env.faults.fail(function);
    EXPECT_EQ(on("e", env.recorder(calls)), "Error: Failed to create reference") << function;
  }
  for (const char* function : {"napi_create_array_with_length", "napi_set_element"}) {
    env.faults.fail(function);
    EXPECT_EQ(on("e", env.recorder(calls), env.number(1)), "Error: Failed to create reference")
        << function;
  }
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
}

TEST_F(EventEmitterTest, OffOfAnUnknownNameIsLoggedOnly) {
  EXPECT_EQ(off("never"), "");
  EXPECT_EQ(log.take(), Texts{"I not find event."});
}

TEST_F(EventEmitterTest, OffReleasesTheFunctionAndTheContext) {
  on("e", env.recorder(calls));
  EXPECT_EQ(env.heldReferences(), 1);
  EXPECT_EQ(off("e"), "");
  EXPECT_EQ(env.heldReferences(), 0);
  env.runLoop();
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
  EXPECT_TRUE(log.take().empty());
  emitter->emit("e", "1");
  off("e");
  EXPECT_EQ(log.take(), (Texts{"I Emit event: not find event: e", "I not find event."}));
}

// --- Completions
// -----------------------------------------------------------------------------------

TEST_F(EventEmitterTest, ACompletionIsCalledWithItsCodeAlone) {
  const std::string key = registerCompletion("Init");
  EXPECT_EQ(key, "Init");
  emitter->emitApiCallback(key, -7, "a payload that is never passed");
  emitter->emitApiCallback(key, 8);
  emitter->emitApiCallback(key, 9, "");
  emitter->unregister(key);
  EXPECT_EQ(env.runLoop(), 3);
  EXPECT_EQ(calls, (Texts{"-7", "8", "9"}));
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
}

TEST_F(EventEmitterTest, TakenNamesGetATimestamp) {
  EXPECT_EQ(registerCompletion("Init"), "Init");
  const std::string second = registerCompletion("Init");
  EXPECT_TRUE(testing::Pattern("^Init_[0-9]{13}$").isIn(second)) << second;
  const std::string third = registerCompletion("Init");
  EXPECT_NE(second, third);
  emitter->emitApiCallback(third, 3);
  emitter->emitApiCallback(second, 2);
  emitter->emitApiCallback("Init", 1);
  env.runLoop();
  EXPECT_EQ(calls.size(), 3u);
}

TEST_F(EventEmitterTest, ABurstOfRegistrationsGetsDistinctNames) {
  std::vector<std::string> keys;
  for (int i = 0; i < 2000; ++i) keys.push_back(registerCompletion("Init"));
  std::sort(keys.begin(), keys.end());
  EXPECT_EQ(std::unique(keys.begin(), keys.end()), keys.end());
}

TEST_F(EventEmitterTest, ACompletionThatCannotBeRegisteredHasNoName) {
  EXPECT_EQ(emitter->registerApiCallback(&env, env.number(1), "Init"), "");
  EXPECT_EQ(env.takeException(), "Error: Failed to create threadsafe function");
  EXPECT_EQ(log.take(), Texts{"E Failed to create threadsafe function"});
  EXPECT_EQ(registerCompletion("Init"), "Init");
}

TEST_F(EventEmitterTest, UnregisteringAnUnknownNameIsLogged) {
  emitter->unregister("nobody");
  EXPECT_EQ(log.take(), Texts{"I Event not found: nobody"});
}

TEST_F(EventEmitterTest, FunctionsAreCreatedUnboundedNamedAndWithoutAFinalizer) {
  // A thousand posts without the loop running: none is refused.
  on("e", env.recorder(calls));
  for (int i = 0; i < 1000; ++i) emitter->emit("e", "1");
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(env.runLoop(), 1000);
}

// --- Deliveries that fail
// --------------------------------------------------------------------------

struct DeliveryRow {
  const char* function;
  int nth;
  const char* text;
};

TEST_F(EventEmitterTest, EachFailingCallOfADeliveryIsLoggedAndEndsIt) {
  on("e", env.recorder(calls));
  const DeliveryRow rows[] = {
      {"napi_get_global", 1, "E napi_get_global failed."},
      {"napi_create_string_utf8", 1, "E napi_create_string_utf8 failed."},
      {"napi_get_named_property", 1, "E napi_get_named_property JSON failed."},
      {"napi_get_named_property", 2, "E napi_get_named_property parse failed."},
      {"napi_call_function", 1, "E napi_call_function failed."},
      {"napi_get_reference_value", 1, "E Failed to get context_ref"},
      {"napi_typeof", 1, "E js_cb is not a function"},
      {"napi_call_function", 2, "E napi_call_function failed."},
  };
  for (const DeliveryRow& row : rows) {
    emitter->emit("e", "1");
    env.faults.fail(row.function, row.nth);
    env.runLoop();
    EXPECT_TRUE(env.faults.happened(row.function)) << row.text;
    EXPECT_EQ(log.take(), Texts{row.text});
    EXPECT_TRUE(calls.empty()) << row.text;
    env.faults.clear();
  }
  emitter->emit("e", "1");
  env.runLoop();
  EXPECT_EQ(calls.size(), 1u);  // later deliveries go on
}

TEST_F(EventEmitterTest, EachFailingCallOfACompletionIsLogged) {
  const std::string key = registerCompletion("Init");
  const DeliveryRow rows[] = {
      {"napi_get_global", 1, "E napi_get_global failed."},
      {"napi_typeof", 1, "E js_cb is not a function"},
      {"napi_create_int32", 1, "E napi_create_int32 failed."},
      {"napi_call_function", 1, "E napi_call_function failed."},
  };
  for (const DeliveryRow& row : rows) {
    emitter->emitApiCallback(key, 1);
    env.faults.fail(row.function, row.nth);
    env.runLoop();
    EXPECT_EQ(log.take(), Texts{row.text});
    EXPECT_TRUE(calls.empty()) << row.text;
    env.faults.clear();
  }
}

TEST_F(EventEmitterTest, ABoxedContextThatCannotBeReadEndsTheDelivery) {
  on("e", env.recorder(calls), env.number(1));
  emitter->emit("e", "1");
  env.faults.fail("napi_get_element");
  env.runLoop();
  EXPECT_EQ(log.take(), Texts{"E Failed to get context_ref"});
  EXPECT_TRUE(calls.empty());
}

TEST_F(EventEmitterTest, APayloadThatIsNoJsonIsLoggedAndLeftToNode) {
  on("e", env.recorder(calls));
  emitter->emit("e", "{");
  env.runLoop();
  EXPECT_EQ(log.take(), Texts{"E napi_call_function failed."});
  ASSERT_EQ(env.uncaught.size(), 1u);
  EXPECT_EQ(env.uncaught[0].substr(0, 12), "SyntaxError:");
}

TEST_F(EventEmitterTest, AnExceptionOfAListenerIsLoggedAndLeftToNode) {
  int count = 0;
  on("e", env.function([&](napi_value, const auto&) -> napi_value {
    return ++count == 1 ? env.throwError("mine") : nullptr;
  }));
  emitter->emit("e", "1");
  emitter->emit("e", "2");
  env.runLoop();
  EXPECT_EQ(log.take(), Texts{"E napi_call_function failed."});
  EXPECT_EQ(env.uncaught, Texts{"Error: mine"});
  EXPECT_EQ(count, 2);
}

TEST_F(EventEmitterTest, AReplacedJsonIsUsedAsItStands) {
  napi_value json = env.object();
  json->set("parse", env.function([&](napi_value, const auto& arguments) {
    return env.string("mine:" + arguments.at(0)->text);
  }));
  env.global()->set("JSON", json);
  on("e", env.recorder(calls));
  emitter->emit("e", "1");
  env.runLoop();
  EXPECT_EQ(calls, Texts{"\"mine:1\", {}"});
  env.global()->set("JSON", env.undefined());
  emitter->emit("e", "1");
  env.runLoop();
  EXPECT_EQ(log.take(), Texts{"E napi_get_named_property parse failed."});
}

}  // namespace
}  // namespace kavrin
