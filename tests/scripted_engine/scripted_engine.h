// An engine without a conference: it notes every call and answers what the tests told it.
//
// Threads: operations on any thread, except GetRoomAttendees, whose list belongs to the calling
// thread until the next call. After UnInit no callback of this engine is under way, unless a test
// asked for a late one.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "engine/engine_interface.h"
#include "tests/scripted_engine/live_objects.h"
#include "tests/scripted_engine/scenario.h"

namespace kavrin::scripted {

class ScriptedEngine final : public KavrinConferenceEngine {
 public:
  explicit ScriptedEngine(KavrinConferenceEngineEvent* sink);
  ~ScriptedEngine() noexcept(false);  // as an engine that runs out of memory
  ScriptedEngine(const ScriptedEngine&) = delete;
  ScriptedEngine& operator=(const ScriptedEngine&) = delete;

  void Reserved0() override;
  void SetLogFilePath(const char* folder) override;
  void SetRootHost(const char* rootHost) override;
  void Init(const char* userId, const char* name, const char* password,
            InitCompletion completion) override;
  std::int32_t UnInit() override;
  std::int32_t SetUserExtendedInfo(const char* info) override;
  std::int32_t EnablePublish(bool audio, bool video) override;
  std::int32_t EnableSubscribe(bool audio, bool video) override;
  std::int32_t EnableExternalRender(bool enable) override;
  std::int32_t EnumAudioCaptureDevice(AudioDevices& devices) override;
  std::int32_t EnumSpeakerDevice(AudioDevices& devices) override;
  std::int32_t EnumCameraDevice(CameraDevices& devices) override;
  std::int32_t EnumScreenAndWindow(ShareSources& sources) override;
  std::int32_t SetReconnectResumedMediaType(bool audio, bool video, bool share) override;
  std::int32_t SetAudioCaptureDevice(std::int32_t id) override;
  std::int32_t SetSpeakerDevice(std::int32_t id) override;
  std::int32_t GetAudioCaptureDeviceVolume(std::int32_t* volume) override;
  std::int32_t SetAudioCaptureDeviceVolume(std::int32_t volume) override;
  std::int32_t GetSpeakerDeviceVolume(std::int32_t* volume) override;
  std::int32_t SetSpeakerDeviceVolume(std::int32_t volume) override;
  std::int32_t StartSpeakerDeviceTest(const char* soundFile) override;
  std::int32_t StopSpeakerDeviceTest() override;
  std::int32_t StartAudioDeviceLoopbackTest(std::int32_t interval) override;
  std::int32_t StopAudioDeviceLoopbackTest() override;
  std::int32_t SetVideoQuality(std::int32_t quality) override;
  std::int32_t SetCameraDevice(const VideoOption& option) override;
  void Reserved26() override;
  std::int32_t StartPreview() override;
  std::int32_t StopPreview() override;
  std::int32_t SetRemoteDefaultVideoStreamType(const std::int32_t& streamType) override;
  std::int32_t EnableDualStreamMode(bool enable) override;
  std::int32_t SetRemoteVideoStreamType(const char* userId,
                                        const std::int32_t& streamType) override;
  std::int32_t EnableAINSMode(bool enable) override;
  std::int32_t JoinRoom(const char* roomId) override;
  std::int32_t LeaveRoom() override;
  std::int32_t SetScreenShareSceneMode(const std::int32_t& mode) override;
  std::int32_t UpdateScreenShareSrcInfo(const VideoOption& option) override;
  std::int32_t StartScreenShare(const VideoOption& option) override;
  std::int32_t StopScreenShare() override;
  std::int32_t EnablePublishAudioStream(bool enable) override;
  std::int32_t EnablePublishVideoStream(bool enable) override;
  std::int32_t EnableSubscribeAudioStream(const char* userId, bool enable) override;
  std::int32_t EnableSubscribeVideoStream(const char* userId, bool enable,
                                          bool cameraStream) override;
  std::int32_t EnableLoopbackRecording(bool enable) override;
  std::int32_t EnableAudioVolumeIndication(bool enable, std::int32_t cycleMs) override;
  std::int32_t TakeSnapshot(const char* userId, std::int32_t srcType,
                            const char* filePath) override;
  std::int32_t MuteAudio(const char* userId, bool enable) override;
  std::int32_t MuteVideo(const char* userId, bool enable) override;
  std::int32_t KickOut(const char* userId) override;
  std::int32_t MuteRoom(bool enable) override;
  std::int32_t CloseRoom() override;
  const Users& GetRoomAttendees() override;
  void GetRoomInfo(KavrinConferenceEngineInfo& info) override;
  void SendCustomMessage(const char* msg, const char* toUser,
                         MessageCompletion completion) override;
  std::int32_t CreateDataChannel() override;
  std::int32_t SubscribeData(const char* topic) override;
  std::int32_t UnsubscribeData(const char* topic) override;
  std::int32_t DeleteDataChannel() override;

 private:
  // Notes a call with its arguments and returns the result that the scenario has for it.
  template <typename... Arguments>
  std::int32_t call(const char* operation, const Arguments&... arguments);

  std::int32_t getVolume(const char* operation, std::int32_t* volume);

  std::shared_ptr<EngineSlot> slot_;
  Users attendees_;
  // Operations under way. Each writes here at its end, so that sanitizers find an engine that went
  // away before.
  std::atomic<std::int64_t> inside_{0};
  LiveToken live_{liveObjects().engines};
};

}  // namespace kavrin::scripted
