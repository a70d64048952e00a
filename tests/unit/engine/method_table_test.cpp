#include "engine/method_table.h"

#include <algorithm>
#include <map>

#include "tests/unit/support/facade_fixture.h"

namespace kavrin {
namespace {

enum Form : std::size_t { kArguments = 0, kJson = 1, kJsonWithCallback = 2 };

// Every method with its form.
const std::map<std::string, Form>& expectedMethods() {
  static const std::map<std::string, Form> methods = [] {
    std::map<std::string, Form> made;
    for (const char* name : {"GetSDKVersion", "EnumAudioCaptureDevice", "EnumSpeakerDevice",
                             "EnumCameraDevice", "EnumScreenAndWindow", "GetRoomAttendees",
                             "GetRoomInfo", "GetAttendeeInfo", "BindingVideoFrame"}) {
      made[name] = kArguments;
    }
    for (const char* name : {"Init", "AsyncSendCustomMessage"}) made[name] = kJsonWithCallback;
    for (const char* name : {"SetLogTag",
                             "UnInit",
                             "EnablePublish",
                             "EnableSubscribe",
                             "SetAudioCaptureDevice",
                             "SetSpeakerDevice",
                             "SetVideoQuality",
                             "SetCameraDevice",
                             "JoinRoom",
                             "LeaveRoom",
                             "StartScreenShare",
                             "StopScreenShare",
                             "EnablePublishAudioStream",
                             "EnablePublishVideoStream",
                             "EnableSubscribeAudioStream",
                             "EnableSubscribeVideoStream",
                             "EnableLoopbackRecording",
                             "EnableAudioVolumeIndication",
                             "MuteAudio",
                             "MuteVideo",
                             "KickOut",
                             "MuteRoom",
                             "CloseRoom",
                             "SendCustomMessage",
                             "GetRoomAttendeeCount",
                             "GetLogPath",
                             "UpdateScreenShareSrcInfo",
                             "StartPreview",
                             "StopPreview",
                             "SetReconnectResumedMediaType",
                             "TakeSnapshot",
                             "SetRemoteDefaultVideoStreamType",
                             "EnableDualStreamMode",
                             "SetRemoteVideoStreamType",
                             "GetVideoFrame",
                             "UnbindingVideoFrame",
                             "CreateDataChannel",
                             "SubscribeData",
                             "DeleteDataChannel",
                             "GetAudioCaptureDeviceVolume",
                             "SetAudioCaptureDeviceVolume",
                             "GetSpeakerDeviceVolume",
                             "SetSpeakerDeviceVolume",
                             "StartSpeakerDeviceTest",
                             "StopSpeakerDeviceTest",
                             "StartAudioDeviceLoopbackTest",
                             "StopAudioDeviceLoopbackTest",
                             "SetScreenShareSceneMode",
                             "EnableAINSMode",
                             "UnsubscribeData"}) {
      made[name] = kJson;
    }
    return made;
  }();
  return methods;
}

TEST(MethodTable, HoldsEveryMethodOnceInItsForm) {
  std::map<std::string, Form> found;
  std::map<Form, int> counts;
  for (const MethodGroup* group : methodGroups()) {
    for (const MethodRecord& record : group->methods) {
      const auto form = static_cast<Form>(record.handler.index());
      EXPECT_TRUE(found.emplace(record.name, form).second) << record.name << " is there twice";
      ++counts[form];
      EXPECT_NE(std::string(record.description), "") << record.name;
      EXPECT_NE(std::string(record.result), "") << record.name;
    }
  }
  EXPECT_EQ(found, expectedMethods());
  EXPECT_EQ(found.size(), 61u);
  EXPECT_EQ(counts[kArguments], 9);
  EXPECT_EQ(counts[kJson], 50);
  EXPECT_EQ(counts[kJsonWithCallback], 2);
}

// "EnableSubscribeVideoStream(isEnable:boolean,...)" of a method.
std::string parametersOf(const std::string& name) {
  for (const MethodGroup* group : methodGroups()) {
    for (const MethodRecord& record : group->methods) {
      if (name != record.name) continue;
      std::string list;
      for (const Parameter& parameter : record.parameters) {
        list += (list.empty() ? "" : ",") + std::string(parameter.name) + ":" + parameter.type;
      }
      return list;
    }
  }
  return "no such method";
}

TEST(MethodTable, MethodsTellTheKeysThatTheyRead) {
  const char* const device =
      "deviceId:integer,guid:string,deviceType:integer,nX:integer,nY:integer,nWidth:integer,"
      "nHeight:integer,resolution:integer,fps:integer,bitrate:integer,"
      "excludeWindowList:list of integers";
  const char* const frame = "uid:string,videoSourceType:integer,forceGetFrame:boolean";
  const std::pair<const char*, const char*> rows[] = {
      {"SetLogTag", "tag:string"},
      {"Init", "rootHost:string,logPath:string,puid:string,password:string,name:string"},
      {"SetCameraDevice", device},
      {"StartScreenShare", device},
      {"UpdateScreenShareSrcInfo", device},
      {"JoinRoom", "roomId:string,userExtendedInfo:string"},
      {"EnablePublishAudioStream", "isEnable:boolean"},
      {"EnablePublishVideoStream", "isEnable:boolean"},
      {"EnableLoopbackRecording", "isEnable:boolean"},
      {"MuteRoom", "isEnable:boolean"},
      {"EnableDualStreamMode", "isEnable:boolean"},
      {"EnableAINSMode", "isEnable:boolean"},
      {"EnableSubscribeAudioStream", "isEnable:boolean,userId:string"},
      {"MuteAudio", "isEnable:boolean,userId:string"},
      {"MuteVideo", "isEnable:boolean,userId:string"},
      {"EnableAudioVolumeIndication", "isEnable:boolean,cycleTime:integer"},
      {"KickOut", "userId:string"},
      {"SendCustomMessage", "msg:string,toUser:string"},
      {"AsyncSendCustomMessage", "msg:string,toUser:string"},
      {"TakeSnapshot", "userId:string,srcType:integer,filePath:string"},
      {"SetRemoteVideoStreamType", "userId:string,streamType:integer"},
      {"UnbindingVideoFrame", frame},
      {"GetVideoFrame", frame},
      {"SubscribeData", "topic:string"},
      {"UnsubscribeData", "topic:string"},
      {"StartSpeakerDeviceTest", "filePath:string"},
      {"EnablePublish", "enableAudio:boolean,enableVideo:boolean"},
      {"EnableSubscribe", "enableAudio:boolean,enableVideo:boolean"},
      {"EnableSubscribeVideoStream", "isEnable:boolean,userId:string,isVideoCamera:boolean"},
      {"SetReconnectResumedMediaType", "audio:boolean,video:boolean,share:boolean"},
      {"SetAudioCaptureDevice", "id:integer"},
      {"SetSpeakerDevice", "id:integer"},
      {"SetRemoteDefaultVideoStreamType", "streamType:integer"},
      {"SetVideoQuality", "videoQuality:integer"},
      {"SetAudioCaptureDeviceVolume", "volume:integer"},
      {"SetSpeakerDeviceVolume", "volume:integer"},
      {"StartAudioDeviceLoopbackTest", "interval:integer"},
      {"SetScreenShareSceneMode", "sceneMode:integer"},
  };
  for (const auto& [name, parameters] : rows) EXPECT_EQ(parametersOf(name), parameters) << name;
}

class DispatchTest : public testing::FacadeTest {};

TEST_F(DispatchTest, AMethodIsFoundInItsOwnFormOnly) {
  const std::string argumentsTag = "KavrinNodeConferenceEngine::runFunction";
  const std::string jsonTag = "KavrinNodeConferenceEngine::runJsonParamFunction";
  const std::string callbackTag = "KavrinNodeConferenceEngine::runJsonParamFunctionWithCallback";
  const auto lineOf = [&](const std::string& tag, const std::string& message) {
    const auto lines = log.linesOf(tag);
    return std::find(lines.begin(), lines.end(), "ERROR " + message) != lines.end();
  };
  for (const auto& [name, form] : expectedMethods()) {
    const std::string notFound = "call npde api: " + name + " failed! not found method.";
    if (form != kArguments) {
      EXPECT_EQ(arguments(name, {}).toInt32(), -1);
      EXPECT_TRUE(lineOf(argumentsTag, "node api method not found:" + name));
    }
    if (form != kJson) {
      EXPECT_EQ(json(name, "{}").toInt32(), -1);
      EXPECT_TRUE(lineOf(jsonTag, notFound)) << name;
    }
    if (form != kJsonWithCallback) {
      EXPECT_EQ(withCallback(name, "{}", env.function({})).toInt32(), -1);
      EXPECT_TRUE(lineOf(callbackTag, notFound)) << name;
    }
  }
}

}  // namespace
}  // namespace kavrin
