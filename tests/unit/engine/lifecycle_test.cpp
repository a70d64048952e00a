// Start, description and end of the engine, with the lines that support knows by their numbers.
#include <filesystem>

#include "support/host_services.h"
#include "tests/unit/support/expected_leaks.h"
#include "tests/unit/support/facade_fixture.h"

namespace kavrin {
namespace {

namespace fs = std::filesystem;
using Kind = Variant::Kind;
using Texts = std::vector<std::string>;

class LifecycleTest : public testing::FacadeTest {
 protected:
  // "LEVEL line message" of one function's records.
  Texts numbered(const std::string& function) const {
    Texts lines;
    for (const auto& record : log.records()) {
      if (record.function != "KavrinNodeConferenceEngine::" + function) continue;
      lines.push_back(record.level + " " + std::to_string(record.line) + " " + record.message);
    }
    return lines;
  }
  std::string initText(const std::string& puid = "me") const {
    return R"({"rootHost":"host","logPath":")" + folder.path() + R"(","puid":")" + puid +
           R"(","password":"secret","name":"Me"})";
  }
  Texts calls() { return testing::engineCalls(); }
};

TEST_F(LifecycleTest, InitCreatesAndStartsTheEngine) {
  testing::setPlan("Init", "hold");
  Texts answers;
  EXPECT_EQ(withCallback("Init", initText(), env.recorder(answers)).toInt32(), 0);
  const std::string logs = host::joinPath(folder.path(), "_me");
  EXPECT_TRUE(fs::is_directory(logs));
  const std::string quotedLogs = testing::quoted(logs);
  EXPECT_EQ(calls(), (Texts{"CreateConfEngine[true]", "SetLogFilePath[" + quotedLogs + "]",
                            "SetRootHost[\"host\"]", "Init[\"me\",\"Me\",\"secret\"]"}));
  EXPECT_EQ(numbered("Init"), (Texts{"INFO 212 SetLogFilePath:" + logs, "INFO 214 SetRootHost:host",
                                     "INFO 216 Init name:Me"}));
  EXPECT_NE(facade->engine(), nullptr);
  EXPECT_TRUE(facade->state.initialized);
  EXPECT_EQ(facade->state.rootHost, "host");
  EXPECT_EQ(facade->state.logPath, folder.path());
  EXPECT_TRUE(answers.empty());
}

TEST_F(LifecycleTest, TheAnswerReachesScriptOnceWithItsCode) {
  for (const int code : {0, 7, -3}) {
    testing::setPlan("Init", "automatic", code);
    testing::steer("{\"command\":\"clearCalls\"}");
    log.lines();
    Texts answers;
    withCallback("Init", initText(), env.recorder(answers));
    EXPECT_TRUE(env.runLoopUntil([&] { return !answers.empty(); }));
    testing::steer("{\"command\":\"join\"}");
    env.runLoop();
    EXPECT_EQ(answers, Texts{std::to_string(code)});
    EXPECT_EQ(numbered("Init::<lambda_1>::operator ()"),
              Texts{"INFO 230 method return " + std::to_string(code)});
    const Texts made = calls();
    const auto renders = std::count(made.begin(), made.end(), "EnableExternalRender[true]");
    EXPECT_EQ(renders, code == 0 ? 1 : 0) << code;
    EXPECT_EQ(env.openThreadsafeFunctions(), 0);
  }
}

TEST_F(LifecycleTest, AnAnswerInsideTheCallIsTakenAsWell) {
  testing::setPlan("Init", "inline", 0);
  Texts answers;
  EXPECT_EQ(withCallback("Init", initText(), env.recorder(answers)).toInt32(), 0);
  env.runLoop();
  EXPECT_EQ(answers, Texts{"0"});
}

TEST_F(LifecycleTest, ADroppedCompletionLeavesNothingBehind) {
  testing::setPlan("Init", "drop");
  Texts answers;
  EXPECT_EQ(withCallback("Init", initText(), env.recorder(answers)).toInt32(), 0);
  EXPECT_EQ(json("UnInit", "").toInt32(), 0);
  env.runLoop();
  EXPECT_TRUE(answers.empty());
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
}

TEST_F(LifecycleTest, InitWithAnEmptyTextDoesNothing) {
  EXPECT_EQ(withCallback("Init", "", env.function({})).toInt32(), -1);
  EXPECT_FALSE(facade->state.initialized);
  EXPECT_TRUE(calls().empty());
  EXPECT_EQ(json("UnInit", "").toInt32(), -1);
}

TEST_F(LifecycleTest, InitReportsABadText) {
  EXPECT_EQ(withCallback("Init", "{", env.function({})).toInt32(), -1);
  EXPECT_EQ(numbered("Init"), Texts{"ERROR 237 Parse json fail. err=Missing a name for object "
                                    "member.. offset="});
  EXPECT_FALSE(facade->state.initialized);
  EXPECT_EQ(withCallback("Init", R"({"puid":1})", env.function({})).toInt32(), -1);
  EXPECT_TRUE(log.contains("ERROR", "not string. (path:puid)"));
  EXPECT_TRUE(calls().empty());
}

TEST_F(LifecycleTest, InitReportsAnEngineThatThrows) {
  for (const char* operation : {"SetLogFilePath", "SetRootHost", "Init"}) {
    testing::setThrow(operation, "no luck with 100%s");
    log.lines();
    {
      const testing::ExpectedLeaks abandonedEngine;
      EXPECT_EQ(withCallback("Init", initText(), env.function({})).toInt32(), -1) << operation;
    }
    EXPECT_EQ(numbered("Init").back(), "ERROR 237 no luck with 100%s");
    EXPECT_EQ(facade->engine(), nullptr);
    testing::steer(R"({"command":"setThrow","text":null,"operation":")" + std::string(operation) +
                   "\"}");
  }
  abandoned = 3;  // such engines are neither kept nor destroyed
}

TEST_F(LifecycleTest, ASecondInitReplacesTheEngine) {
  logIn();
  testing::steer("{\"command\":\"clearCalls\"}");
  Texts answers;
  EXPECT_EQ(withCallback("Init", initText("other"), env.recorder(answers)).toInt32(), 0);
  const Texts made = calls();
  ASSERT_GE(made.size(), 3u);
  EXPECT_EQ(made[0], "UnInit[]");
  EXPECT_EQ(made[1], "DestroyConfEngine[]");
  EXPECT_EQ(made[2], "CreateConfEngine[true]");
  EXPECT_EQ(testing::liveEngines() - enginesBefore, 1);
}

TEST_F(LifecycleTest, AnAnswerOfAReplacedEngineNoLongerSpeaksForTheUser) {
  testing::setPlan("Init", "hold");
  Texts first;
  Texts second;
  withCallback("Init", initText("first"), env.recorder(first));
  withCallback("Init", initText("second"), env.recorder(second));
  const auto held = testing::steer("{\"command\":\"completions\"}");
  ASSERT_EQ(held["value"].Size(), 2u);
  testing::steer("{\"command\":\"clearCalls\"}");
  testing::steer(R"({"command":"complete","code":0,"id":)" +
                 std::to_string(held["value"][0]["id"].GetInt()) + "}");
  EXPECT_TRUE(calls().empty());  // the engine that is gone is not called
  testing::steer(R"({"command":"complete","code":0,"id":)" +
                 std::to_string(held["value"][1]["id"].GetInt()) + "}");
  EXPECT_EQ(calls(), Texts{"EnableExternalRender[true]"});
  env.runLoop();
  EXPECT_EQ(first, Texts{"0"});  // its callback is answered all the same
  EXPECT_EQ(second, Texts{"0"});
}

TEST_F(LifecycleTest, TheAnswerMakesTheUserExemptForPictures) {
  logIn();
  napi_value buffer = env.buffer({0, 0, 0, 0, 0, 0});
  facade->frameStore().bind(&env, buffer, "me", 0);
  const unsigned char picture[6] = {1, 2, 3, 4, 5, 6};
  facade->frameStore().deliver("me", 0, {2, 2, 0, picture});
  EXPECT_EQ(facade->frameStore().get({"me", 0}, false).ret, VideoFrameStore::kCopied);
}

TEST_F(LifecycleTest, UnInitEndsTheEngineAndItsCallbacks) {
  logIn();
  Texts events;
  const napi_value listener[] = {env.string("e"), env.recorder(events), env.object()};
  facade->emitter().on(&env, 3, listener);
  facade->onEvent("OnSomething", {});
  facade->state.inRoom = true;
  facade->state.roomId = "r";
  testing::steer("{\"command\":\"clearCalls\"}");
  testing::setResult("UnInit", 5);
  EXPECT_EQ(json("UnInit", "ignored").toInt32(), 0);
  EXPECT_EQ(calls(), (Texts{"UnInit[]", "DestroyConfEngine[]"}));
  EXPECT_EQ(numbered("UnInit"), (Texts{"INFO 250 method enter...", "INFO 252 method return 5",
                                       "INFO 254 DestroyConfEngine."}));
  EXPECT_EQ(facade->engine(), nullptr);
  EXPECT_FALSE(facade->state.initialized);
  EXPECT_EQ(facade->state.roomId, "");
  EXPECT_TRUE(facade->state.inRoom);  // only LeaveRoom ends a stay in a room
  EXPECT_TRUE(facade->takePendingEvents().empty());
  env.runLoop();
  EXPECT_EQ(env.openThreadsafeFunctions(), 0);
  EXPECT_EQ(json("UnInit", "").toInt32(), -1);
  EXPECT_EQ(json("JoinRoom", R"({"roomId":"r"})").toInt32(), 0);
  EXPECT_TRUE(log.contains("DEBUG", "cur is in room"));
}

TEST_F(LifecycleTest, UnInitDropsEventsAlsoWhenItIsNotInitialised) {
  facade->onEvent("OnSomething", {});
  EXPECT_EQ(json("UnInit", "").toInt32(), -1);
  EXPECT_TRUE(facade->takePendingEvents().empty());
}

TEST_F(LifecycleTest, UnInitWithAnEngineThatThrowsIsReported) {
  logIn();
  testing::setThrow("UnInit", "stuck");
  EXPECT_EQ(json("UnInit", "").toInt32(), -1);
  EXPECT_TRUE(log.contains("ERROR", "stuck"));
}

TEST_F(LifecycleTest, TheLogTagNamesTheNextFolder) {
  EXPECT_EQ(json("SetLogTag", R"({"tag":"desk"})").toInt32(), 0);
  EXPECT_EQ(json("SetLogTag", "").toInt32(), 0);
  EXPECT_EQ(facade->state.logTag, "desk");
  EXPECT_EQ(json("SetLogTag", R"({"tag":null})").toInt32(), 0);
  EXPECT_EQ(json("SetLogTag", R"({"tag":1})").toInt32(), -1);
  EXPECT_EQ(numbered("SetLogTag"), Texts{"ERROR 168 not string. (path:tag)"});
  EXPECT_EQ(json("SetLogTag", R"({"tag":"desk"})").toInt32(), 0);
  logIn();
  EXPECT_TRUE(fs::is_directory(folder / "desk_me"));
}

// --- GetSDKVersion
// ---------------------------------------------------------------------------------

TEST_F(LifecycleTest, TheLibrarysOwnVersionComesFirst) {
  testing::setOutput("GetSDKVersion", "\"3.2.1\"");
  const Variant version = arguments("GetSDKVersion", {Variant("/lib"), Variant("9")});
  EXPECT_EQ(version.toString(), "3.2.1");
  EXPECT_EQ(calls(), Texts{"GetSDKVersion[256]"});
  EXPECT_EQ(numbered("GetSDKVersion"), (Texts{"DEBUG 58 call node api method GetSDKVersion",
                                              "DEBUG 82 method return confSDKVersion 3.2.1"}));
}

TEST_F(LifecycleTest, VersionsOfFilesStandInForTheLibrarys) {
#if defined(_WIN32)
  GTEST_SKIP() << "versions are in the libraries' resources there; tests/script covers them";
#endif
  testing::writeFile(folder / "libKavrinConferenceEngine.so.1.2.3.4", "");
  testing::writeFile(folder / "libKavrinRTCEngine.so.5.6.7.8", "");
  fs::create_symlink("libKavrinConferenceEngine.so.1.2.3.4",
                     folder / "libKavrinConferenceEngine.so");
  fs::create_symlink("libKavrinRTCEngine.so.5.6.7.8", folder / "libKavrinRTCEngine.so");
  const Variant version = arguments("GetSDKVersion", {Variant(folder.path()), Variant("9.0")});
  EXPECT_EQ(version.toString(), "1.2.3.4");
  EXPECT_EQ(numbered("GetSDKVersion"),
            (Texts{"DEBUG 58 call node api method GetSDKVersion",
                   "DEBUG 79 method return electronSdkVersion 9.0 confSDKVersion 1.2.3.4 "
                   "RTCEngineVerion 5.6.7.8 roomclientVersion ",
                   "DEBUG 82 method return confSDKVersion 1.2.3.4"}));
}

TEST_F(LifecycleTest, WithoutAnyVersionTheTextIsEmpty) {
  const Variant version = arguments("GetSDKVersion", {Variant(folder.path()), Variant("9")});
  EXPECT_TRUE(version.is(Kind::String));
  EXPECT_EQ(version.toString(), "");
}

TEST_F(LifecycleTest, GetSDKVersionCountsItsArguments) {
  EXPECT_EQ(arguments("GetSDKVersion", {Variant("/lib")}).toInt32(), -1);
  EXPECT_EQ(arguments("GetSDKVersion", {Variant("a"), Variant("b"), Variant("c")}).toInt32(), -1);
  EXPECT_EQ(log.linesOf("verifyArgsCount").size(), 2u);
}

}  // namespace
}  // namespace kavrin
