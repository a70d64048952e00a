// What holds for all operations: any state, any argument, any thread, and the end.
#include <future>

#include "tests/conference/member.h"

namespace kavrin::conference_tests {
namespace {

using Kavrin::ConferenceEngine::VideoOption;

// Calls every operation with `text` where a text is asked for and `number` where a number is.
std::vector<int> callEverything(KavrinConferenceEngine& engine, const char* text, int number) {
  KavrinConferenceEngine::AudioDevices microphones, speakers;
  KavrinConferenceEngine::CameraDevices cameras;
  KavrinConferenceEngine::ShareSources sources;
  std::int32_t volume = 0;
  VideoOption option;
  option.deviceId = option.deviceType = option.left = option.top = number;
  option.width = option.height = option.resolution = option.frameRate = option.bitRate = number;
  KavrinConferenceEngineInfo info;
  std::vector<int> codes{engine.SetUserExtendedInfo(text),
                         engine.EnablePublish(true, true),
                         engine.EnableSubscribe(true, true),
                         engine.EnableExternalRender(true),
                         engine.EnumAudioCaptureDevice(microphones),
                         engine.EnumSpeakerDevice(speakers),
                         engine.EnumCameraDevice(cameras),
                         engine.EnumScreenAndWindow(sources),
                         engine.SetReconnectResumedMediaType(true, true, true),
                         engine.SetAudioCaptureDevice(number),
                         engine.SetSpeakerDevice(number),
                         engine.GetAudioCaptureDeviceVolume(&volume),
                         engine.SetAudioCaptureDeviceVolume(number),
                         engine.GetSpeakerDeviceVolume(&volume),
                         engine.SetSpeakerDeviceVolume(number),
                         engine.StartSpeakerDeviceTest(text),
                         engine.StopSpeakerDeviceTest(),
                         engine.StartAudioDeviceLoopbackTest(number),
                         engine.StopAudioDeviceLoopbackTest(),
                         engine.SetVideoQuality(number),
                         engine.SetCameraDevice(option),
                         engine.StartPreview(),
                         engine.StopPreview(),
                         engine.SetRemoteDefaultVideoStreamType(number),
                         engine.EnableDualStreamMode(true),
                         engine.SetRemoteVideoStreamType(text, number),
                         engine.EnableAINSMode(true),
                         engine.JoinRoom(text),
                         engine.SetScreenShareSceneMode(number),
                         engine.StartScreenShare(option),
                         engine.UpdateScreenShareSrcInfo(option),
                         engine.StopScreenShare(),
                         engine.EnablePublishAudioStream(true),
                         engine.EnablePublishVideoStream(true),
                         engine.EnableSubscribeAudioStream(text, true),
                         engine.EnableSubscribeVideoStream(text, true, true),
                         engine.EnableLoopbackRecording(true),
                         engine.EnableAudioVolumeIndication(true, number),
                         engine.TakeSnapshot(text, number, text),
                         engine.MuteAudio(text, true),
                         engine.MuteVideo(text, true),
                         engine.KickOut(text),
                         engine.MuteRoom(true),
                         engine.CreateDataChannel(),
                         engine.SubscribeData(text),
                         engine.UnsubscribeData(text),
                         engine.DeleteDataChannel(),
                         engine.CloseRoom(),
                         engine.LeaveRoom()};
  engine.Reserved0();
  engine.Reserved26();
  engine.GetRoomAttendees();
  engine.GetRoomInfo(info);
  std::promise<void> sent;
  engine.SendCustomMessage(text, text, [&](std::int32_t, const char*) { sent.set_value(); });
  EXPECT_EQ(sent.get_future().wait_for(kPatience), std::future_status::ready);
  for (auto& source : sources) delete[] source.thumbnailData;
  return codes;
}

class MannersTest : public RoomTest {};

TEST_F(MannersTest, EverythingAnswersInEveryStateForEveryArgument) {
  const std::string huge(1 << 20, 'x');
  const char* const texts[] = {nullptr, "", "a", "\xff\xfe", huge.c_str()};
  const int numbers[] = {0, 1, -1, 2147483647, -2147483647 - 1};
  Member& a = add("a");
  Member fresh("b", host);
  for (const char* text : texts) {
    for (const int number : numbers) {
      for (KavrinConferenceEngine* engine : {&fresh.engine(), &a.engine()}) {
        for (const int result : callEverything(*engine, text, number)) {
          EXPECT_TRUE(result == 0 || (result >= 1001 && result <= 1022)) << result;
        }
      }
    }
  }
}

TEST_F(MannersTest, AfterUnInitEverythingAnswersStopped) {
  Member& a = add("a");
  EXPECT_EQ(a->UnInit(), code::kOk);
  a.sink.clear();
  for (const int result : callEverything(a.engine(), "a", 1)) {
    EXPECT_TRUE(result == code::kStopped || result == code::kInvalidArgument ||
                result == code::kNoSuchDevice)
        << result;
  }
  EXPECT_EQ(a->EnablePublish(true, true), code::kStopped);
  EXPECT_EQ(a->JoinRoom("room"), code::kStopped);
  EXPECT_EQ(a->UnInit(), code::kOk);
  EXPECT_TRUE(a.sink.events().empty());
}

TEST_F(MannersTest, ASinkIsNotNeeded) {
  KavrinConferenceEngine* engine = KavrinConferenceEngine::CreateConfEngine(nullptr);
  ASSERT_NE(engine, nullptr);
  engine->SetRootHost(nullptr);
  engine->SetLogFilePath(nullptr);
  std::promise<int> done;
  engine->Init("a", nullptr, nullptr, [&](std::int32_t code) { done.set_value(code); });
  EXPECT_EQ(done.get_future().get(), code::kOk);
  EXPECT_EQ(engine->JoinRoom("room"), code::kOk);
  EXPECT_EQ(engine->StartPreview(), code::kOk);
  std::this_thread::sleep_for(50ms);
  KavrinConferenceEngine::DestroyConfEngine(engine);
  KavrinConferenceEngine::DestroyConfEngine(nullptr);
}

TEST_F(MannersTest, NoCallbackAfterUnInit) {
  Member& sender = add("sender");
  EXPECT_EQ(sender->EnablePublish(true, true), code::kOk);
  for (int round = 0; round < 10; ++round) {
    Member b("b", host);
    b.join();
    EXPECT_EQ(b->EnablePublish(true, true), code::kOk);
    EXPECT_EQ(b->StartPreview(), code::kOk);
    EXPECT_EQ(b->EnableAudioVolumeIndication(true, 100), code::kOk);
    std::this_thread::sleep_for(std::chrono::milliseconds(20 * round));
    for (int i = 0; i < 20; ++i) sender->SendCustomMessage("x", nullptr, nullptr);
    b->UnInit();
    const int calls = b.sink.callbackCount();
    std::this_thread::sleep_for(30ms);
    EXPECT_EQ(b.sink.callbackCount(), calls);
  }
}

TEST_F(MannersTest, DestroyWithoutUnInitIsSafe) {
  for (int round = 0; round < 5; ++round) {
    RecordingSink sink;
    KavrinConferenceEngine* engine = KavrinConferenceEngine::CreateConfEngine(&sink);
    engine->SetRootHost(host.c_str());
    std::atomic<int> completions{0};
    engine->Init("a", "", "", [&](std::int32_t) { ++completions; });
    sink.waitUntil([&] { return engine->JoinRoom("room") == code::kOk; });
    engine->EnablePublish(true, true);
    engine->StartPreview();
    engine->SendCustomMessage("x", "a", [&](std::int32_t, const char*) { ++completions; });
    KavrinConferenceEngine::DestroyConfEngine(engine);
    EXPECT_EQ(completions, 2);
  }
}

TEST_F(MannersTest, UnInitReturnsWithinTwoSecondsEvenWhenACallbackHangs) {
  Member& a = add("a");
  std::promise<void> release;
  auto released = release.get_future().share();
  std::atomic<bool> hanging{false};
  auto b = std::make_unique<Member>("b", host);
  b->sink.during = [&](const Event& event) {
    if (event.name != "CustomMessage") return;
    hanging = true;
    released.wait();
  };
  b->join();
  EXPECT_EQ((*b)->EnablePublish(true, true), code::kOk);
  ASSERT_TRUE(a.sink.waitUserState("b", user_state::kJoined));
  EXPECT_EQ(a.send("hang", "b"), code::kOk);
  ASSERT_TRUE(b->sink.waitUntil([&] { return hanging.load(); }));
  std::promise<int> pending;
  (*b)->SendCustomMessage("x", "a",
                          [&](std::int32_t code, const char*) { pending.set_value(code); });
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ((*b)->UnInit(), code::kOk);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);
  EXPECT_EQ(pending.get_future().get(), code::kCancelled);
  const int calls = b->sink.callbackCount();
  release.set_value();
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(b->sink.callbackCount(), calls);
}

TEST_F(MannersTest, UnInitFromACallbackWorks) {
  std::atomic<int> result{-1};
  Member b("b", host);
  b.sink.during = [&](const Event& event) {
    if (event.name == "RoomStateChange" && event.numbers[0] == room_state::kJoined) {
      result = b->UnInit();
    }
  };
  ASSERT_EQ(b.login(), code::kOk);
  EXPECT_EQ(b->JoinRoom("room"), code::kOk);
  EXPECT_TRUE(b.sink.waitUntil([&] { return result == code::kOk; }));
  const int calls = b.sink.callbackCount();
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(b.sink.callbackCount(), calls);
}

TEST_F(MannersTest, DestructionFromACallbackWorks) {
  auto sink = std::make_unique<RecordingSink>();
  KavrinConferenceEngine* engine = KavrinConferenceEngine::CreateConfEngine(sink.get());
  std::promise<void> destroyed;
  sink->during = [&](const Event& event) {
    if (event.name == "RoomStateChange" && event.numbers[0] == room_state::kJoined) {
      KavrinConferenceEngine::DestroyConfEngine(engine);
      destroyed.set_value();
    }
  };
  engine->Init("a", "", "", [&](std::int32_t) { engine->JoinRoom("destruction"); });
  EXPECT_EQ(destroyed.get_future().wait_for(kPatience), std::future_status::ready);
  std::this_thread::sleep_for(50ms);
}

TEST_F(MannersTest, EveryOperationMayBeCalledFromACallback) {
  add("a");
  std::atomic<int> rounds{0};
  Member b("b", host);
  b.sink.during = [&](const Event& event) {
    if (event.name != "RoomStateChange" || event.numbers[0] != room_state::kJoined) return;
    b->EnablePublish(true, true);
    b->EnableSubscribe(true, true);
    b->StartPreview();
    b->GetRoomAttendees();
    b->MuteAudio("", true);
    b->SendCustomMessage("from a callback", nullptr, nullptr);
    b->CreateDataChannel();
    b->SubscribeData("room/members");
    b->TakeSnapshot("b", 0, "/nowhere/x.png");
    b->StopPreview();
    if (++rounds < 3) {
      b->LeaveRoom();
      b->JoinRoom("room");
    }
  };
  ASSERT_EQ(b.login(), code::kOk);
  EXPECT_EQ(b->JoinRoom("room"), code::kOk);
  EXPECT_TRUE(b.sink.waitUntil([&] { return rounds == 3; }));
}

TEST_F(MannersTest, CompletionsMayCallBackIntoTheEngine) {
  Member a("a", host);
  std::promise<int> joined;
  a->Init("a", "A", "", [&](std::int32_t code) {
    EXPECT_EQ(code, code::kOk);
    a->EnableExternalRender(true);
    joined.set_value(a->JoinRoom("room"));
  });
  EXPECT_EQ(joined.get_future().get(), code::kOk);
}

TEST_F(MannersTest, ManyThreadsAtOnce) {
  add("other");
  Member b("b", host);
  b.join();
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  const auto repeat = [&](auto operation) {
    threads.emplace_back([&stop, operation] {
      while (!stop) operation();
    });
  };
  repeat([&] { b->EnablePublish(true, true), b->EnablePublish(false, false); });
  repeat([&] { EXPECT_LE(b->GetRoomAttendees().size(), 2u); });
  repeat([&] { b->LeaveRoom(), b->JoinRoom("room"); });
  repeat([&] { b->StartPreview(), b->StopPreview(); });
  repeat([&] {
    b->SendCustomMessage("x", nullptr, nullptr);
    std::this_thread::sleep_for(1ms);
  });
  std::this_thread::sleep_for(1500ms);
  stop = true;
  for (std::thread& thread : threads) thread.join();
}

// A list given to one thread is not taken away by another thread's call.
TEST_F(MannersTest, AttendeeListsBelongToTheThreadThatAsked) {
  Member& a = add("a");
  const auto& mine = a->GetRoomAttendees();
  add("b");
  std::thread([&] { EXPECT_EQ(a->GetRoomAttendees().size(), 2u); }).join();
  EXPECT_EQ(mine.size(), 1u);
  EXPECT_STREQ(mine[0].m_pUserId, "a");
}

TEST_F(MannersTest, RecordsCopyDeeply) {
  KavrinConferenceEngineUser user("name", "id", nullptr);
  KavrinConferenceEngineUser copy(user);
  KavrinConferenceEngineUser assigned;
  assigned = copy;
  assigned = *&assigned;
  EXPECT_STREQ(assigned.m_pUserName, "name");
  EXPECT_NE(assigned.m_pUserId, user.m_pUserId);
  EXPECT_EQ(assigned.m_pUserExtInfo, nullptr);
  KavrinConferenceEngineInfo info;
  info.AddUser(user);
  KavrinConferenceEngineInfo other(info);
  other = info;
  EXPECT_EQ(other.UserCount(), 1);
  EXPECT_STREQ(other.UserAt(0).m_pUserName, "name");
}

}  // namespace
}  // namespace kavrin::conference_tests
