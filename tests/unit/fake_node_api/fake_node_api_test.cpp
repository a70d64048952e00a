// The script environment of the unit tests watches what it is asked to watch.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <thread>

#include "tests/unit/fake_node_api/script_environment.h"

namespace kavrin::fake {
namespace {

using Texts = std::vector<std::string>;

std::string lastErrorMessage(napi_env env) {
  const napi_extended_error_info* info = nullptr;
  napi_get_last_error_info(env, &info);
  return info->error_message == nullptr ? "" : info->error_message;
}

TEST(FakeNodeApi, ShowsValuesInTheOrderOfTheirProperties) {
  ScriptEnvironment env;
  napi_value object = env.object();
  object->set("b", env.number(1));
  object->set("a", env.array({env.string("x"), nullptr, env.boolean(true), env.null()}));
  object->set("b", env.number(2.5));
  object->set("c", env.buffer({0, 255}));
  EXPECT_EQ(show(object), R"({"b":2.5,"a":["x",hole,true,null],"c":<Buffer 00 ff>})");
}

TEST(FakeNodeApi, FailsTheCallThatIsAskedForAndTellsNodesWords) {
  ScriptEnvironment env;
  env.faults.fail("napi_create_object", 2, napi_generic_failure);
  napi_value object = nullptr;
  EXPECT_EQ(napi_create_object(&env, &object), napi_ok);
  EXPECT_EQ(lastErrorMessage(&env), "");
  napi_value second = nullptr;
  EXPECT_EQ(napi_create_object(&env, &second), napi_generic_failure);
  EXPECT_EQ(second, nullptr);
  EXPECT_EQ(lastErrorMessage(&env), "Unknown failure");
  EXPECT_EQ(napi_create_object(&env, &second), napi_ok);
  EXPECT_TRUE(env.faults.happened("napi_create_object"));
  EXPECT_EQ(env.faults.calls("napi_create_object"), 3);
}

TEST(FakeNodeApi, RunsNoScriptWhileAnExceptionIsPending) {
  ScriptEnvironment env;
  EXPECT_EQ(napi_throw_error(&env, nullptr, "first"), napi_ok);
  EXPECT_EQ(napi_throw_type_error(&env, nullptr, "second"), napi_pending_exception);
  EXPECT_EQ(napi_set_named_property(&env, env.object(), "a", env.null()), napi_pending_exception);
  napi_value text = nullptr;
  EXPECT_EQ(napi_create_string_utf8(&env, "still works", NAPI_AUTO_LENGTH, &text), napi_ok);
  EXPECT_EQ(env.takeException(), "Error: first");
}

TEST(FakeNodeApi, ParsesJsonAsScriptDoes) {
  ScriptEnvironment env;
  napi_value parse = env.get(env.get(env.global(), "JSON"), "parse");
  const CallResult parsed = env.call(parse, {env.string(R"({"b":[1,null],"a":"x"})")});
  EXPECT_EQ(show(parsed.value), R"({"b":[1,null],"a":"x"})");
  EXPECT_EQ(env.call(parse, {env.string("{")}).thrown.substr(0, 12), "SyntaxError:");
}

TEST(FakeNodeApi, NotesCallsOffTheScriptThread) {
  ScriptEnvironment env;
  std::thread([&] {
    napi_value value = nullptr;
    napi_get_undefined(&env, &value);
  }).join();
  EXPECT_EQ(env.misuse.take(), Texts{"napi_get_undefined called off the script thread"});
}

TEST(FakeNodeApi, NotesDeletedAndLeakedReferences) {
  ScriptEnvironment env;
  napi_ref first = nullptr;
  napi_ref second = nullptr;
  napi_value value = nullptr;
  EXPECT_EQ(napi_create_reference(&env, env.number(1), 1, &first), napi_invalid_arg);
  EXPECT_EQ(napi_create_reference(&env, env.object(), 1, &first), napi_ok);
  EXPECT_EQ(napi_create_reference(&env, env.object(), 1, &second), napi_ok);
  EXPECT_EQ(env.heldReferences(), 2);
  EXPECT_EQ(napi_delete_reference(&env, first), napi_ok);
  EXPECT_EQ(napi_get_reference_value(&env, first, &value), napi_invalid_arg);
  EXPECT_EQ(napi_delete_reference(&env, first), napi_invalid_arg);
  env.close();
  EXPECT_EQ(env.misuse.take(), (Texts{"napi_get_reference_value with a reference that was deleted",
                                      "napi_delete_reference with a reference that was deleted",
                                      "leaked: a reference to {}"}));
}

TEST(FakeNodeApi, NotesHandleScopesClosedOutOfOrderOrLeftOpen) {
  ScriptEnvironment env;
  napi_handle_scope outer = nullptr;
  napi_handle_scope inner = nullptr;
  napi_open_handle_scope(&env, &outer);
  napi_open_handle_scope(&env, &inner);
  EXPECT_EQ(napi_close_handle_scope(&env, outer), napi_handle_scope_mismatch);
  EXPECT_EQ(napi_close_handle_scope(&env, inner), napi_ok);
  EXPECT_EQ(napi_close_handle_scope(&env, outer), napi_ok);
  env.call(env.function([&](napi_value, const auto&) -> napi_value {
    napi_open_handle_scope(&env, &outer);
    return nullptr;
  }));
  EXPECT_EQ(env.misuse.take(),
            (Texts{"a handle scope was closed out of order", "a handle scope was left open"}));
}

TEST(FakeNodeApi, CleanupHooksRunInReverseOrder) {
  ScriptEnvironment env;
  static Texts order;
  order.clear();
  napi_add_env_cleanup_hook(
      &env, [](void*) { order.push_back("first"); }, nullptr);
  napi_add_env_cleanup_hook(
      &env, [](void*) { order.push_back("second"); }, nullptr);
  napi_set_instance_data(
      &env, nullptr, [](napi_env, void*, void*) { order.push_back("data"); }, nullptr);
  env.close();
  EXPECT_EQ(order, (Texts{"second", "first", "data"}));
}

// Delivered texts of a thread-safe function; "no environment" for those that its end brought.
struct Received {
  Texts texts;

  static void callJs(napi_env env, napi_value, void* context, void* data) {
    const std::unique_ptr<std::string> text(static_cast<std::string*>(data));
    static_cast<Received*>(context)->texts.push_back(env == nullptr ? "no environment" : *text);
  }
  napi_threadsafe_function make(ScriptEnvironment& env, std::size_t queueLimit = 0) {
    napi_threadsafe_function function = nullptr;
    EXPECT_EQ(
        napi_create_threadsafe_function(&env, nullptr, nullptr, env.string("name"), queueLimit, 1,
                                        nullptr, nullptr, this, callJs, &function),
        napi_ok);
    return function;
  }
};

napi_status post(napi_threadsafe_function function, const char* text) {
  auto data = std::make_unique<std::string>(text);
  const napi_status status =
      napi_call_threadsafe_function(function, data.get(), napi_tsfn_nonblocking);
  if (status == napi_ok) static_cast<void>(data.release());
  return status;
}

TEST(FakeNodeApi, ThreadsafeFunctionsDeliverWhatWasPostedBeforeTheirRelease) {
  ScriptEnvironment env;
  Received received;
  napi_threadsafe_function function = received.make(env);
  std::thread([&] {
    EXPECT_EQ(post(function, "a"), napi_ok);
    EXPECT_EQ(post(function, "b"), napi_ok);
    EXPECT_EQ(napi_release_threadsafe_function(function, napi_tsfn_release), napi_ok);
  }).join();
  EXPECT_EQ(env.openThreadsafeFunctions(), 1);
  EXPECT_EQ(env.runLoop(), 2);
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
  EXPECT_EQ(received.texts, (Texts{"a", "b"}));
}

TEST(FakeNodeApi, ThreadsafeFunctionsRefuseAFullQueue) {
  ScriptEnvironment env;
  Received received;
  napi_threadsafe_function function = received.make(env, 1);
  EXPECT_EQ(post(function, "a"), napi_ok);
  EXPECT_EQ(post(function, "b"), napi_queue_full);
  napi_release_threadsafe_function(function, napi_tsfn_release);
  env.runLoop();
  EXPECT_EQ(received.texts, Texts{"a"});
}

TEST(FakeNodeApi, TheEndOfTheEnvironmentDeliversLeftoversWithoutOne) {
  ScriptEnvironment env;
  Received received;
  napi_threadsafe_function function = received.make(env);
  post(function, "a");
  napi_release_threadsafe_function(function, napi_tsfn_release);
  env.close();
  EXPECT_EQ(received.texts, Texts{"no environment"});
}

TEST(FakeNodeApi, NotesThreadsafeFunctionsUsedAfterTheirReleaseOrEndAndLeakedOnes) {
  ScriptEnvironment env;
  Received received;
  napi_threadsafe_function function = received.make(env);
  napi_threadsafe_function leaked = received.make(env);
  napi_release_threadsafe_function(function, napi_tsfn_release);
  post(function, "late");
  EXPECT_EQ(napi_release_threadsafe_function(function, napi_tsfn_release), napi_invalid_arg);
  env.runLoop();
  EXPECT_EQ(post(function, "later"), napi_closing);
  env.close();
  EXPECT_EQ(post(leaked, "last"), napi_closing);
  const std::string name = "thread-safe function \"name\" ";
  EXPECT_EQ(env.misuse.take(), (Texts{name + "called after its release", name + "released twice",
                                      name + "called after its end",
                                      name + "leaked: still held when its environment ended",
                                      name + "called after its end"}));
}

TEST(FakeNodeApi, WaitsForPostsOfOtherThreads) {
  ScriptEnvironment env;
  Received received;
  napi_threadsafe_function function = received.make(env);
  std::thread poster([&] {
    for (int i = 0; i < 100; ++i) post(function, "x");
    napi_release_threadsafe_function(function, napi_tsfn_release);
  });
  EXPECT_TRUE(env.runLoopUntil([&] { return env.openThreadsafeFunctions() == 0; }));
  poster.join();
  EXPECT_EQ(received.texts.size(), 100u);
}

TEST(FakeNodeApi, UnreportedMisuseFailsTheTest) {
  ::testing::TestPartResultArray failures;
  {
    ::testing::ScopedFakeTestPartResultReporter reporter(
        ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
    ScriptEnvironment env;
    napi_ref reference = nullptr;
    napi_create_reference(&env, env.object(), 1, &reference);
  }
  ASSERT_EQ(failures.size(), 1);
  EXPECT_NE(std::string(failures.GetTestPartResult(0).message()).find("leaked"), std::string::npos);
}

}  // namespace
}  // namespace kavrin::fake
