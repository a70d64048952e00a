#include "engine/parameters.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace kavrin {
namespace {

// "deviceId:i,guid:s,...": the keys of a record in the order of reading, with their readers.
template <typename Record>
std::string keysOf() {
  constexpr const char* kReaders[] = {"s", "i", "b", "l"};
  std::string keys;
  for (const auto& field : Record::kFields) {
    keys +=
        (keys.empty() ? "" : ",") + std::string(field.key) + ":" + kReaders[field.member.index()];
  }
  return keys;
}

TEST(Parameters, KeysTheirReadersAndTheirOrder) {
  EXPECT_EQ(keysOf<LogTagParameters>(), "tag:s");
  EXPECT_EQ(keysOf<InitParameters>(), "rootHost:s,logPath:s,puid:s,password:s,name:s");
  EXPECT_EQ(keysOf<DeviceParameters>(),
            "deviceId:i,guid:s,deviceType:i,nX:i,nY:i,nWidth:i,nHeight:i,resolution:i,fps:i,"
            "bitrate:i,excludeWindowList:l");
  EXPECT_EQ(keysOf<JoinParameters>(), "roomId:s,userExtendedInfo:s");
  EXPECT_EQ(keysOf<SwitchParameters>(), "isEnable:b");
  EXPECT_EQ(keysOf<UserSwitchParameters>(), "isEnable:b,userId:s");
  EXPECT_EQ(keysOf<VolumeIndicationParameters>(), "isEnable:b,cycleTime:i");
  EXPECT_EQ(keysOf<UserParameters>(), "userId:s");
  EXPECT_EQ(keysOf<MessageParameters>(), "msg:s,toUser:s");
  EXPECT_EQ(keysOf<SnapshotParameters>(), "userId:s,srcType:i,filePath:s");
  EXPECT_EQ(keysOf<UserStreamTypeParameters>(), "userId:s,streamType:i");
  EXPECT_EQ(keysOf<FrameParameters>(), "uid:s,videoSourceType:i,forceGetFrame:b");
  EXPECT_EQ(keysOf<TopicParameters>(), "topic:s");
  EXPECT_EQ(keysOf<SoundFileParameters>(), "filePath:s");
  EXPECT_EQ(keysOf<MediaSwitchParameters>(), "enableAudio:b,enableVideo:b");
  EXPECT_EQ(keysOf<UserVideoSwitchParameters>(), "isEnable:b,userId:s,isVideoCamera:b");
  EXPECT_EQ(keysOf<ResumedMediaParameters>(), "audio:b,video:b,share:b");
  EXPECT_EQ(keysOf<DeviceIdParameters>(), "id:i");
  EXPECT_EQ(keysOf<StreamTypeParameters>(), "streamType:i");
  EXPECT_EQ(keysOf<VideoQualityParameters>(), "videoQuality:i");
  EXPECT_EQ(keysOf<VolumeParameters>(), "volume:i");
  EXPECT_EQ(keysOf<LoopbackTestParameters>(), "interval:i");
  EXPECT_EQ(keysOf<SceneModeParameters>(), "sceneMode:i");
}

// Gives every key a value of its own and compares each member with it.
template <typename Record>
void expectEveryKeyIsRead() {
  std::string json;
  int number = 100;
  for (const auto& field : Record::kFields) {
    const std::string values[] = {"\"t" + std::to_string(number) + "\"", std::to_string(number),
                                  "true", "[" + std::to_string(number) + "]"};
    json += (json.empty() ? "{\"" : ",\"") + std::string(field.key) +
            "\":" + values[field.member.index()];
    ++number;
  }
  Record record;
  EXPECT_TRUE(decodeJson(json + "}", record)) << json;
  number = 100;
  for (const auto& field : Record::kFields) {
    SCOPED_TRACE(field.key);
    std::visit(
        [&](auto member) {
          const auto& read = record.*member;
          using Type = std::decay_t<decltype(read)>;
          if constexpr (std::is_same_v<Type, std::string>) {
            EXPECT_EQ(read, "t" + std::to_string(number));
          } else if constexpr (std::is_same_v<Type, IntegerList>) {
            EXPECT_EQ(read, IntegerList{number});
          } else {
            EXPECT_EQ(read, static_cast<Type>(number));
          }
        },
        field.member);
    ++number;
  }
}

template <typename... Records>
void expectEveryKeyOf() {
  (expectEveryKeyIsRead<Records>(), ...);
}

TEST(Parameters, EveryKeyReachesItsMember) {
  expectEveryKeyOf<LogTagParameters, InitParameters, DeviceParameters, JoinParameters,
                   SwitchParameters, UserSwitchParameters, VolumeIndicationParameters,
                   UserParameters, MessageParameters, SnapshotParameters, UserStreamTypeParameters,
                   FrameParameters, TopicParameters, SoundFileParameters, MediaSwitchParameters,
                   UserVideoSwitchParameters, ResumedMediaParameters, DeviceIdParameters,
                   StreamTypeParameters, VideoQualityParameters, VolumeParameters,
                   LoopbackTestParameters, SceneModeParameters>();
}

TEST(Parameters, TheDeviceRecordIsReadAsAWhole) {
  DeviceParameters device;
  EXPECT_TRUE(decodeJson(R"({"nX":-5,"nY":6,"nWidth":7,"nHeight":8,"fps":9,"bitrate":10,)"
                         R"("excludeWindowList":[11,null]})",
                         device));
  EXPECT_EQ(device.left, -5);
  EXPECT_EQ(device.top, 6);
  EXPECT_EQ(device.width, 7);
  EXPECT_EQ(device.height, 8);
  EXPECT_EQ(device.frameRate, 9);
  EXPECT_EQ(device.bitRate, 10);
  EXPECT_EQ(device.excludedWindows, (IntegerList{11, 0}));
  EXPECT_EQ(device.deviceId, 0);
  EXPECT_EQ(device.guid, "");
}

}  // namespace
}  // namespace kavrin
