#include "events/engine_event_sink.h"

#include <thread>

#include "tests/unit/support/facade_fixture.h"

namespace kavrin {
namespace {

using Kavrin::ConferenceEngine::ConfRoom;
using Kavrin::ConferenceEngine::RtcStatistics;
using Kavrin::ConferenceEngine::VideoFrame;
using Kavrin::ConferenceEngine::VolumeIndication;
using Kind = Variant::Kind;
using Texts = std::vector<std::string>;

// A value with its kind: "Int32 5", "String x", "String(null) ", "Null".
std::string shown(const Variant& value) {
  switch (value.kind) {
    case Kind::Null:
      return "Null";
    case Kind::Bool:
      return "Bool " + value.toString();
    case Kind::UInt16:
      return "UInt16 " + value.toString();
    case Kind::Int32:
      return "Int32 " + value.toString();
    case Kind::UInt32:
      return "UInt32 " + value.toString();
    case Kind::String:
      return (value.isNull ? "String(null) " : "String ") + value.toString();
    case Kind::Array: {
      std::string elements;
      for (const Variant& element : value.arrayValue) elements += shown(element) + ";";
      return "Array [" + elements + "]";
    }
    case Kind::Object: {
      std::string entries;
      for (const auto& [key, entry] : value.objectValue) entries += key + "=" + shown(entry) + ";";
      return "Object {" + entries + "}";
    }
    default:
      return "kind " + std::to_string(static_cast<int>(value.kind));
  }
}

class SinkTest : public testing::FacadeTest {
 protected:
  // The queued events as "name: value, value".
  Texts events() {
    Texts result;
    for (const auto& event : facade->takePendingEvents()) {
      std::string values;
      for (const Variant& value : event->parms) {
        values += (values.empty() ? " " : ", ") + shown(value);
      }
      result.push_back(event->key + ":" + values);
    }
    return result;
  }

  // One event and the log lines of its callback, the closing line of the queue included.
  void expectEvent(const std::string& name, const std::string& values, Texts messages) {
    EXPECT_EQ(events(), Texts{name + ": " + values});
    const std::string tag = "DEBUG KavrinConferenceEngineEventImpl::" + callback(name) + ": ";
    for (std::string& message : messages) message = tag + message;
    messages.push_back("DEBUG KavrinNodeConferenceEngine::onEvent: onEvent end:" + name);
    EXPECT_EQ(log.lines(), messages);
  }
  static std::string callback(const std::string& event) {
    return event == "OnRepeatLogin" ? "OnRoomMemberStateChange" : event;
  }
  void expectNothing() {
    EXPECT_TRUE(events().empty());
    EXPECT_TRUE(log.lines().empty());
  }

  KavrinConferenceEngineEvent& sink = facade->eventSink();
  const ConfRoom room{"room1", "me"};
  const std::string head = "String me, String room1";
};

TEST_F(SinkTest, RtcStatistics) {
  sink.OnRtcStats(room, RtcStatistics{1, 65535, 3, 4, 5});
  expectEvent("OnRtcStats", head + ", UInt16 1, UInt16 65535, UInt16 3, UInt16 4, UInt16 5",
              {"OnRtcStats:m_nAverageBitrate start",
               "OnRtcStats:m_nTxBitrate:1,m_nRxBitrate:65535,m_nTxPacketLossRate:3,"
               "m_nRxPacketLossRate:4,m_nNetDelay:5"});
}

TEST_F(SinkTest, AudioState) {
  sink.OnAudioStateChanged(room, "ann", -1);
  expectEvent("OnAudioStateChanged", head + ", String ann, Int32 -1",
              {"OnAudioStateChanged:pUsername:ann,aState:-1"});
}

TEST_F(SinkTest, VideoState) {
  sink.OnVideoStateChanged(room, "ann", 1, 2, 3);
  expectEvent("OnVideoStateChanged", head + ", String ann, Int32 1, Int32 2, Int32 3",
              {"OnVideoStateChanged:pUsername:ann,vType:1,vState:2,stateError:3"});
}

TEST_F(SinkTest, ActiveSpeaker) {
  sink.OnActiveSpeaker(room, "ann", 80);
  expectEvent("OnActiveSpeaker", head + ", String ann, Int32 80",
              {"OnActiveSpeaker:pUsername:ann,volume:80"});
}

TEST_F(SinkTest, MemberState) {
  sink.OnRoomMemberStateChange(room, "ann", 1);
  expectEvent("OnRoomMemberStateChange", head + ", String ann, Int32 1",
              {"OnRoomMemberStateChange:pUsername:ann,userState:1"});
}

TEST_F(SinkTest, AnUnnamedMemberIsPassedOver) {
  for (const int state : {1, 2, 4, 18}) sink.OnRoomMemberStateChange(room, nullptr, state);
  expectNothing();
}

TEST_F(SinkTest, ALoginElsewhereIsAnEventOfItsOwn) {
  sink.OnRoomMemberStateChange(room, "ann", 18);
  expectEvent("OnRepeatLogin", head, {"onRepeatLogin"});
}

TEST_F(SinkTest, RoomState) {
  sink.OnRoomStateChange(room, 7);
  expectEvent("OnRoomStateChange", head + ", Int32 7", {"OnRoomStateChange:roomState:7"});
}

TEST_F(SinkTest, RoomError) {
  sink.OnRoomError(room, -5, "why");
  expectEvent("OnRoomError", head + ", Int32 -5, String why",
              {"OnRoomError:errCode:-5,reason:why"});
}

TEST_F(SinkTest, CustomMessage) {
  sink.OnCustomMessage(room, "hello %s", "two", "three");
  expectEvent("OnCustomMessage", head + ", String hello %s, String two, String three",
              {"OnCustomMessage:msg:hello %s"});
}

TEST_F(SinkTest, DevicesHaveNoRoom) {
  sink.OnAudioDeviceStateChange(1, 2);
  expectEvent("OnAudioDeviceStateChange", "Int32 1, Int32 2",
              {"OnAudioDeviceStateChange:devType:1,devState:2"});
  sink.OnAudioDefaultDeviceChanged(3);
  expectEvent("OnAudioDefaultDeviceChanged", "Int32 3", {"OnAudioDefaultDeviceChanged:devType:3"});
  sink.OnVideoDeviceStateChange(4);
  expectEvent("OnVideoDeviceStateChange", "Int32 4", {"OnVideoDeviceStateChange:devState:4"});
  sink.OnAudioDeviceVolumeChanged(1, 50, true);
  expectEvent("OnAudioDeviceVolumeChanged", "Int32 1, Int32 50, Bool true",
              {"OnAudioDeviceVolumeChanged:devType:1,volume:50,muted:1"});
}

TEST_F(SinkTest, NetworkQualityIsTheLocalUsersAlone) {
  sink.OnNetworkQuality(room, "me", 4294967295u, -2);
  expectEvent("OnNetworkQuality", head + ", String me, UInt32 4294967295, Int32 -2",
              {"OnNetworkQuality:pUsername:me,txQualityValue:-1,rxQualityValue:-2"});
  for (const char* other : {"ann", "m", "mee", "Me", ""}) sink.OnNetworkQuality(room, other, 1, 1);
  sink.OnNetworkQuality(room, nullptr, 1, 1);
  expectNothing();
}

TEST_F(SinkTest, Snapshot) {
  sink.OnSnapshotTaken(room, "ann", 1, "/tmp/a.png", 640, 480, 0);
  expectEvent("OnSnapshotTaken",
              head + ", String ann, Int32 1, String /tmp/a.png, Int32 640, Int32 480, Int32 0",
              {"OnSnapshotTaken:pUsername:ann,srcType:1,pFilepath:/tmp/a.png,width:640,height:480,"
               "errCode:0"});
}

TEST_F(SinkTest, Volumes) {
  sink.OnAudioVolumeIndication(room, {{"ann", 10}, {"", 4294967295u}});
  expectEvent("OnAudioVolumeIndication",
              head +
                  ", Array [Object {uid=String ann;volume=UInt32 10;};"
                  "Object {uid=String(null) ;volume=UInt32 4294967295;};]",
              {"onAudioVolumeIndication:volumes size:2"});
  sink.OnAudioVolumeIndication(room, {});
  expectEvent("OnAudioVolumeIndication", head + ", Array []",
              {"onAudioVolumeIndication:volumes size:0"});
}

TEST_F(SinkTest, DataChannel) {
  sink.OnDataMessageReceived(room, "data");
  expectEvent("OnDataMessageReceived", head + ", String data", {});
  sink.OnDataChannelStateChanged(room, 2, "open");
  expectEvent("OnDataChannelStateChanged", head + ", Int32 2, String open", {});
}

TEST_F(SinkTest, AnUnknownUserIsAnEmptyTextAndAnUnknownRoomTheWordNull) {
  sink.OnRoomStateChange(ConfRoom{"", ""}, 1);
  EXPECT_EQ(events(), Texts{"OnRoomStateChange: String(null) , String null, Int32 1"});
  sink.OnRoomMemberStateChange(ConfRoom{"", "me"}, "ann", 18);
  EXPECT_EQ(events(), Texts{"OnRepeatLogin: String me, String null"});
}

TEST_F(SinkTest, AbsentTextsAreNullAndEmptyOnesAreTexts) {
  sink.OnAudioStateChanged(room, nullptr, 1);
  sink.OnVideoStateChanged(room, nullptr, 1, 2, 3);
  sink.OnActiveSpeaker(room, nullptr, 1);
  sink.OnRoomError(room, 1, nullptr);
  sink.OnCustomMessage(room, nullptr, "", nullptr);
  sink.OnSnapshotTaken(room, nullptr, 1, nullptr, 2, 3, 4);
  sink.OnDataMessageReceived(room, nullptr);
  sink.OnDataChannelStateChanged(room, 1, nullptr);
  EXPECT_EQ(events(),
            (Texts{"OnAudioStateChanged: " + head + ", Null, Int32 1",
                   "OnVideoStateChanged: " + head + ", Null, Int32 1, Int32 2, Int32 3",
                   "OnActiveSpeaker: " + head + ", Null, Int32 1",
                   "OnRoomError: " + head + ", Int32 1, Null",
                   "OnCustomMessage: " + head + ", Null, String , Null",
                   "OnSnapshotTaken: " + head + ", Null, Int32 1, Null, Int32 2, Int32 3, Int32 4",
                   "OnDataMessageReceived: " + head + ", Null",
                   "OnDataChannelStateChanged: " + head + ", Int32 1, Null"}));
}

// --- The frame store
// -------------------------------------------------------------------------------

class SinkFramesTest : public SinkTest {
 protected:
  SinkFramesTest() {
    for (const int type : {0, 2}) {
      EXPECT_TRUE(facade->frameStore().bind(&env, env.buffer({0, 0, 0, 0, 0, 0}), "ann", type));
    }
  }

  void deliver(const char* user, std::uint32_t type) {
    static const unsigned char kPicture[6] = {1, 2, 3, 4, 5, 6};
    sink.OnRoomMemberVideoFrame(room, user, VideoFrame{2, 2, type, kPicture});
  }
  // Whether pictures of the stream arrive.
  bool arrives(int type) {
    deliver("ann", static_cast<std::uint32_t>(type));
    return facade->frameStore().get({"ann", type}, true).ret == VideoFrameStore::kCopied;
  }
  void state(std::int32_t userState) { sink.OnRoomMemberStateChange(room, "ann", userState); }
};

TEST_F(SinkFramesTest, StatesStartAndStopStreams) {
  EXPECT_FALSE(arrives(0));
  state(4);
  EXPECT_TRUE(arrives(0));
  EXPECT_FALSE(arrives(2));
  state(5);
  EXPECT_TRUE(arrives(2));
  state(7);
  EXPECT_FALSE(arrives(0));
  EXPECT_TRUE(arrives(2));
  state(8);
  EXPECT_FALSE(arrives(2));
  state(4);
  state(5);
  state(2);
  EXPECT_FALSE(arrives(0));
  EXPECT_FALSE(arrives(2));
}

TEST_F(SinkFramesTest, OtherStatesLeaveTheStreamsAlone) {
  for (const int other : {0, 1, 3, 6, 9, 10, 18, -4, 100}) state(other);
  EXPECT_FALSE(arrives(0));
  EXPECT_FALSE(arrives(2));
  state(4);
  for (const int other : {0, 1, 3, 6, 9, 18}) state(other);
  EXPECT_TRUE(arrives(0));
}

TEST_F(SinkFramesTest, APictureIsNeitherLoggedNorQueued) {
  log.lines();
  deliver("ann", 0);
  deliver(nullptr, 0);
  EXPECT_TRUE(events().empty());
  EXPECT_TRUE(log.lines().empty());
}

TEST_F(SinkFramesTest, TheFramesOwnTypeCounts) {
  state(4);
  deliver("ann", 1);  // the small camera stream goes under the camera's key
  EXPECT_EQ(facade->frameStore().get({"ann", 0}, false).ret, VideoFrameStore::kCopied);
}

// --- Threads
// ---------------------------------------------------------------------------------------

TEST_F(SinkTest, CallbacksOfManyThreadsAreAllQueued) {
  constexpr int kThreads = 4;
  constexpr int kCalls = 200;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kCalls; ++i) {
        sink.OnRoomStateChange(room, i);
        sink.OnRoomMemberStateChange(room, "ann", i % 9);
        sink.OnAudioVolumeIndication(room, {{"ann", 1}});
        const unsigned char picture[6] = {};
        sink.OnRoomMemberVideoFrame(room, "ann", VideoFrame{2, 2, 0, picture});
      }
    });
  }
  std::size_t taken = 0;
  const std::size_t expected = 3 * kThreads * kCalls;
  while (taken < expected) taken += facade->takePendingEvents().size();
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(taken, expected);
}

}  // namespace
}  // namespace kavrin
