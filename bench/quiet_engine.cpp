#include "bench/quiet_engine.h"

#include <atomic>

namespace kavrin::bench {
namespace {

std::atomic<KavrinConferenceEngineEvent*> sinkOfNewest{nullptr};

class QuietEngine final : public KavrinConferenceEngine {
 public:
  void Reserved0() override {}
  void SetLogFilePath(const char*) override {}
  void SetRootHost(const char*) override {}
  void Init(const char*, const char*, const char*, InitCompletion completion) override {
    completion(0);
  }
  std::int32_t UnInit() override { return 0; }
  std::int32_t SetUserExtendedInfo(const char*) override { return 0; }
  std::int32_t EnablePublish(bool, bool) override { return 0; }
  std::int32_t EnableSubscribe(bool, bool) override { return 0; }
  std::int32_t EnableExternalRender(bool) override { return 0; }
  std::int32_t EnumAudioCaptureDevice(AudioDevices&) override { return 0; }
  std::int32_t EnumSpeakerDevice(AudioDevices&) override { return 0; }
  std::int32_t EnumCameraDevice(CameraDevices&) override { return 0; }
  std::int32_t EnumScreenAndWindow(ShareSources&) override { return 0; }
  std::int32_t SetReconnectResumedMediaType(bool, bool, bool) override { return 0; }
  std::int32_t SetAudioCaptureDevice(std::int32_t) override { return 0; }
  std::int32_t SetSpeakerDevice(std::int32_t) override { return 0; }
  std::int32_t GetAudioCaptureDeviceVolume(std::int32_t*) override { return 0; }
  std::int32_t SetAudioCaptureDeviceVolume(std::int32_t) override { return 0; }
  std::int32_t GetSpeakerDeviceVolume(std::int32_t*) override { return 0; }
  std::int32_t SetSpeakerDeviceVolume(std::int32_t) override { return 0; }
  std::int32_t StartSpeakerDeviceTest(const char*) override { return 0; }
  std::int32_t StopSpeakerDeviceTest() override { return 0; }
  std::int32_t StartAudioDeviceLoopbackTest(std::int32_t) override { return 0; }
  std::int32_t StopAudioDeviceLoopbackTest() override { return 0; }
  std::int32_t SetVideoQuality(std::int32_t) override { return 0; }
  std::int32_t SetCameraDevice(const VideoOption&) override { return 0; }
  void Reserved26() override {}
  std::int32_t StartPreview() override { return 0; }
  std::int32_t StopPreview() override { return 0; }
  std::int32_t SetRemoteDefaultVideoStreamType(const std::int32_t&) override { return 0; }
  std::int32_t EnableDualStreamMode(bool) override { return 0; }
  std::int32_t SetRemoteVideoStreamType(const char*, const std::int32_t&) override { return 0; }
  std::int32_t EnableAINSMode(bool) override { return 0; }
  std::int32_t JoinRoom(const char*) override { return 0; }
  std::int32_t LeaveRoom() override { return 0; }
  std::int32_t SetScreenShareSceneMode(const std::int32_t&) override { return 0; }
  std::int32_t UpdateScreenShareSrcInfo(const VideoOption&) override { return 0; }
  std::int32_t StartScreenShare(const VideoOption&) override { return 0; }
  std::int32_t StopScreenShare() override { return 0; }
  std::int32_t EnablePublishAudioStream(bool) override { return 0; }
  std::int32_t EnablePublishVideoStream(bool) override { return 0; }
  std::int32_t EnableSubscribeAudioStream(const char*, bool) override { return 0; }
  std::int32_t EnableSubscribeVideoStream(const char*, bool, bool) override { return 0; }
  std::int32_t EnableLoopbackRecording(bool) override { return 0; }
  std::int32_t EnableAudioVolumeIndication(bool, std::int32_t) override { return 0; }
  std::int32_t TakeSnapshot(const char*, std::int32_t, const char*) override { return 0; }
  std::int32_t MuteAudio(const char*, bool) override { return 0; }
  std::int32_t MuteVideo(const char*, bool) override { return 0; }
  std::int32_t KickOut(const char*) override { return 0; }
  std::int32_t MuteRoom(bool) override { return 0; }
  std::int32_t CloseRoom() override { return 0; }
  const Users& GetRoomAttendees() override { return nobody_; }
  void GetRoomInfo(KavrinConferenceEngineInfo&) override {}
  void SendCustomMessage(const char*, const char*, MessageCompletion completion) override {
    completion(0, "");
  }
  std::int32_t CreateDataChannel() override { return 0; }
  std::int32_t SubscribeData(const char*) override { return 0; }
  std::int32_t UnsubscribeData(const char*) override { return 0; }
  std::int32_t DeleteDataChannel() override { return 0; }

 private:
  Users nobody_;
};

}  // namespace

KavrinConferenceEngineEvent* newestSink() { return sinkOfNewest; }

}  // namespace kavrin::bench

KavrinConferenceEngine* KavrinConferenceEngine::CreateConfEngine(
    KavrinConferenceEngineEvent* sink) {
  kavrin::bench::sinkOfNewest = sink;
  return new kavrin::bench::QuietEngine;
}

void KavrinConferenceEngine::DestroyConfEngine(KavrinConferenceEngine* engine) {
  delete static_cast<kavrin::bench::QuietEngine*>(engine);
}

void KavrinConferenceEngine::GetSDKVersion(char*, std::uint16_t) {}
