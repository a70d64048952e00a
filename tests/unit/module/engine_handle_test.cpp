#include "module/engine_handle.h"

#include "tests/unit/module/module_fixture.h"

namespace kavrin {
namespace {

constexpr const char* kFunctions[] = {"createConfEngine",
                                      "destroyConfEngine",
                                      "execFun",
                                      "execJsonParamFun",
                                      "execJsonParamFunWithCallback",
                                      "loadNodeEvents",
                                      "on",
                                      "off"};

using Texts = std::vector<std::string>;

Texts definedNames(napi_value exports) {
  Texts names;
  for (const auto& property : exports->properties) names.push_back(property.key);
  return names;
}

TEST(ModuleEntry, AsksForNodeApiVersionEight) {
  EXPECT_EQ(node_api_module_get_api_version_v1(), 8);
}

TEST(ModuleEntry, DefinesTheEightFunctionsInOrderAndReturnsTheExports) {
  fake::ScriptEnvironment env;
  napi_value exports = env.object();
  EXPECT_EQ(napi_register_module_v1(&env, exports), exports);
  EXPECT_EQ(definedNames(exports), Texts(std::begin(kFunctions), std::end(kFunctions)));
}

TEST(ModuleEntry, AFunctionThatCannotBeDefinedIsLeftOutSilently) {
  for (const char* function : {"napi_create_function", "napi_set_named_property"}) {
    for (int nth = 1; nth <= 8; ++nth) {
      fake::ScriptEnvironment env;
      env.faults.fail(function, nth);
      napi_value exports = env.object();
      napi_register_module_v1(&env, exports);
      Texts expected(std::begin(kFunctions), std::end(kFunctions));
      expected.erase(expected.begin() + nth - 1);
      EXPECT_EQ(definedNames(exports), expected);
      EXPECT_EQ(env.takeException(), "");
    }
  }
}

TEST(ModuleEntry, WithoutItsInstanceDataTheModuleDefinesNothing) {
  fake::ScriptEnvironment env;
  env.faults.fail("napi_set_instance_data");
  napi_value exports = env.object();
  EXPECT_EQ(napi_register_module_v1(&env, exports), exports);
  EXPECT_EQ(fake::show(exports), "{}");
}

class EngineHandleTest : public ModuleTest {};

TEST_F(EngineHandleTest, AHandleIsAPlainObjectWithAnExternalWithoutFinalizer) {
  napi_value handle = create();
  EXPECT_EQ(fake::show(handle), R"({"__engine":<external>})");
  EXPECT_FALSE(handle->find("__engine")->value->hasFinalizer);
  EXPECT_NE(handle->find("__engine")->value->external, nullptr);
}

TEST_F(EngineHandleTest, HandlesAreIndependent) {
  napi_value first = create();
  napi_value second = create();
  EXPECT_NE(first->find("__engine")->value->external, second->find("__engine")->value->external);
  Texts answers;
  EXPECT_EQ(init(first, answers), "0");
  EXPECT_EQ(json(first, "LeaveRoom", ""), "0");
  EXPECT_EQ(json(second, "LeaveRoom", ""), "-1");
  EXPECT_EQ(outcome("destroyConfEngine", {first}), "undefined");
  EXPECT_EQ(outcome("loadNodeEvents", {second}), "[]");
}

TEST_F(EngineHandleTest, AnyObjectWithTheExternalServes) {
  napi_value handle = create();
  napi_value other = env.object();
  other->set("__engine", handle->find("__engine")->value);
  EXPECT_EQ(outcome("loadNodeEvents", {other}), "[]");
}

TEST_F(EngineHandleTest, AnExternalThatCannotBeCreatedIsThrown) {
  env.faults.fail("napi_create_external");
  EXPECT_EQ(outcome("createConfEngine", {}), "throws Error: Failed to create the external");
  EXPECT_EQ(outcome("loadNodeEvents", {create()}), "[]");
}

TEST_F(EngineHandleTest, APropertyThatCannotBeSetIsThrown) {
  env.faults.fail("napi_set_named_property");
  EXPECT_EQ(outcome("createConfEngine", {}), "throws Error: Failed to set the engine");
  env.faults.fail("napi_create_object");
  EXPECT_EQ(outcome("createConfEngine", {}), "throws Error: Failed to set the engine");
}

TEST_F(EngineHandleTest, TheModulesDataThatCannotBeReadIsAnErrorAndNoCrash) {
  const std::string refused = "throws Error: The module's data cannot be read";
  napi_value handle = create();
  env.faults.fail("napi_get_instance_data");
  EXPECT_EQ(outcome("createConfEngine", {}), refused);
  for (const char* function : {"loadNodeEvents", "destroyConfEngine"}) {
    env.faults.fail("napi_get_instance_data");
    EXPECT_EQ(outcome(function, {handle}), refused);
  }
  env.faults.fail("napi_get_instance_data", 2);
  EXPECT_EQ(outcome("destroyConfEngine", {handle}), refused);
  EXPECT_EQ(outcome("loadNodeEvents", {handle}), "[]");
}

TEST_F(EngineHandleTest, AHandleMadeWhileAnotherIsMadeIsItsOwn) {
  napi_value inner = nullptr;
  env.beforePropertySet = [&](const std::string&) { inner = create(); };
  napi_value outer = create();
  env.beforePropertySet = nullptr;
  ASSERT_NE(inner, nullptr);
  EXPECT_NE(inner->find("__engine")->value->external, outer->find("__engine")->value->external);
  EXPECT_EQ(outcome("destroyConfEngine", {inner}), "undefined");
  EXPECT_EQ(outcome("loadNodeEvents", {outer}), "[]");
  EXPECT_EQ(outcome("loadNodeEvents", {inner}), kNoHandle);
}

TEST_F(EngineHandleTest, DestroyNeedsAHandle) {
  EXPECT_EQ(outcome("destroyConfEngine", {}), "throws TypeError: Wrong number of arguments");
  EXPECT_EQ(outcome("destroyConfEngine", {env.object()}), kNoHandle);
  napi_value handle = create();
  EXPECT_EQ(outcome("destroyConfEngine", {handle, env.object()}), "undefined");
  EXPECT_EQ(fake::show(handle), R"({"__engine":<external>})");  // the property stays
  EXPECT_EQ(outcome("destroyConfEngine", {handle}), kNoHandle);
}

TEST_F(EngineHandleTest, DestroyEndsTheEngine) {
  Texts answers;
  napi_value handle = create();
  init(handle, answers);
  EXPECT_TRUE(env.runLoopUntil([&] { return !answers.empty(); }));
  testing::steer("{\"command\":\"clearCalls\"}");
  EXPECT_EQ(outcome("destroyConfEngine", {handle}), "undefined");
  EXPECT_EQ(testing::engineCalls(), (Texts{"UnInit[]", "DestroyConfEngine[]"}));
}

TEST_F(EngineHandleTest, DestroyingAnEngineThatThrowsEndsNoProcess) {
  Texts answers;
  napi_value handle = create();
  init(handle, answers);
  testing::setThrow("UnInit", "no end");
  EXPECT_EQ(outcome("destroyConfEngine", {handle}), "undefined");
  EXPECT_EQ(testing::liveEngines(), 0);
}

// Everything that is no live handle, with the outcome of on() and off(), which pass over ended
// ones.
struct BadHandle {
  const char* what;
  std::function<napi_value()> make;
  bool ended;
};

TEST_F(EngineHandleTest, WhatIsNoLiveHandleIsRefusedByEveryFunction) {
  const auto withExternal = [this](void* pointer) {
    napi_value object = env.object();
    object->set("__engine", env.external(pointer));
    return object;
  };
  const auto forged = [&](std::uintptr_t value) {
    return withExternal(reinterpret_cast<void*>(value));
  };
  int local = 0;
  napi_value destroyed = create();
  call("destroyConfEngine", {destroyed});
  const auto number =
      reinterpret_cast<std::uintptr_t>(destroyed->find("__engine")->value->external);
  const BadHandle rows[] = {
      {"undefined", [&] { return env.undefined(); }, false},
      {"null", [&] { return env.null(); }, false},
      {"number", [&] { return env.number(1); }, false},
      {"text", [&] { return env.string("x"); }, false},
      {"function", [&] { return env.function({}); }, false},
      {"empty object", [&] { return env.object(); }, false},
      {"array", [&] { return env.array(); }, false},
      {"a number as the engine",
       [&] {
         napi_value object = env.object();
         object->set("__engine", env.number(1));
         return object;
       },
       false},
      {"an external itself", [&] { return env.external(&local); }, false},
      {"somebody else's external", [&] { return withExternal(&local); }, false},
      {"the future", [&] { return forged(number + 1000); }, false},
      {"the next handle", [&] { return forged(number + 1); }, false},
      {"the one before the first", [&] { return forged(number - 1); }, number == 1},
      {"the largest number", [&] { return forged(~std::uintptr_t{0}); }, false},
      {"no pointer", [&] { return withExternal(nullptr); }, true},
      {"a destroyed one", [&] { return destroyed; }, true},
      {"a forged destroyed one", [&] { return forged(number); }, true},
      {"a getter that throws",
       [&] {
         napi_value object = env.object();
         env.defineGetter(object, "__engine", [&] { return env.throwError("mine"); });
         return object;
       },
       false},
  };
  for (const BadHandle& row : rows) {
    SCOPED_TRACE(row.what);
    const auto handle = [&] { return row.make(); };
    const std::string silent = row.ended ? "undefined" : kNoHandle;
    EXPECT_EQ(outcome("destroyConfEngine", {handle()}), kNoHandle);
    EXPECT_EQ(exec(handle(), "GetRoomInfo", env.array()), kNoHandle);
    EXPECT_EQ(json(handle(), "LeaveRoom", ""), kNoHandle);
    EXPECT_EQ(outcome("execJsonParamFunWithCallback",
                      {handle(), text("Init"), text("{}"), env.function({})}),
              kNoHandle);
    EXPECT_EQ(outcome("loadNodeEvents", {handle()}), kNoHandle);
    EXPECT_EQ(outcome("on", {handle(), text("e"), env.function({}), env.object()}), silent);
    EXPECT_EQ(outcome("off", {handle(), text("e")}), silent);
  }
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
}

TEST_F(EngineHandleTest, HandlesOfOtherEnvironmentsAreNotTakenForOnesOwn) {
  fake::ScriptEnvironment other;
  napi_value otherExports = other.object();
  napi_register_module_v1(&other, otherExports);
  napi_value foreign = other.call(otherExports->find("createConfEngine")->value).value;
  // The same number lives in the other environment only.
  EXPECT_EQ(outcome("loadNodeEvents", {foreign}), kNoHandle);
}

TEST_F(EngineHandleTest, AHandleMayBeDestroyedInsideItsOwnCall) {
  Texts answers;
  napi_value handle = create();
  init(handle, answers);
  napi_value arguments = env.array({nullptr});
  env.defineGetter(arguments, "0", [&]() -> napi_value {
    call("destroyConfEngine", {handle});
    return env.string("me");
  });
  testing::setOutput("GetRoomInfo", R"({"users":[]})");
  EXPECT_EQ(exec(handle, "GetAttendeeInfo", arguments), "-1");
  EXPECT_EQ(testing::liveEngines(), 0);
  EXPECT_EQ(outcome("loadNodeEvents", {handle}), kNoHandle);
}

TEST_F(EngineHandleTest, AGetterMayDestroyTheHandleThatIsBeingResolved) {
  napi_value handle = create();
  napi_value external = handle->find("__engine")->value;
  napi_value tricky = env.object();
  env.defineGetter(tricky, "__engine", [&] {
    call("destroyConfEngine", {handle});
    return external;
  });
  EXPECT_EQ(outcome("loadNodeEvents", {tricky}), kNoHandle);
}

TEST_F(EngineHandleTest, LiveHandlesEndWithTheirEnvironment) {
  Texts answers;
  napi_value handle = create();
  create();
  init(handle, answers);
  call("on", {handle, text("onBufferOverflow"), env.function({}), env.object()});
  exec(handle, "BindingVideoFrame", env.array({text("ann"), env.number(0), env.buffer({1})}));
  testing::steer("{\"command\":\"clearCalls\"}");
  env.close();
  EXPECT_EQ(testing::engineCalls(), (Texts{"UnInit[]", "DestroyConfEngine[]"}));
  EXPECT_EQ(env.heldReferences(), 0);
}

TEST_F(EngineHandleTest, LateAnswersOfADestroyedEngineAreDropped) {
  Texts answers;
  napi_value handle = create();
  testing::setPlan("Init", "hold");
  init(handle, answers);
  call("destroyConfEngine", {handle});
  const auto held = testing::steer("{\"command\":\"completions\"}");
  ASSERT_EQ(held["value"].Size(), 1u);
  testing::steer(R"({"command":"complete","code":0,"threads":2,"id":)" +
                 std::to_string(held["value"][0]["id"].GetInt()) + "}");
  env.runLoop();
  EXPECT_TRUE(answers.empty());
}

}  // namespace
}  // namespace kavrin
