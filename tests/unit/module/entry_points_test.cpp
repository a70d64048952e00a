#include "module/call_entry_points.h"

#include "tests/unit/module/module_fixture.h"

namespace kavrin {
namespace {

class EntryPointsTest : public ModuleTest {
 protected:
  const std::string execTag = "ERROR kavrin::ConferenceEngineWrapper::ExecFun: ";
  const std::string pollTag = "ERROR kavrin::ConferenceEngineWrapper::LoadNodeEvents: ";
  napi_value handle = create();
};

TEST_F(EntryPointsTest, WrongCountsReturnUndefinedSilently) {
  for (const char* function : {"execFun", "execJsonParamFun", "execJsonParamFunWithCallback"}) {
    const std::size_t expected = std::string(function).size() > 20 ? 4 : 3;
    for (std::size_t count = 0; count <= 6; ++count) {
      if (count == expected) continue;
      std::vector<napi_value> arguments(count, env.string("x"));
      if (count > 0) arguments[0] = handle;
      EXPECT_EQ(outcome(function, arguments), "undefined") << function << " " << count;
    }
    env.faults.fail("napi_get_cb_info");
    EXPECT_EQ(outcome(function, std::vector<napi_value>(expected, handle)), "undefined");
  }
  EXPECT_TRUE(log.lines().empty());
}

// --- execFun
// ---------------------------------------------------------------------------------------

TEST_F(EntryPointsTest, ExecFunPassesTheElementsAndTheirCount) {
  testing::setOutput("GetSDKVersion", "\"9.8\"");
  EXPECT_EQ(exec(handle, "GetSDKVersion", env.array()), "-1");
  EXPECT_TRUE(
      log.contains("ERROR", "args count error:need args count 2,but real get args count 0"));
  EXPECT_EQ(exec(handle, "GetSDKVersion", env.array({text("folder"), text("1.0")})), "\"9.8\"");
}

TEST_F(EntryPointsTest, ANullResultIsUndefined) {
  EXPECT_EQ(exec(handle, "EnumCameraDevice", env.array()), "undefined");
  EXPECT_EQ(exec(handle, "GetAttendeeInfo", env.array()), "undefined");
}

TEST_F(EntryPointsTest, APrimitiveInPlaceOfTheArrayCannotBeRead) {
  napi_value values[] = {env.number(5), env.string("text"), env.boolean(true), env.null(),
                         env.undefined()};
  for (napi_value value : values) {
    EXPECT_EQ(exec(handle, "GetRoomInfo", value), "undefined") << fake::show(value);
    EXPECT_EQ(
        log.lines(),
        Texts{execTag + "error:execFun Wrong arguments. napi_get_element:0:Invalid argument"});
  }
}

TEST_F(EntryPointsTest, AnObjectInPlaceOfTheArrayCountsNinetyNine) {
  napi_value values[] = {env.object(), env.function({}), env.buffer({1})};
  for (napi_value value : values) {
    EXPECT_EQ(exec(handle, "GetRoomInfo", value), "undefined");
    EXPECT_TRUE(
        log.contains("ERROR", "args count error:need args count 0,but real get args count 99"));
  }
}

TEST_F(EntryPointsTest, AnElementThatCannotBeReadEndsTheCall) {
  env.faults.fail("napi_get_element", 2);
  EXPECT_EQ(exec(handle, "GetSDKVersion", env.array({text("a"), text("b")})), "undefined");
  EXPECT_EQ(log.lines(),
            Texts{execTag + "error:execFun Wrong arguments. napi_get_element:1:Unknown failure"});
}

TEST_F(EntryPointsTest, AnElementsGetterThatThrowsEndsTheCallWithItsException) {
  napi_value arguments = env.array({text("a"), nullptr});
  env.defineGetter(arguments, "1", [&] { return env.throwError("mine"); });
  EXPECT_EQ(exec(handle, "GetSDKVersion", arguments), "throws Error: mine");
  EXPECT_TRUE(
      log.contains("ERROR", "error:execFun Wrong arguments. napi_get_element:1:Unknown failure"));
}

TEST_F(EntryPointsTest, AnElementThatCannotBeConvertedEndsTheCall) {
  env.faults.fail("napi_get_value_bool");
  EXPECT_EQ(exec(handle, "GetSDKVersion", env.array({env.boolean(true), text("b")})), "undefined");
  EXPECT_EQ(log.lines().back(), execTag + "call method args is not valid");
}

TEST_F(EntryPointsTest, HolesAreUndefinedElements) {
  EXPECT_EQ(exec(handle, "GetSDKVersion", env.array({nullptr, nullptr})), "\"\"");
}

TEST_F(EntryPointsTest, AHugeSparseArrayKeepsItsCount) {
  napi_value sparse = env.array(std::vector<napi_value>(5'000'000));
  EXPECT_EQ(exec(handle, "GetRoomInfo", sparse), "undefined");
  EXPECT_TRUE(
      log.contains("ERROR", "args count error:need args count 0,but real get args count 5000000"));
}

TEST_F(EntryPointsTest, NamesThatAreNoTextsAreNotFound) {
  napi_value names[] = {env.number(1), env.object(), env.undefined(), env.null(), env.string("")};
  for (napi_value name : names) {
    EXPECT_EQ(outcome("execFun", {handle, name, env.array()}), "-1");
    EXPECT_EQ(outcome("execJsonParamFun", {handle, name, text("{}")}), "-1");
  }
  EXPECT_EQ(log.linesOf("KavrinNodeConferenceEngine::runFunction"),
            Texts(5, "ERROR node api method not found:"));
}

// --- The JSON forms
// ----------------------------------------------------------------------------------

TEST_F(EntryPointsTest, ParametersThatAreNoTextsReachTheMethodAsEmptyText) {
  Texts answers;
  init(handle, answers);
  napi_value values[] = {env.object(), env.number(1), env.array(), env.undefined()};
  for (napi_value value : values) {
    EXPECT_EQ(outcome("execJsonParamFun", {handle, text("JoinRoom"), value}), "-1");
    EXPECT_EQ(outcome("execJsonParamFunWithCallback",
                      {handle, text("AsyncSendCustomMessage"), value, env.function({})}),
              "-1");
  }
  EXPECT_EQ(outcome("execJsonParamFun", {handle, text("SetLogTag"), env.object()}), "0");
  EXPECT_TRUE(log.contains("INFO", "call node api: JoinRoom, param: "));
}

TEST_F(EntryPointsTest, ABooleanIsItsText) {
  outcome("execJsonParamFun", {handle, env.boolean(true), env.boolean(false)});
  EXPECT_TRUE(log.contains("INFO", "call node api: true, param: false"));
}

TEST_F(EntryPointsTest, ResultsOfTheJsonFormsAreConvertedAlways) {
  EXPECT_EQ(json(handle, "SetLogTag", "{}"), "0");
  EXPECT_EQ(json(handle, "JoinRoom", "{}"), "-1");
  EXPECT_EQ(json(handle, "EnumCameraDevice", "{}"), "-1");
  EXPECT_EQ(json(handle, "GetVideoFrame", R"({"uid":"a"})"),
            R"("{\"ret\":-1,\"width\":0,\"height\":0}")");
}

TEST_F(EntryPointsTest, ACallbackThatIsNoFunctionLeavesAnExceptionAndALoginWithoutAnAnswer) {
  EXPECT_EQ(outcome("execJsonParamFunWithCallback",
                    {handle, text("Init"), text(R"({"logPath":"/nonexistent"})"), env.number(1)}),
            "throws Error: Failed to create threadsafe function");
}

// --- loadNodeEvents
// ------------------------------------------------------------------------------------

class PollingTest : public EntryPointsTest {
 protected:
  PollingTest() {
    Texts answers;
    init(handle, answers);
    env.runLoopUntil([&] { return !answers.empty(); });
    call("loadNodeEvents", {handle});
    log.lines();
  }
  std::string poll() { return outcome("loadNodeEvents", {handle}); }
};

TEST_F(PollingTest, EventsArriveOnceInOrder) {
  EXPECT_EQ(poll(), "[]");
  fire("OnRoomStateChange", "[3]");
  fire("OnRoomMemberStateChange", R"(["ann",18])");
  fire("OnAudioVolumeIndication", R"([[{"uid":"ann","volume":9}]])");
  EXPECT_EQ(
      poll(),
      R"([{"key":"OnRoomStateChange","parms":["me","r",3]},)"
      R"({"key":"OnRepeatLogin","parms":["me","r"]},)"
      R"({"key":"OnAudioVolumeIndication","parms":["me","r",{"0":{"uid":"ann","volume":9}}]}])");
  EXPECT_EQ(poll(), "[]");
}

TEST_F(PollingTest, AbsentTextsAreUndefinedInTheirPlace) {
  fire("OnCustomMessage", R"([null,"two",null])");
  fire("OnVideoDeviceStateChange", "[1]");
  EXPECT_EQ(poll(), R"([{"key":"OnCustomMessage","parms":["me","r",undefined,"two",undefined]},)"
                    R"({"key":"OnVideoDeviceStateChange","parms":[1]}])");
}

TEST_F(PollingTest, WrongCountsReturnUndefinedAndKeepTheEvents) {
  fire("OnVideoDeviceStateChange", "[1]");
  EXPECT_EQ(outcome("loadNodeEvents", {}), "undefined");
  EXPECT_EQ(outcome("loadNodeEvents", {handle, handle}), "undefined");
  EXPECT_EQ(poll(), R"([{"key":"OnVideoDeviceStateChange","parms":[1]}])");
}

TEST_F(PollingTest, EachFailingStepIsLoggedAndReturnsUndefined) {
  struct Row {
    const char* function;
    int nth;
    const char* text;
  };
  const Row rows[] = {
      {"napi_create_array", 1, "loadNodeEvents dataEventList napi_create_array error.."},
      {"napi_create_object", 1, "loadNodeEvents dataEvent napi_create_object error.."},
      {"napi_create_array", 2, "loadNodeEvents dataParms napi_create_array error.."},
      {"napi_set_element", 1, "loadNodeEvents nParm napi_set_element error.."},
      {"napi_set_named_property", 1, "loadNodeEvents dataParms napi_set_named_property error.."},
      {"napi_set_element", 2, "loadNodeEvents dataEvent napi_set_element error.."},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    fire("OnVideoDeviceStateChange", "[1]");
    log.lines();
    env.faults.fail(row.function, row.nth);
    EXPECT_EQ(poll(), "undefined");
    EXPECT_EQ(log.lines(), Texts{pollTag + "error:" + row.text + ":Unknown failure"});
    env.faults.clear();
    poll();
  }
}

TEST_F(PollingTest, EventsAreLostOnlyOnceTheyAreTaken) {
  fire("OnVideoDeviceStateChange", "[1]");
  env.faults.fail("napi_create_array", 1);  // before the queue is asked
  EXPECT_EQ(poll(), "undefined");
  EXPECT_EQ(poll(), R"([{"key":"OnVideoDeviceStateChange","parms":[1]}])");
  fire("OnVideoDeviceStateChange", "[2]");
  env.faults.fail("napi_create_object", 1);
  EXPECT_EQ(poll(), "undefined");
  EXPECT_EQ(poll(), "[]");
}

TEST_F(PollingTest, TheKeysFailuresAreThrown) {
  fire("OnVideoDeviceStateChange", "[1]");
  env.faults.fail("napi_create_string_utf8", 1);
  EXPECT_EQ(poll(), "throws Error: strToNValue error!");
  fire("OnVideoDeviceStateChange", "[1]");
  env.faults.fail("napi_set_property", 1);
  EXPECT_EQ(poll(), "throws Error: setNObjectProperty:napi_set_property error!");
}

TEST_F(PollingTest, AValueThatCannotBeConvertedIsUndefinedInItsPlace) {
  fire("OnVideoDeviceStateChange", "[1]");
  env.faults.fail("napi_create_int32");
  EXPECT_EQ(poll(), R"([{"key":"OnVideoDeviceStateChange","parms":[undefined]}])");
}

TEST_F(PollingTest, AHandleMayBeDestroyedInsideItsPoll) {
  fire("OnVideoDeviceStateChange", "[1]");
  fire("OnVideoDeviceStateChange", "[2]");
  env.beforePropertySet = [&](const std::string& key) {
    if (key == "key") call("destroyConfEngine", {handle});
  };
  EXPECT_EQ(poll(), R"([{"key":"OnVideoDeviceStateChange","parms":[1]},)"
                    R"({"key":"OnVideoDeviceStateChange","parms":[2]}])");
  env.beforePropertySet = nullptr;
}

// --- on and off
// ------------------------------------------------------------------------------------

TEST_F(EntryPointsTest, OnWithAnotherCountRegistersNothing) {
  for (std::size_t count : {0, 1, 2, 3, 5, 6}) {
    std::vector<napi_value> arguments{handle, text("e"), env.function({}), env.object()};
    arguments.resize(count, env.object());
    EXPECT_EQ(outcome("on", arguments), "undefined") << count;
  }
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(EntryPointsTest, OffWithAnotherCountThrows) {
  for (std::size_t count : {0, 1, 3, 4}) {
    std::vector<napi_value> arguments(count, handle);
    EXPECT_EQ(outcome("off", arguments), "throws Error: Invalid arguments to off()") << count;
  }
}

TEST_F(EntryPointsTest, ListenersGetThePicturesNotes) {
  Texts calls;
  EXPECT_EQ(outcome("on", {handle, text("onBufferOverflow"), env.recorder(calls), env.number(7)}),
            "undefined");
  EXPECT_EQ(exec(handle, "BindingVideoFrame",
                 env.array({text("me"), env.number(2), env.buffer({1, 2, 3})})),
            "0");
  Texts answers;
  init(handle, answers);
  env.runLoopUntil([&] { return !answers.empty(); });
  fire("OnRoomMemberVideoFrame", R"(["me",{"width":2,"height":2,"streamType":2,"seed":5}])");
  EXPECT_EQ(json(handle, "GetVideoFrame", R"({"uid":"me","videoSourceType":2})"),
            R"("{\"ret\":-3,\"width\":2,\"height\":2}")");
  env.runLoop();
  EXPECT_EQ(calls,
            Texts{R"({"needSize":6,"curSize":3,"width":2,"height":2,"uid":"me","type":2}, 7)"});
  EXPECT_EQ(outcome("off", {handle, text("onBufferOverflow")}), "undefined");
  EXPECT_EQ(outcome("off", {handle, text("onBufferOverflow")}), "undefined");
  EXPECT_TRUE(log.contains("INFO", "not find event."));
}

TEST_F(EntryPointsTest, RegistryErrorsAreThrownToScript) {
  EXPECT_EQ(outcome("on", {handle, text(""), env.function({}), env.object()}),
            "throws Error: Invalid event name");
  EXPECT_EQ(outcome("on", {handle, text("e"), env.object(), env.object()}),
            "throws Error: Failed to create threadsafe function");
  EXPECT_EQ(outcome("off", {handle, env.number(1)}), "throws Error: Invalid event name");
}

}  // namespace
}  // namespace kavrin
