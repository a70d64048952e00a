#include "conference/api/engine_object.h"

#include <utility>

#include "conference/base/text.h"

namespace kavrin::conference {
namespace {

// Runs an operation; the one place where exceptions become codes.
template <typename Operation>
std::int32_t answer(Operation&& operation) {
  try {
    return value(operation());
  } catch (...) {
    return value(Code::kInternal);
  }
}

}  // namespace

EngineObject::EngineObject(KavrinConferenceEngineEvent* sink, Environment environment)
    : sink_(sink),
      environment_(std::move(environment)),
      session_(Session::create(sink_, environment_)) {}

EngineObject::~EngineObject() { UnInit(); }

std::shared_ptr<Session> EngineObject::session() {
  MutexLock lock(mutex_);
  return session_;
}

std::shared_ptr<Session> EngineObject::freshSession() {
  MutexLock lock(mutex_);
  if (session_->stopped()) {
    session_ = Session::create(sink_, environment_);
    session_->setRootHost(rootHost_);
    session_->setLogFolder(logFolder_);
  }
  return session_;
}

void EngineObject::SetLogFilePath(const char* folder) {
  answer([&] {
    MutexLock lock(mutex_);
    logFolder_ = textOf(folder);
    session_->setLogFolder(logFolder_);
    return Code::kOk;
  });
}

void EngineObject::SetRootHost(const char* rootHost) {
  answer([&] {
    MutexLock lock(mutex_);
    rootHost_ = textOf(rootHost);
    session_->setRootHost(rootHost_);
    return Code::kOk;
  });
}

void EngineObject::Init(const char* userId, const char* name, const char* password,
                        InitCompletion completion) {
  answer([&] {
    freshSession()->init(textOf(userId), textOf(name), textOf(password),
                         [completion = std::move(completion)](Code code) {
                           if (completion) completion(value(code));
                         });
    return Code::kOk;
  });
}

std::int32_t EngineObject::UnInit() {
  return answer([&] {
    session()->stop();
    return Code::kOk;
  });
}

const KavrinConferenceEngine::Users& EngineObject::GetRoomAttendees() {
  Users users;
  answer([&] {
    for (const MemberRecord& member : session()->attendees()) users.push_back(userOf(member));
    return Code::kOk;
  });
  MutexLock lock(mutex_);
  Users& kept = attendees_[std::this_thread::get_id()];
  kept.swap(users);
  return kept;
}

void EngineObject::GetRoomInfo(KavrinConferenceEngineInfo& info) {
  answer([&] {
    session()->roomInfo(info);
    return Code::kOk;
  });
}

void EngineObject::SendCustomMessage(const char* msg, const char* toUser,
                                     MessageCompletion completion) {
  answer([&] {
    session()->sendMessage(textOf(msg), textOf(toUser),
                           [completion = std::move(completion)](Code code) {
                             if (completion) completion(value(code), codeText(code));
                           });
    return Code::kOk;
  });
}

std::int32_t EngineObject::EnablePublish(bool audio, bool video) {
  return answer([&] { return session()->enablePublish(audio, video); });
}

std::int32_t EngineObject::EnableSubscribe(bool audio, bool video) {
  return answer([&] { return session()->enableSubscribe(audio, video); });
}

std::int32_t EngineObject::EnableExternalRender(bool enable) {
  return answer([&] { return session()->enableExternalRender(enable); });
}

std::int32_t EngineObject::SetUserExtendedInfo(const char* info) {
  return answer([&] { return session()->setExtendedInfo(textOf(info)); });
}

std::int32_t EngineObject::EnumAudioCaptureDevice(AudioDevices& devices) {
  return answer([&] { return session()->listMicrophones(devices); });
}

std::int32_t EngineObject::EnumSpeakerDevice(AudioDevices& devices) {
  return answer([&] { return session()->listSpeakers(devices); });
}

std::int32_t EngineObject::EnumCameraDevice(CameraDevices& devices) {
  return answer([&] { return session()->listCameras(devices); });
}

std::int32_t EngineObject::EnumScreenAndWindow(ShareSources& sources) {
  return answer([&] { return session()->listShareSources(sources); });
}

std::int32_t EngineObject::SetReconnectResumedMediaType(bool audio, bool video, bool share) {
  return answer([&] { return session()->setReconnectResumedMedia(audio, video, share); });
}

std::int32_t EngineObject::SetAudioCaptureDevice(std::int32_t id) {
  return answer([&] { return session()->setMicrophone(id); });
}

std::int32_t EngineObject::SetSpeakerDevice(std::int32_t id) {
  return answer([&] { return session()->setSpeaker(id); });
}

std::int32_t EngineObject::GetAudioCaptureDeviceVolume(std::int32_t* volume) {
  if (volume == nullptr) return value(Code::kInvalidArgument);
  return answer([&] { return session()->microphoneVolume(*volume); });
}

std::int32_t EngineObject::SetAudioCaptureDeviceVolume(std::int32_t volume) {
  return answer([&] { return session()->setMicrophoneVolume(volume); });
}

std::int32_t EngineObject::GetSpeakerDeviceVolume(std::int32_t* volume) {
  if (volume == nullptr) return value(Code::kInvalidArgument);
  return answer([&] { return session()->speakerVolume(*volume); });
}

std::int32_t EngineObject::SetSpeakerDeviceVolume(std::int32_t volume) {
  return answer([&] { return session()->setSpeakerVolume(volume); });
}

std::int32_t EngineObject::StartSpeakerDeviceTest(const char* soundFile) {
  return answer([&] { return session()->startSpeakerTest(textOf(soundFile)); });
}

std::int32_t EngineObject::StopSpeakerDeviceTest() {
  return answer([&] { return session()->stopSpeakerTest(); });
}

std::int32_t EngineObject::StartAudioDeviceLoopbackTest(std::int32_t interval) {
  return answer([&] { return session()->startLoopbackTest(interval); });
}

std::int32_t EngineObject::StopAudioDeviceLoopbackTest() {
  return answer([&] { return session()->stopLoopbackTest(); });
}

std::int32_t EngineObject::SetVideoQuality(std::int32_t quality) {
  return answer([&] { return session()->setVideoQuality(quality); });
}

std::int32_t EngineObject::SetCameraDevice(const VideoOption& option) {
  return answer([&] { return session()->setCamera(option); });
}

std::int32_t EngineObject::StartPreview() {
  return answer([&] { return session()->startPreview(); });
}

std::int32_t EngineObject::StopPreview() {
  return answer([&] { return session()->stopPreview(); });
}

std::int32_t EngineObject::SetRemoteDefaultVideoStreamType(const std::int32_t& streamType) {
  return answer([&] { return session()->setRemoteDefaultStream(streamType); });
}

std::int32_t EngineObject::EnableDualStreamMode(bool enable) {
  return answer([&] { return session()->enableDualStream(enable); });
}

std::int32_t EngineObject::SetRemoteVideoStreamType(const char* userId,
                                                    const std::int32_t& streamType) {
  return answer([&] { return session()->setRemoteStream(textOf(userId), streamType); });
}

std::int32_t EngineObject::EnableAINSMode(bool enable) {
  return answer([&] { return session()->enableNoiseSuppression(enable); });
}

std::int32_t EngineObject::JoinRoom(const char* roomId) {
  return answer([&] { return session()->joinRoom(textOf(roomId)); });
}

std::int32_t EngineObject::LeaveRoom() {
  return answer([&] { return session()->leaveRoom(); });
}

std::int32_t EngineObject::SetScreenShareSceneMode(const std::int32_t& mode) {
  return answer([&] { return session()->setSceneMode(mode); });
}

std::int32_t EngineObject::UpdateScreenShareSrcInfo(const VideoOption& option) {
  return answer([&] { return session()->updateShare(option); });
}

std::int32_t EngineObject::StartScreenShare(const VideoOption& option) {
  return answer([&] { return session()->startShare(option); });
}

std::int32_t EngineObject::StopScreenShare() {
  return answer([&] { return session()->stopShare(); });
}

std::int32_t EngineObject::EnablePublishAudioStream(bool enable) {
  return answer([&] { return session()->enablePublishAudio(enable); });
}

std::int32_t EngineObject::EnablePublishVideoStream(bool enable) {
  return answer([&] { return session()->enablePublishVideo(enable); });
}

std::int32_t EngineObject::EnableSubscribeAudioStream(const char* userId, bool enable) {
  return answer([&] { return session()->enableSubscribeAudio(textOf(userId), enable); });
}

std::int32_t EngineObject::EnableSubscribeVideoStream(const char* userId, bool enable,
                                                      bool cameraStream) {
  return answer(
      [&] { return session()->enableSubscribeVideo(textOf(userId), enable, cameraStream); });
}

std::int32_t EngineObject::EnableLoopbackRecording(bool enable) {
  return answer([&] { return session()->enableLoopbackRecording(enable); });
}

std::int32_t EngineObject::EnableAudioVolumeIndication(bool enable, std::int32_t cycleMs) {
  return answer([&] { return session()->enableVolumeIndication(enable, cycleMs); });
}

std::int32_t EngineObject::TakeSnapshot(const char* userId, std::int32_t srcType,
                                        const char* filePath) {
  return answer([&] { return session()->takeSnapshot(textOf(userId), srcType, textOf(filePath)); });
}

std::int32_t EngineObject::MuteAudio(const char* userId, bool enable) {
  return answer([&] { return session()->mute(textOf(userId), MediaKind::kAudio, enable); });
}

std::int32_t EngineObject::MuteVideo(const char* userId, bool enable) {
  return answer([&] { return session()->mute(textOf(userId), MediaKind::kCamera, enable); });
}

std::int32_t EngineObject::KickOut(const char* userId) {
  return answer([&] { return session()->kickOut(textOf(userId)); });
}

std::int32_t EngineObject::MuteRoom(bool enable) {
  return answer([&] { return session()->muteRoom(enable); });
}

std::int32_t EngineObject::CloseRoom() {
  return answer([&] { return session()->closeRoom(); });
}

std::int32_t EngineObject::CreateDataChannel() {
  return answer([&] { return session()->createDataChannel(); });
}

std::int32_t EngineObject::SubscribeData(const char* topic) {
  return answer([&] { return session()->subscribeData(textOf(topic)); });
}

std::int32_t EngineObject::UnsubscribeData(const char* topic) {
  return answer([&] { return session()->unsubscribeData(textOf(topic)); });
}

std::int32_t EngineObject::DeleteDataChannel() {
  return answer([&] { return session()->deleteDataChannel(); });
}

}  // namespace kavrin::conference
