#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/conference/member.h"

namespace kavrin::conference_tests {
namespace {

class DeviceTest : public RoomTest {
 protected:
  // A second of a 440 Hz tone as WAV.
  static std::string writeTone() {
    const std::string path =
        (std::filesystem::temp_directory_path() /
         ("tone-" + std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()) +
          ".wav"))
            .string();
    constexpr int kRate = 16000;
    std::ofstream file(path, std::ios::binary);
    const auto number = [&](std::uint32_t value, int bytes) {
      for (int i = 0; i < bytes; ++i) file.put(static_cast<char>(value >> (8 * i)));
    };
    file << "RIFF";
    number(36 + kRate * 2, 4);
    file << "WAVEfmt ";
    number(16, 4);
    number(1, 2);
    number(1, 2);
    number(kRate, 4);
    number(kRate * 2, 4);
    number(2, 2);
    number(16, 2);
    file << "data";
    number(kRate * 2, 4);
    for (int i = 0; i < kRate; ++i) {
      number(static_cast<std::uint16_t>(std::lround(12000 * std::sin(i * 2764.6 / kRate))), 2);
    }
    return path;
  }
  // Ends the process while one of its threads starts a sound file.
  [[noreturn]] static void endWhileSoundStarts(std::chrono::milliseconds delay) {
    // Never destroyed, because the thread goes on while the process ends.
    static const std::string& path = *new std::string(writeTone());
    static Member& member = *new Member("a", uniqueHost());
    std::atexit([] { std::remove(path.c_str()); });
    std::thread([] { member->StartSpeakerDeviceTest(path.c_str()); }).detach();
    std::this_thread::sleep_for(delay);
    std::exit(0);
  }
  static bool waitSpeaker(Member& at, int state) {
    return at.sink.waitEvent([&](const Event& event) {
      return event.name == "AudioDeviceStateChange" &&
             event.numbers == std::vector<long long>{2, state};
    });
  }
};

TEST_F(DeviceTest, GeneratedDevicesSayWhatTheyAre) {
  Member a("a", host);
  KavrinConferenceEngine::AudioDevices microphones, speakers;
  KavrinConferenceEngine::CameraDevices cameras;
  EXPECT_EQ(a->EnumAudioCaptureDevice(microphones), code::kOk);
  EXPECT_EQ(a->EnumSpeakerDevice(speakers), code::kOk);
  EXPECT_EQ(a->EnumCameraDevice(cameras), code::kOk);
  ASSERT_EQ(microphones.size(), 2u);
  ASSERT_EQ(speakers.size(), 1u);
  ASSERT_EQ(cameras.size(), 2u);
  EXPECT_STREQ(microphones[0].name, "Test tone (generated)");
  EXPECT_STREQ(cameras[0].name, "Test pattern: moving ball (generated)");
  EXPECT_STREQ(speakers[0].name, "Null speaker (sound is discarded)");
  EXPECT_EQ(microphones[0].isSystemDefault, 1);
  EXPECT_EQ(microphones[1].isSystemDefault, 0);
  EXPECT_EQ(microphones[0].type, 1);
  EXPECT_EQ(speakers[0].type, 2);
  EXPECT_STRNE(cameras[0].guid, cameras[1].guid);
}

TEST_F(DeviceTest, ChoosingAMicrophone) {
  Member a("a", host);
  EXPECT_EQ(a->SetAudioCaptureDevice(9), code::kNoSuchDevice);
  EXPECT_EQ(a->SetAudioCaptureDevice(1), code::kOk);
  EXPECT_TRUE(a.sink.waitEvent([](const Event& event) {
    return event.name == "AudioDefaultDeviceChanged" && event.numbers[0] == 1;
  }));
  KavrinConferenceEngine::AudioDevices microphones;
  EXPECT_EQ(a->EnumAudioCaptureDevice(microphones), code::kOk);
  EXPECT_EQ(microphones[1].isSystemDefault, 1);
  EXPECT_EQ(a->SetSpeakerDevice(0), code::kOk);
  EXPECT_EQ(a->SetSpeakerDevice(1), code::kNoSuchDevice);
}

TEST_F(DeviceTest, Volumes) {
  Member a("a", host);
  std::int32_t volume = -1;
  EXPECT_EQ(a->GetAudioCaptureDeviceVolume(&volume), code::kOk);
  EXPECT_EQ(volume, 80);
  EXPECT_EQ(a->SetAudioCaptureDeviceVolume(0), code::kOk);
  EXPECT_TRUE(a.sink.waitEvent([](const Event& event) {
    return event.name == "AudioDeviceVolumeChanged" &&
           event.numbers == std::vector<long long>{1, 0, 1};
  }));
  EXPECT_EQ(a->GetAudioCaptureDeviceVolume(&volume), code::kOk);
  EXPECT_EQ(volume, 0);
  EXPECT_EQ(a->SetSpeakerDeviceVolume(55), code::kOk);
  EXPECT_TRUE(a.sink.waitEvent([](const Event& event) {
    return event.name == "AudioDeviceVolumeChanged" &&
           event.numbers == std::vector<long long>{2, 55, 0};
  }));
  EXPECT_EQ(a->GetSpeakerDeviceVolume(&volume), code::kOk);
  EXPECT_EQ(volume, 55);
  for (const int wrong : {-1, 101, 2147483647}) {
    EXPECT_EQ(a->SetAudioCaptureDeviceVolume(wrong), code::kInvalidArgument);
    EXPECT_EQ(a->SetSpeakerDeviceVolume(wrong), code::kInvalidArgument);
  }
  EXPECT_EQ(a->GetSpeakerDeviceVolume(nullptr), code::kInvalidArgument);
}

TEST_F(DeviceTest, MicrophoneStatesAreReported) {
  Member& a = add("a");
  Member& b = add("b");
  EXPECT_EQ(a->EnablePublish(true, false), code::kOk);
  EXPECT_TRUE(a.sink.waitEvent([](const Event& event) {
    return event.name == "AudioDeviceStateChange" && event.numbers == std::vector<long long>{1, 1};
  }));
  EXPECT_EQ(b->LeaveRoom(), code::kOk);
  EXPECT_TRUE(a.sink.waitEvent([](const Event& event) {
    return event.name == "AudioDeviceStateChange" && event.numbers == std::vector<long long>{1, 2};
  }));
}

TEST_F(DeviceTest, LoopbackTestMeasuresMicrophoneAndSpeaker) {
  Member a("a", host);
  EXPECT_EQ(a->StartAudioDeviceLoopbackTest(200), code::kNotLoggedIn);
  ASSERT_EQ(a.login(), code::kOk);
  EXPECT_EQ(a->StartAudioDeviceLoopbackTest(0), code::kInvalidArgument);
  EXPECT_EQ(a->StopAudioDeviceLoopbackTest(), code::kNotRunning);
  EXPECT_EQ(a->SetSpeakerDeviceVolume(20), code::kOk);
  EXPECT_EQ(a->StartAudioDeviceLoopbackTest(200), code::kOk);
  EXPECT_EQ(a->StartAudioDeviceLoopbackTest(200), code::kAlreadyRunning);
  EXPECT_TRUE(a.sink.waitUntil([&] {
    const auto volumes = a.sink.volumes();
    if (volumes.empty()) return false;
    Volumes last = volumes.back();
    return last["microphone"] > 50 && last["speaker"] > 30 && last["speaker"] < last["microphone"];
  }));
  EXPECT_EQ(a->JoinRoom("room"), code::kAlreadyRunning);
  EXPECT_EQ(a->StopAudioDeviceLoopbackTest(), code::kOk);
  a.join();
  EXPECT_EQ(a->StartAudioDeviceLoopbackTest(200), code::kAlreadyInRoom);
}

TEST_F(DeviceTest, SpeakerTestPlaysAFileToItsEnd) {
  Member a("a", host);
  const std::string path = writeTone();
  EXPECT_EQ(a->StopSpeakerDeviceTest(), code::kNotRunning);
  EXPECT_EQ(a->StartSpeakerDeviceTest(path.c_str()), code::kOk);
  EXPECT_EQ(a->StartSpeakerDeviceTest(path.c_str()), code::kAlreadyRunning);
  EXPECT_TRUE(waitSpeaker(a, 1));
  EXPECT_TRUE(waitSpeaker(a, 2));
  bool loud = false;
  for (Volumes volumes : a.sink.volumes()) loud = loud || volumes["speaker"] > 40;
  EXPECT_TRUE(loud);
  EXPECT_EQ(a->StopSpeakerDeviceTest(), code::kNotRunning);
  EXPECT_EQ(a->StartSpeakerDeviceTest(path.c_str()), code::kOk);
  EXPECT_EQ(a->StopSpeakerDeviceTest(), code::kOk);
  std::remove(path.c_str());
}

TEST_F(DeviceTest, SpeakerTestRefusesWhatIsNoSound) {
  Member a("a", host);
  EXPECT_EQ(a->StartSpeakerDeviceTest(nullptr), code::kInvalidArgument);
  EXPECT_EQ(a->StartSpeakerDeviceTest("/nowhere/at all.wav"), code::kFileError);
  const std::string path = writeTone();
  std::ofstream(path, std::ios::trunc) << "no sound at all, only words and words and words";
  EXPECT_EQ(a->StartSpeakerDeviceTest(path.c_str()), code::kFileError);
  std::remove(path.c_str());
}

TEST_F(DeviceTest, AProcessThatEndedWhileASoundFileStartedAborted) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const int delay : {1, 5, 20}) {
    EXPECT_EXIT(endWhileSoundStarts(std::chrono::milliseconds(delay)), ::testing::ExitedWithCode(0),
                "");
  }
}

TEST_F(DeviceTest, LoopbackRecordingSendsWhatTheSystemPlays) {
  Member& a = add("a");
  Member& b = add("b");
  const std::string path = writeTone();
  EXPECT_EQ(a->SetAudioCaptureDeviceVolume(0), code::kOk);
  EXPECT_EQ(a->EnablePublish(true, false), code::kOk);
  EXPECT_EQ(a->EnableLoopbackRecording(true), code::kOk);
  EXPECT_EQ(b->EnableAudioVolumeIndication(true, 100), code::kOk);
  ASSERT_TRUE(a.sink.waitEvent([](const Event& event) {
    return event.name == "AudioDeviceStateChange" && event.numbers == std::vector<long long>{1, 1};
  }));
  EXPECT_EQ(a->StartSpeakerDeviceTest(path.c_str()), code::kOk);
  EXPECT_TRUE(b.sink.waitUntil([&] {
    const auto volumes = b.sink.volumes();
    return !volumes.empty() && volumes.back().count("a") && volumes.back().at("a") > 40;
  }));
  std::remove(path.c_str());
}

}  // namespace
}  // namespace kavrin::conference_tests
