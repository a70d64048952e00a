#include "bridge/records.h"

#include <gtest/gtest.h>

#include <cstring>

#include "tests/unit/fake_node_api/script_environment.h"
#include "tests/unit/support/log_capture.h"

namespace kv_engine {
namespace {

using namespace Kavrin::ConferenceEngine;
using kavrin::fake::ScriptEnvironment;
using kavrin::fake::show;

// A record of an engine library, made byte by byte at the offsets of the binary contract.
template <typename Record>
class RawRecord {
 public:
  template <typename Field>
  RawRecord& put(std::size_t offset, Field value) {
    std::memcpy(bytes_ + offset, &value, sizeof value);
    return *this;
  }
  RawRecord& text(std::size_t offset, const char* value) {
    std::memcpy(bytes_ + offset, value, std::strlen(value) + 1);
    return *this;
  }
  const Record& get() const { return *reinterpret_cast<const Record*>(bytes_); }

 private:
  alignas(Record) unsigned char bytes_[sizeof(Record)] = {};
};

RawRecord<AudioDeviceInfo> audioDevice() {
  RawRecord<AudioDeviceInfo> record;
  record.put(0, std::int32_t{3}).text(4, "guid-3").text(260, "Mic");
  return record.put(516, std::uint8_t{0x80}).put(520, std::int32_t{-2});
}

RawRecord<ScreenShareDeviceInfo> shareSource(const unsigned char* thumbnail, std::int32_t length) {
  RawRecord<ScreenShareDeviceInfo> record;
  record.put(0, std::int32_t{7}).put(4, std::int32_t{1}).text(8, "nowhere");
  record.put(264, std::uint16_t{16}).put(266, std::uint16_t{65535});
  return record.put(272, thumbnail).put(280, length);
}

KavrinConferenceEngineUser user() {
  KavrinConferenceEngineUser made("Ann", "a1", "extra");
  made.m_audioState = 1;
  made.m_cameraState = 2;
  made.m_screenShareState = 255;
  return made;
}

class RecordsTest : public ::testing::Test {
 protected:
  napi_value list(const std::vector<ScreenShareDeviceInfo>& sources) {
    return convertScreenShareDeviceInfoVerctor(&env, logger, sources);
  }

  kavrin::testing::LogCapture log;
  kavrin::Logger logger;
  ScriptEnvironment env;
};

TEST_F(RecordsTest, AudioDevice) {
  EXPECT_EQ(show(convertAudioDeviceInfo(&env, audioDevice().get())),
            R"({"id":3,"guid":"guid-3","name":"Mic","type":-2,"isSystemDefault":1})");
}

TEST_F(RecordsTest, ASystemDefaultIsOneForAnyByteButZero) {
  auto record = audioDevice();
  for (const int byte : {1, 2, 255}) {
    record.put(516, static_cast<std::uint8_t>(byte));
    EXPECT_EQ(convertAudioDeviceInfo(&env, record.get())->find("isSystemDefault")->value->number,
              1);
  }
  record.put(516, std::uint8_t{0});
  EXPECT_EQ(show(convertAudioDeviceInfo(&env, record.get())->find("isSystemDefault")->value), "0");
}

TEST_F(RecordsTest, CameraDevice) {
  RawRecord<CameraDeviceInfo> record;
  record.put(0, std::int32_t{1}).text(4, "Cam").text(260, "guid-1");
  EXPECT_EQ(show(convertCameraDeviceInfo(&env, record.get())),
            R"({"id":1,"guid":"guid-1","name":"Cam"})");
}

TEST_F(RecordsTest, DeviceTextsEndAtTheirFieldWhenTheyLackANul) {
  RawRecord<CameraDeviceInfo> record;
  record.put(0, std::int32_t{1}).text(260, "guid");
  for (std::size_t i = 4; i < 260; ++i) record.put(i, 'x');
  EXPECT_EQ(convertCameraDeviceInfo(&env, record.get())->find("name")->value->text,
            std::string(256, 'x'));
}

TEST_F(RecordsTest, SingleShareSource) {
  const unsigned char thumbnail[] = {1, 2, 3};
  EXPECT_EQ(show(convertScreenShareDeviceInfo(&env, shareSource(thumbnail, 3).get())),
            R"({"id":7,"type":1,"name":"nowhere","thumbnailWidth":16,"thumbnailHeight":65535,)"
            R"("thumbnailData":<Buffer 01 02 03>,"thumbnailDataLength":3})");
}

TEST_F(RecordsTest, AShareSourceWithoutAThumbnailKeepsItsLength) {
  EXPECT_EQ(show(convertScreenShareDeviceInfo(&env, shareSource(nullptr, 0).get())),
            R"({"id":7,"type":1,"name":"nowhere","thumbnailWidth":16,"thumbnailHeight":65535,)"
            R"("thumbnailDataLength":0})");
}

TEST_F(RecordsTest, AThumbnailLengthWithoutBytesIsNotRead) {
  EXPECT_EQ(show(convertScreenShareDeviceInfo(&env, shareSource(nullptr, 5).get())),
            R"({"id":7,"type":1,"name":"nowhere","thumbnailWidth":16,"thumbnailHeight":65535,)"
            R"("thumbnailDataLength":5})");
  const unsigned char byte = 1;
  EXPECT_EQ(convertScreenShareDeviceInfo(&env, shareSource(&byte, -1).get())->find("thumbnailData"),
            nullptr);
}

TEST_F(RecordsTest, User) {
  EXPECT_EQ(show(convertUser(&env, user())),
            R"({"m_pUserName":"Ann","m_pUserId":"a1","m_audioState":1,"m_cameraState":2,)"
            R"("m_screenShareState":255,"m_pUserExtInfo":"extra"})");
}

TEST_F(RecordsTest, AbsentTextsOfAUserAreEmpty) {
  EXPECT_EQ(show(convertUser(&env, KavrinConferenceEngineUser())),
            R"({"m_pUserName":"","m_pUserId":"","m_audioState":0,"m_cameraState":0,)"
            R"("m_screenShareState":0,"m_pUserExtInfo":""})");
}

TEST_F(RecordsTest, RoomState) {
  KavrinConferenceEngineInfo info;
  info.m_conferenceState = 1;
  info.m_audioState = -2;
  info.m_videoState = 3;
  info.m_shareState = 4;
  info.m_roomId = std::string("room\0hidden", 11);
  EXPECT_EQ(show(convertRoomState(&env, info)),
            R"({"m_conferenceState":1,"m_audioState":-2,"m_videoState":3,"m_shareState":4,)"
            R"("m_roomId":"room"})");
}

TEST_F(RecordsTest, RoomIdentity) {
  EXPECT_EQ(show(convertRoomIdentity(&env, ConfRoom{"r", "u"})),
            R"({"m_roomId":"r","m_localUid":"u"})");
}

TEST_F(RecordsTest, FrameInformation) {
  RawRecord<FrameInfo> record;
  record.put(0, std::int32_t{-3}).put(4, std::int32_t{64}).put(8, std::int32_t{63});
  record.put(12, std::int32_t{48}).put(16, std::int32_t{90});
  EXPECT_EQ(show(convertFrameInfo(&env, record.get())),
            R"({"ret":-3,"width":63,"height":48,"yStride":64,"rotation":90})");
}

TEST_F(RecordsTest, ListsAreArraysOfTheirRecords) {
  const std::vector<AudioDeviceInfo> devices(2, audioDevice().get());
  napi_value made = convertList(&env, devices, convertAudioDeviceInfo);
  ASSERT_TRUE(made->isArray);
  ASSERT_EQ(made->elements.size(), 2u);
  EXPECT_EQ(made->elements[1]->find("name")->value->text, "Mic");
  EXPECT_EQ(show(convertList(&env, std::vector<AudioDeviceInfo>(), convertAudioDeviceInfo)), "[]");
}

TEST_F(RecordsTest, ListedShareSourcesPutTheirNameLast) {
  const unsigned char thumbnail[] = {9};
  EXPECT_EQ(show(list({shareSource(thumbnail, 1).get(), shareSource(nullptr, 0).get()})),
            R"([{"id":7,"type":1,"thumbnailWidth":16,"thumbnailHeight":65535,)"
            R"("thumbnailData":<Buffer 09>,"thumbnailDataLength":1,"name":"nowhere"},)"
            R"({"id":7,"type":1,"thumbnailWidth":16,"thumbnailHeight":65535,)"
            R"("thumbnailDataLength":0,"name":"nowhere"}])");
  EXPECT_TRUE(log.lines().empty());
}

// --- Failing Node-API calls ----------------------------------------------------------------------

TEST_F(RecordsTest, EachFailingCallThrowsItsText) {
  const unsigned char thumbnail[] = {1};
  const auto record = shareSource(thumbnail, 1);
  const std::pair<const char*, const char*> rows[] = {
      {"napi_create_int32", "setNObjectProperty:napi_create_int32 error!"},
      {"napi_create_string_utf8", "strToNValue error!"},
      {"napi_create_buffer_copy", "setNObjectProperty:napi_create_buffer error!"},
      {"napi_set_property", "setNObjectProperty:napi_set_property error!"},
  };
  for (const auto& [function, text] : rows) {
    int walked = 0;
    for (int nth = 1;; ++nth) {
      env.faults.fail(function, nth);
      napi_value made = convertScreenShareDeviceInfo(&env, record.get());
      ASSERT_NE(made, nullptr);  // the builder goes on
      if (!env.faults.happened(function)) break;
      EXPECT_EQ(env.takeException(), std::string("Error: ") + text) << function << " " << nth;
      ++walked;
    }
    EXPECT_GE(walked, 1) << function;
    env.faults.clear();
  }
}

TEST_F(RecordsTest, AFailedKeyLeavesItsPropertyOut) {
  env.faults.fail("napi_create_string_utf8", 1);  // the key "id"
  napi_value made = convertCameraDeviceInfo(&env, RawRecord<CameraDeviceInfo>().get());
  EXPECT_EQ(env.takeException(), "Error: strToNValue error!");
  EXPECT_EQ(made->find("id"), nullptr);
}

TEST_F(RecordsTest, OnlyTheFirstOfSeveralErrorsIsPending) {
  env.faults.failAlways("napi_create_int32");
  convertAudioDeviceInfo(&env, audioDevice().get());
  EXPECT_EQ(env.takeException(), "Error: setNObjectProperty:napi_create_int32 error!");
  EXPECT_GE(env.faults.calls("napi_create_int32"), 3);  // id, type, isSystemDefault
}

TEST_F(RecordsTest, AnObjectThatCannotBeCreatedEndsTheBuilder) {
  const auto check = [&](napi_value made) {
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(env.takeException(), "Error: napi_create_object error!");
    EXPECT_EQ(env.faults.calls("napi_create_int32"), 0);
    EXPECT_EQ(env.faults.calls("napi_create_string_utf8"), 0);
  };
  env.faults.failAlways("napi_create_object");
  check(convertAudioDeviceInfo(&env, audioDevice().get()));
  check(convertCameraDeviceInfo(&env, RawRecord<CameraDeviceInfo>().get()));
  check(convertScreenShareDeviceInfo(&env, shareSource(nullptr, 0).get()));
  check(convertUser(&env, user()));
  check(convertRoomState(&env, KavrinConferenceEngineInfo()));
  check(convertRoomIdentity(&env, ConfRoom()));
  check(convertFrameInfo(&env, FrameInfo()));
}

}  // namespace
}  // namespace kv_engine
