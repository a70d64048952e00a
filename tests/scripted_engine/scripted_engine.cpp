#include "tests/scripted_engine/scripted_engine.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "tests/scripted_engine/json.h"
#include "tests/scripted_engine/outputs.h"

namespace kavrin::scripted {
namespace {

using Kavrin::ConferenceEngine::VideoOption;

void writeArgument(JsonWriter& out, bool value) { out.Bool(value); }
void writeArgument(JsonWriter& out, std::int32_t value) { out.Int(value); }

void writeArgument(JsonWriter& out, const char* text) {
  if (text == nullptr) {
    out.Null();
  } else {
    out.String(text);
  }
}

void writeArgument(JsonWriter& out, const VideoOption& option) {
  const std::pair<const char*, std::int32_t> numbers[] = {
      {"deviceId", option.deviceId},
      {"deviceType", option.deviceType},
      {"left", option.left},
      {"top", option.top},
      {"width", option.width},
      {"height", option.height},
      {"resolution", option.resolution},
      {"frameRate", option.frameRate},
      {"bitRate", option.bitRate},
  };
  out.StartObject();
  for (const auto& [key, value] : numbers) {
    out.Key(key);
    out.Int(value);
  }
  out.Key("excludedWindows");
  out.StartArray();
  for (const std::int32_t window : option.excludedWindows) out.Int(window);
  out.EndArray();
  out.EndObject();
}

template <typename... Arguments>
std::string argumentList(const Arguments&... arguments) {
  rapidjson::StringBuffer buffer;
  JsonWriter out(buffer);
  out.StartArray();
  (writeArgument(out, arguments), ...);
  out.EndArray();
  return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace

ScriptedEngine::ScriptedEngine(KavrinConferenceEngineEvent* sink)
    : slot_(Scenario::instance().addEngine(sink)) {
  call("CreateConfEngine", sink != nullptr);
}

ScriptedEngine::~ScriptedEngine() noexcept(false) { call("DestroyConfEngine"); }

template <typename... Arguments>
std::int32_t ScriptedEngine::call(const char* operation, const Arguments&... arguments) {
  const LiveToken inside(inside_);
  return Scenario::instance().enter(slot_->number, operation, argumentList(arguments...));
}

void ScriptedEngine::Reserved0() { call("Reserved0"); }

void ScriptedEngine::SetLogFilePath(const char* folder) { call("SetLogFilePath", folder); }

void ScriptedEngine::SetRootHost(const char* rootHost) { call("SetRootHost", rootHost); }

void ScriptedEngine::Init(const char* userId, const char* name, const char* password,
                          InitCompletion completion) {
  call("Init", userId, name, password);
  Scenario::instance().accept(
      slot_, "Init",
      [run = std::move(completion)](std::int32_t code, const char* /*text*/) { run(code); });
}

// Callbacks end here even when a test makes this throw.
std::int32_t ScriptedEngine::UnInit() {
  std::int32_t result = 0;
  try {
    result = call("UnInit");
  } catch (...) {
    slot_->gate.close();
    throw;
  }
  slot_->gate.close();
  Scenario::instance().runHooks("UnInit", true);
  return result;
}

std::int32_t ScriptedEngine::SetUserExtendedInfo(const char* info) {
  return call("SetUserExtendedInfo", info);
}

std::int32_t ScriptedEngine::EnablePublish(bool audio, bool video) {
  return call("EnablePublish", audio, video);
}

std::int32_t ScriptedEngine::EnableSubscribe(bool audio, bool video) {
  return call("EnableSubscribe", audio, video);
}

std::int32_t ScriptedEngine::EnableExternalRender(bool enable) {
  return call("EnableExternalRender", enable);
}

std::int32_t ScriptedEngine::EnumAudioCaptureDevice(AudioDevices& devices) {
  devices = audioDevicesFrom(Scenario::instance().output("EnumAudioCaptureDevice"));
  return call("EnumAudioCaptureDevice");
}

std::int32_t ScriptedEngine::EnumSpeakerDevice(AudioDevices& devices) {
  devices = audioDevicesFrom(Scenario::instance().output("EnumSpeakerDevice"));
  return call("EnumSpeakerDevice");
}

std::int32_t ScriptedEngine::EnumCameraDevice(CameraDevices& devices) {
  devices = cameraDevicesFrom(Scenario::instance().output("EnumCameraDevice"));
  return call("EnumCameraDevice");
}

std::int32_t ScriptedEngine::EnumScreenAndWindow(ShareSources& sources) {
  sources = shareSourcesFrom(Scenario::instance().output("EnumScreenAndWindow"));
  return call("EnumScreenAndWindow");
}

std::int32_t ScriptedEngine::SetReconnectResumedMediaType(bool audio, bool video, bool share) {
  return call("SetReconnectResumedMediaType", audio, video, share);
}

std::int32_t ScriptedEngine::SetAudioCaptureDevice(std::int32_t id) {
  return call("SetAudioCaptureDevice", id);
}

std::int32_t ScriptedEngine::SetSpeakerDevice(std::int32_t id) {
  return call("SetSpeakerDevice", id);
}

std::int32_t ScriptedEngine::getVolume(const char* operation, std::int32_t* volume) {
  *volume = numberFrom(Scenario::instance().output(operation), *volume);
  return call(operation);
}

std::int32_t ScriptedEngine::GetAudioCaptureDeviceVolume(std::int32_t* volume) {
  return getVolume("GetAudioCaptureDeviceVolume", volume);
}

std::int32_t ScriptedEngine::SetAudioCaptureDeviceVolume(std::int32_t volume) {
  return call("SetAudioCaptureDeviceVolume", volume);
}

std::int32_t ScriptedEngine::GetSpeakerDeviceVolume(std::int32_t* volume) {
  return getVolume("GetSpeakerDeviceVolume", volume);
}

std::int32_t ScriptedEngine::SetSpeakerDeviceVolume(std::int32_t volume) {
  return call("SetSpeakerDeviceVolume", volume);
}

std::int32_t ScriptedEngine::StartSpeakerDeviceTest(const char* soundFile) {
  return call("StartSpeakerDeviceTest", soundFile);
}

std::int32_t ScriptedEngine::StopSpeakerDeviceTest() { return call("StopSpeakerDeviceTest"); }

std::int32_t ScriptedEngine::StartAudioDeviceLoopbackTest(std::int32_t interval) {
  return call("StartAudioDeviceLoopbackTest", interval);
}

std::int32_t ScriptedEngine::StopAudioDeviceLoopbackTest() {
  return call("StopAudioDeviceLoopbackTest");
}

std::int32_t ScriptedEngine::SetVideoQuality(std::int32_t quality) {
  return call("SetVideoQuality", quality);
}

std::int32_t ScriptedEngine::SetCameraDevice(const VideoOption& option) {
  return call("SetCameraDevice", option);
}

void ScriptedEngine::Reserved26() { call("Reserved26"); }

std::int32_t ScriptedEngine::StartPreview() { return call("StartPreview"); }

std::int32_t ScriptedEngine::StopPreview() { return call("StopPreview"); }

std::int32_t ScriptedEngine::SetRemoteDefaultVideoStreamType(const std::int32_t& streamType) {
  return call("SetRemoteDefaultVideoStreamType", streamType);
}

std::int32_t ScriptedEngine::EnableDualStreamMode(bool enable) {
  return call("EnableDualStreamMode", enable);
}

std::int32_t ScriptedEngine::SetRemoteVideoStreamType(const char* userId,
                                                      const std::int32_t& streamType) {
  return call("SetRemoteVideoStreamType", userId, streamType);
}

std::int32_t ScriptedEngine::EnableAINSMode(bool enable) { return call("EnableAINSMode", enable); }

std::int32_t ScriptedEngine::JoinRoom(const char* roomId) { return call("JoinRoom", roomId); }

std::int32_t ScriptedEngine::LeaveRoom() { return call("LeaveRoom"); }

std::int32_t ScriptedEngine::SetScreenShareSceneMode(const std::int32_t& mode) {
  return call("SetScreenShareSceneMode", mode);
}

std::int32_t ScriptedEngine::UpdateScreenShareSrcInfo(const VideoOption& option) {
  return call("UpdateScreenShareSrcInfo", option);
}

std::int32_t ScriptedEngine::StartScreenShare(const VideoOption& option) {
  return call("StartScreenShare", option);
}

std::int32_t ScriptedEngine::StopScreenShare() { return call("StopScreenShare"); }

std::int32_t ScriptedEngine::EnablePublishAudioStream(bool enable) {
  return call("EnablePublishAudioStream", enable);
}

std::int32_t ScriptedEngine::EnablePublishVideoStream(bool enable) {
  return call("EnablePublishVideoStream", enable);
}

std::int32_t ScriptedEngine::EnableSubscribeAudioStream(const char* userId, bool enable) {
  return call("EnableSubscribeAudioStream", userId, enable);
}

std::int32_t ScriptedEngine::EnableSubscribeVideoStream(const char* userId, bool enable,
                                                        bool cameraStream) {
  return call("EnableSubscribeVideoStream", userId, enable, cameraStream);
}

std::int32_t ScriptedEngine::EnableLoopbackRecording(bool enable) {
  return call("EnableLoopbackRecording", enable);
}

std::int32_t ScriptedEngine::EnableAudioVolumeIndication(bool enable, std::int32_t cycleMs) {
  return call("EnableAudioVolumeIndication", enable, cycleMs);
}

std::int32_t ScriptedEngine::TakeSnapshot(const char* userId, std::int32_t srcType,
                                          const char* filePath) {
  return call("TakeSnapshot", userId, srcType, filePath);
}

std::int32_t ScriptedEngine::MuteAudio(const char* userId, bool enable) {
  return call("MuteAudio", userId, enable);
}

std::int32_t ScriptedEngine::MuteVideo(const char* userId, bool enable) {
  return call("MuteVideo", userId, enable);
}

std::int32_t ScriptedEngine::KickOut(const char* userId) { return call("KickOut", userId); }

std::int32_t ScriptedEngine::MuteRoom(bool enable) { return call("MuteRoom", enable); }

std::int32_t ScriptedEngine::CloseRoom() { return call("CloseRoom"); }

const ScriptedEngine::Users& ScriptedEngine::GetRoomAttendees() {
  attendees_ = usersFrom(Scenario::instance().output("GetRoomAttendees"));
  call("GetRoomAttendees");
  return attendees_;
}

void ScriptedEngine::GetRoomInfo(KavrinConferenceEngineInfo& info) {
  fillInfo(Scenario::instance().output("GetRoomInfo"), info);
  call("GetRoomInfo");
}

void ScriptedEngine::SendCustomMessage(const char* msg, const char* toUser,
                                       MessageCompletion completion) {
  call("SendCustomMessage", msg, toUser);
  Scenario::instance().accept(slot_, "SendCustomMessage", std::move(completion));
}

std::int32_t ScriptedEngine::CreateDataChannel() { return call("CreateDataChannel"); }

std::int32_t ScriptedEngine::SubscribeData(const char* topic) {
  return call("SubscribeData", topic);
}

std::int32_t ScriptedEngine::UnsubscribeData(const char* topic) {
  return call("UnsubscribeData", topic);
}

std::int32_t ScriptedEngine::DeleteDataChannel() { return call("DeleteDataChannel"); }

}  // namespace kavrin::scripted

KavrinConferenceEngine* KavrinConferenceEngine::CreateConfEngine(
    KavrinConferenceEngineEvent* sink) {
  return new kavrin::scripted::ScriptedEngine(sink);
}

void KavrinConferenceEngine::DestroyConfEngine(KavrinConferenceEngine* engine) {
  delete static_cast<kavrin::scripted::ScriptedEngine*>(engine);
}

void KavrinConferenceEngine::GetSDKVersion(char* buffer, std::uint16_t size) {
  using kavrin::scripted::Scenario;
  Scenario::instance().enter(0, "GetSDKVersion", "[" + std::to_string(size) + "]");
  const std::string version =
      kavrin::scripted::textFrom(Scenario::instance().output("GetSDKVersion"));
  if (version.empty() || size == 0) return;
  const std::size_t length = std::min<std::size_t>(version.size(), size - 1u);
  std::memcpy(buffer, version.data(), length);
  buffer[length] = '\0';
}
