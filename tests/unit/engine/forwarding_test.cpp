// The methods that forward to one operation of the engine: order of the arguments, results, lines.
#include "tests/unit/support/facade_fixture.h"

namespace kavrin {
namespace {

using Kind = Variant::Kind;
using Texts = std::vector<std::string>;

struct Forwarder {
  const char* name;
  const char* json;  // null for a method that ignores its text
  const char* call;
  const char* emptyCall;  // what "{}" calls
};

void PrintTo(const Forwarder& row, std::ostream* out) { *out << row.name; }

constexpr const char* kDevice =
    R"({"deviceId":1,"guid":"g","deviceType":2,"nX":3,"nY":4,"nWidth":5,"nHeight":6,)"
    R"("resolution":7,"fps":8,"bitrate":9,"excludeWindowList":[10,null]})";
constexpr const char* kOption =
    R"([{"deviceId":1,"deviceType":2,"left":3,"top":4,"width":5,"height":6,"resolution":7,)"
    R"("frameRate":8,"bitRate":9,"excludedWindows":[10,0]}])";
constexpr const char* kEmptyOption =
    R"([{"deviceId":0,"deviceType":0,"left":0,"top":0,"width":0,"height":0,"resolution":0,)"
    R"("frameRate":0,"bitRate":0,"excludedWindows":[]}])";

const Forwarder kForwarders[] = {
    {"EnablePublish", R"({"enableAudio":1,"enableVideo":false})", "[true,false]", "[false,false]"},
    {"EnableSubscribe", R"({"enableAudio":false,"enableVideo":true})", "[false,true]",
     "[false,false]"},
    {"EnablePublishAudioStream", R"({"isEnable":true})", "[true]", "[false]"},
    {"EnablePublishVideoStream", R"({"isEnable":true})", "[true]", "[false]"},
    {"EnableSubscribeAudioStream", R"({"isEnable":true,"userId":"u"})", R"(["u",true])",
     R"(["",false])"},
    {"EnableSubscribeVideoStream", R"({"isEnable":true,"userId":"u","isVideoCamera":false})",
     R"(["u",true,false])", R"(["",false,false])"},
    {"EnableLoopbackRecording", R"({"isEnable":true})", "[true]", "[false]"},
    {"EnableAudioVolumeIndication", R"({"isEnable":true,"cycleTime":1500})", "[true,1500]",
     "[false,1000]"},
    {"MuteAudio", R"({"isEnable":true,"userId":"u"})", R"(["u",true])", R"(["",false])"},
    {"MuteVideo", R"({"isEnable":true,"userId":"u"})", R"(["u",true])", R"(["",false])"},
    {"StartPreview", nullptr, "[]", "[]"},
    {"StopPreview", nullptr, "[]", "[]"},
    {"TakeSnapshot", R"({"userId":"u","srcType":2,"filePath":"f"})", R"(["u",2,"f"])",
     R"(["",0,""])"},
    {"SetRemoteDefaultVideoStreamType", R"({"streamType":3})", "[3]", "[0]"},
    {"EnableDualStreamMode", R"({"isEnable":true})", "[true]", "[false]"},
    {"SetRemoteVideoStreamType", R"({"userId":"u","streamType":3})", R"(["u",3])", R"(["",0])"},
    {"KickOut", R"({"userId":"u"})", R"(["u"])", R"([""])"},
    {"MuteRoom", R"({"isEnable":true})", "[true]", "[false]"},
    {"CloseRoom", nullptr, "[]", "[]"},
    {"SetReconnectResumedMediaType", R"({"audio":true,"video":false,"share":true})",
     "[true,false,true]", "[false,false,false]"},
    {"SetAudioCaptureDevice", R"({"id":3})", "[3]", "[0]"},
    {"SetSpeakerDevice", R"({"id":3})", "[3]", "[0]"},
    {"SetVideoQuality", R"({"videoQuality":3})", "[3]", "[0]"},
    {"SetCameraDevice", kDevice, kOption, kEmptyOption},
    {"SetAudioCaptureDeviceVolume", R"({"volume":4294967297})", "[1]", "[0]"},
    {"SetSpeakerDeviceVolume", R"({"volume":3})", "[3]", "[0]"},
    {"StartSpeakerDeviceTest", R"({"filePath":"f"})", R"(["f"])", R"([""])"},
    {"StopSpeakerDeviceTest", nullptr, "[]", "[]"},
    {"StartAudioDeviceLoopbackTest", R"({"interval":3})", "[3]", "[0]"},
    {"StopAudioDeviceLoopbackTest", nullptr, "[]", "[]"},
    {"EnableAINSMode", R"({"isEnable":true})", "[true]", "[false]"},
    {"StartScreenShare", kDevice, kOption, kEmptyOption},
    {"UpdateScreenShareSrcInfo", kDevice, kOption, kEmptyOption},
    {"StopScreenShare", nullptr, "[]", "[]"},
    {"SetScreenShareSceneMode", R"({"sceneMode":3})", "[3]", "[0]"},
    {"CreateDataChannel", nullptr, "[]", "[]"},
    {"SubscribeData", R"({"topic":"t"})", R"(["t"])", R"([""])"},
    {"UnsubscribeData", R"({"topic":"t"})", R"(["t"])", R"([""])"},
    {"DeleteDataChannel", nullptr, "[]", "[]"},
};

class ForwardingTest : public testing::FacadeTest, public ::testing::WithParamInterface<Forwarder> {
 protected:
  Texts callsOf(const std::string& text) {
    testing::steer("{\"command\":\"clearCalls\"}");
    log.lines();
    const Variant result = json(GetParam().name, text);
    EXPECT_TRUE(result.is(Kind::Int32));
    code = result.int32Value;
    return testing::engineCalls();
  }

  std::int32_t code = 0;
};

TEST_P(ForwardingTest, CallsItsOperationAndReturnsItsCode) {
  const Forwarder& row = GetParam();
  const std::string tag = std::string("KavrinNodeConferenceEngine::") + row.name;
  const std::string returnLevel = std::string(row.name) == "StopScreenShare" ? "DEBUG" : "INFO";
  logIn();
  for (const int result : {0, 42, -42}) {
    testing::setResult(row.name, result);
    EXPECT_EQ(callsOf(row.json == nullptr ? "anything {" : row.json),
              Texts{std::string(row.name) + row.call});
    EXPECT_EQ(code, result);
    EXPECT_EQ(log.linesOf(tag), (Texts{"INFO method enter...",
                                       returnLevel + " method return " + std::to_string(result)}));
  }
  EXPECT_EQ(callsOf("{}"), Texts{std::string(row.name) + row.emptyCall});
  EXPECT_EQ(testing::steer("{\"command\":\"live\"}")["value"]["options"].GetInt(), 0);
}

TEST_P(ForwardingTest, NeedsAnEngine) {
  const Forwarder& row = GetParam();
  EXPECT_TRUE(callsOf(row.json == nullptr ? "" : row.json).empty());
  EXPECT_EQ(code, -1);
  EXPECT_TRUE(log.linesOf(std::string("KavrinNodeConferenceEngine::") + row.name).empty());
}

TEST_P(ForwardingTest, TakesAnEmptyTextOnlyWhenItIgnoresIt) {
  const Forwarder& row = GetParam();
  logIn();
  const Texts calls = callsOf("");
  if (row.json == nullptr) {
    EXPECT_EQ(calls, Texts{std::string(row.name) + "[]"});
  } else {
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(code, -1);
  }
}

TEST_P(ForwardingTest, ReportsABadTextAndAnEngineThatThrows) {
  const Forwarder& row = GetParam();
  const std::string tag = std::string("KavrinNodeConferenceEngine::") + row.name;
  logIn();
  if (row.json != nullptr) {
    EXPECT_TRUE(callsOf("[1]").empty());
    EXPECT_EQ(code, -1);
    EXPECT_EQ(log.linesOf(tag), Texts{"ERROR not object. (path:)"});
  }
  testing::setThrow(row.name, "broken");
  callsOf("{}");
  EXPECT_EQ(code, -1);
  EXPECT_EQ(log.linesOf(tag), (Texts{"INFO method enter...", "ERROR broken"}));
  EXPECT_EQ(testing::steer("{\"command\":\"live\"}")["value"]["options"].GetInt(), 0);
}

INSTANTIATE_TEST_SUITE_P(Methods, ForwardingTest, ::testing::ValuesIn(kForwarders),
                         [](const auto& tested) { return std::string(tested.param.name); });

class VolumeCycleTest : public testing::FacadeTest {};

TEST_F(VolumeCycleTest, ReportsComeOnceASecondAtTheMost) {
  logIn();
  const std::pair<const char*, const char*> rows[] = {
      {"200", "1000"}, {"1000", "1000"}, {"1001", "1001"},
      {"0", "1000"},   {"-5", "1000"},   {"2147483647", "2147483647"}};
  for (const auto& [asked, sent] : rows) {
    testing::steer("{\"command\":\"clearCalls\"}");
    json("EnableAudioVolumeIndication", std::string("{\"cycleTime\":") + asked + "}");
    EXPECT_EQ(testing::engineCalls(),
              Texts{std::string("EnableAudioVolumeIndication[false,") + sent + "]"});
  }
}

}  // namespace
}  // namespace kavrin
