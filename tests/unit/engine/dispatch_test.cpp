// The facade's dispatch and its own lines in the log.
#include "tests/unit/support/facade_fixture.h"

namespace kavrin {
namespace {

using Texts = std::vector<std::string>;
using Kind = Variant::Kind;

class FacadeDispatchTest : public testing::FacadeTest {
 protected:
  const std::string runTag = " KavrinNodeConferenceEngine::runFunction: ";
  const std::string jsonTag = " KavrinNodeConferenceEngine::runJsonParamFunction: ";
  const std::string callbackTag = " KavrinNodeConferenceEngine::runJsonParamFunctionWithCallback: ";
};

TEST_F(FacadeDispatchTest, RunFunctionTracesItsWay) {
  EXPECT_TRUE(arguments("EnumCameraDevice", {}).is(Kind::Null));
  EXPECT_EQ(log.lines(),
            (Texts{"DEBUG" + runTag +
                       "enter node api method:EnumCameraDevice==============================>",
                   "INFO KavrinNodeConferenceEngine::EnumCameraDevice: args: ",
                   "DEBUG" + runTag +
                       "<==============================leave node api method:EnumCameraDevice"}));
}

TEST_F(FacadeDispatchTest, RunFunctionReportsUnknownNamesTimeAndAgain) {
  for (const char* name : {"JoinRoom", "GetVideoFrame", "nothing", "", "%s%n"}) {
    for (int i = 0; i < 2; ++i) {
      const Variant result = arguments(name, {});
      EXPECT_TRUE(result.is(Kind::Int32));
      EXPECT_EQ(result.int32Value, -1);
      EXPECT_EQ(log.lines(), Texts{"ERROR" + runTag + "node api method not found:" + name});
    }
  }
}

TEST_F(FacadeDispatchTest, JsonMethodsTraceTheirCallAndTheirResult) {
  EXPECT_EQ(json("SetLogTag", R"({"tag":"100%"})").toInt32(), 0);
  EXPECT_EQ(log.lines(),
            (Texts{"INFO" + jsonTag + R"(call node api: SetLogTag, param: {"tag":"100%"})",
                   "INFO" + jsonTag + "call node api: SetLogTag ret: 0"}));
  EXPECT_EQ(json("nothing", "{}").toInt32(), -1);
  EXPECT_EQ(log.lines(),
            (Texts{"INFO" + jsonTag + "call node api: nothing, param: {}",
                   "ERROR" + jsonTag + "call npde api: nothing failed! not found method."}));
}

TEST_F(FacadeDispatchTest, ResultsAreTracedInTheirTextForm) {
  testing::setOutput("GetRoomAttendees", R"([{"id":"a"},{"id":"b"}])");
  logIn();
  log.lines();
  const Variant count = json("GetRoomAttendeeCount", "ignored");
  EXPECT_TRUE(count.is(Kind::UInt64));
  EXPECT_EQ(count.uint64Value, 2u);
  EXPECT_EQ(log.lines().back(), "INFO" + jsonTag + "call node api: GetRoomAttendeeCount ret: 2");
}

TEST_F(FacadeDispatchTest, PollingForPicturesIsNotTraced) {
  EXPECT_TRUE(json("GetVideoFrame", R"({"uid":"a"})").is(Kind::String));
  EXPECT_TRUE(log.lines().empty());
  json("GetVideoFrame", "{");
  EXPECT_EQ(log.lines().size(), 1u);  // only the error of the method itself
  json("GetVideoFrames", "{}");
  EXPECT_EQ(log.lines().size(), 2u);
}

TEST_F(FacadeDispatchTest, TheCallbackFormKnowsNoExemption) {
  EXPECT_EQ(withCallback("GetVideoFrame", "{}", env.function({})).toInt32(), -1);
  EXPECT_EQ(log.lines(), (Texts{"INFO" + callbackTag + "call node api: GetVideoFrame, param: {}",
                                "ERROR" + callbackTag +
                                    "call npde api: GetVideoFrame failed! not found method."}));
  EXPECT_EQ(withCallback("Init", "", env.function({})).toInt32(), -1);
  EXPECT_EQ(log.lines(), (Texts{"INFO" + callbackTag + "call node api: Init, param: ",
                                "INFO" + callbackTag + "call node api: Init ret: -1"}));
}

TEST_F(FacadeDispatchTest, VerifyArgsCount) {
  EXPECT_TRUE(verifyArgsCount(facade->log(), 2, 2));
  EXPECT_TRUE(log.lines().empty());
  EXPECT_FALSE(verifyArgsCount(facade->log(), 1, 2));
  EXPECT_EQ(log.lines(),
            Texts{"ERROR verifyArgsCount: args count error:need args count 2,but real get args "
                  "count 1"});
}

TEST_F(FacadeDispatchTest, LogOperationsHaveTheirLinesAndReadPercentSigns) {
  facade->LogE("50%% done%s%n");
  facade->LogI("info %d.");
  const auto records = log.records();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0].function, "KavrinNodeConferenceEngine::LogE");
  EXPECT_EQ(records[0].line, 1793);
  EXPECT_EQ(records[0].level, "ERROR");
  EXPECT_EQ(records[0].message, "50% done");
  EXPECT_EQ(records[1].function, "KavrinNodeConferenceEngine::LogI");
  EXPECT_EQ(records[1].line, 1798);
  EXPECT_EQ(records[1].level, "INFO");
  EXPECT_EQ(records[1].message, "info .");
}

TEST_F(FacadeDispatchTest, QueueingAnEventIsLoggedUnlessItIsAPicture) {
  facade->onEvent("OnRoomMemberVideoFrame", {});
  EXPECT_TRUE(log.lines().empty());
  facade->onEvent("OnSomething", {Variant::int32(1)});
  EXPECT_EQ(log.lines(),
            Texts{"DEBUG KavrinNodeConferenceEngine::onEvent: onEvent end:OnSomething"});
  EXPECT_EQ(facade->takePendingEvents().size(), 2u);
}

TEST_F(FacadeDispatchTest, AForwarderReportsItsDecodingErrorAndCallsNothing) {
  logIn();
  testing::steer("{\"command\":\"clearCalls\"}");
  log.lines();
  EXPECT_EQ(json("MuteAudio", R"({"userId":5})").toInt32(), -1);
  EXPECT_EQ(log.linesOf("KavrinNodeConferenceEngine::MuteAudio"),
            Texts{"ERROR not string. (path:userId)"});
  EXPECT_TRUE(testing::engineCalls().empty());
}

TEST_F(FacadeDispatchTest, ErrorTextsOfScriptAreNoFormats) {
  logIn();
  log.lines();
  EXPECT_EQ(json("MuteRoom", R"({"isEnable": %n%s%s})").toInt32(), -1);
  EXPECT_EQ(log.lines()[1],
            "ERROR KavrinNodeConferenceEngine::MuteRoom: Parse json fail. err=Invalid value.. "
            "offset=%n%s%s}");
  testing::setThrow("MuteRoom", "100%s");
  EXPECT_EQ(json("MuteRoom", "{}").toInt32(), -1);
  EXPECT_TRUE(log.contains("ERROR", "100%s"));
}

// --- Pictures
// --------------------------------------------------------------------------------------

TEST_F(FacadeDispatchTest, BindingReportsWhatIsNoBuffer) {
  const std::string tag = "KavrinNodeConferenceEngine::BindingVideoFrame";
  const auto bind = [&](Variant buffer) {
    return arguments("BindingVideoFrame", {Variant("ann"), Variant::int32(0), std::move(buffer)});
  };
  EXPECT_EQ(bind(Variant::scriptHandle(env.buffer({1}))).toInt32(), 0);
  EXPECT_TRUE(log.linesOf(tag).empty());
  EXPECT_EQ(bind(Variant::scriptHandle(env.object())).toInt32(), -1);
  EXPECT_EQ(log.linesOf(tag), Texts{"ERROR is not buffer."});
  EXPECT_EQ(env.takeException(), "TypeError: Argument must be a Buffer");
  log.lines();
  for (Variant value : {Variant("text"), Variant::boolean(true), Variant()}) {
    EXPECT_EQ(bind(value).toInt32(), -1);
    EXPECT_EQ(env.takeException(), "TypeError: Argument must be a Buffer");
  }
  EXPECT_EQ(log.linesOf(tag), Texts(3, "ERROR napi_is_buffer error."));
  EXPECT_TRUE(arguments("BindingVideoFrame", {Variant("ann")}).is(Kind::Null));
}

TEST_F(FacadeDispatchTest, PictureMethodsNeedAText) {
  EXPECT_EQ(json("GetVideoFrame", "").toInt32(), -1);
  EXPECT_EQ(json("UnbindingVideoFrame", "").toInt32(), -1);
  EXPECT_EQ(json("UnbindingVideoFrame", "{}").toInt32(), 0);
  EXPECT_EQ(json("GetVideoFrame", R"({"forceGetFrame":"yes"})").toInt32(), -1);
  EXPECT_TRUE(log.contains("ERROR", "not bool or integer. (path:forceGetFrame)"));
}

TEST_F(FacadeDispatchTest, PictureRequestsAreReadAlikeHoweverOftenTheyCome) {
  for (const char* user : {"ann", "bob"}) {
    arguments("BindingVideoFrame",
              {Variant(user), Variant::int32(0), Variant::scriptHandle(env.buffer({1}))});
  }
  const auto ask = [&](const std::string& user) {
    return json("GetVideoFrame", R"({"uid":")" + user + "\"}").toString();
  };
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(ask("ann"), R"({"ret":-2,"width":0,"height":0})");
    EXPECT_EQ(ask("carl"), R"({"ret":-1,"width":0,"height":0})");
  }
  for (int i = 0; i < 1000; ++i) ask("user" + std::to_string(i));
  EXPECT_EQ(ask("ann"), R"({"ret":-2,"width":0,"height":0})");
  EXPECT_EQ(ask(std::string(100000, 'x')), R"({"ret":-1,"width":0,"height":0})");
  EXPECT_EQ(ask("bob"), R"({"ret":-2,"width":0,"height":0})");
  for (int i = 0; i < 2; ++i) EXPECT_EQ(json("GetVideoFrame", "{").toInt32(), -1);
}

}  // namespace
}  // namespace kavrin
