#include "events/engine_event_sink.h"

#include <cstring>
#include <string_view>
#include <utility>

#include "engine/conference_node_engine.h"

// One debug line under the name of the callback that writes it.
#define KAVRIN_LOG_CALLBACK(...)                                           \
  do {                                                                     \
    if (engine_.log().isOpen()) {                                          \
      engine_.log().write(kavrin::kLogDebug, __LINE__, kTag, __VA_ARGS__); \
    }                                                                      \
  } while (false)

using kavrin::Variant;

namespace {

using ConfRoom = Kavrin::ConferenceEngine::ConfRoom;
using Values = std::vector<Variant>;

// States of a member that concern its video streams or its session.
constexpr std::int32_t kMemberLeft = 2;
constexpr std::int32_t kCameraStarted = 4;
constexpr std::int32_t kScreenShareStarted = 5;
constexpr std::int32_t kCameraStopped = 7;
constexpr std::int32_t kScreenShareStopped = 8;
constexpr std::int32_t kLoggedInElsewhere = 18;

// Stream types of a camera and of a screen share.
constexpr std::int32_t kCameraMode = 0;
constexpr std::int32_t kScreenShareMode = 2;

constexpr std::size_t kRoomValues = 2;

// Values are built where they stay: every event has some, made on the engine's threads.
void append(Values& values, const char* text) { values.emplace_back(text); }
void append(Values& values, std::int32_t number) { values.push_back(Variant::int32(number)); }
void append(Values& values, std::uint16_t number) { values.push_back(Variant::uint16(number)); }
void append(Values& values, std::uint32_t number) { values.push_back(Variant::uint32(number)); }
void append(Values& values, bool flag) { values.push_back(Variant::boolean(flag)); }
void append(Values& values, Variant::ArrayType&& elements) {
  values.push_back(Variant::array(std::move(elements)));
}
void appendText(Values& values, std::string_view text) {
  values.emplace_back(Variant::AsText(), text);
}

template <typename... Arguments>
Values deviceValues(Arguments... arguments) {
  Values values;
  values.reserve(sizeof...(arguments));
  (append(values, arguments), ...);
  return values;
}

// The local user and the room, then the arguments. An unknown room is told as "null", an unknown
// user as an empty text: script has come to rely on the difference.
template <typename... Arguments>
Values roomValues(const ConfRoom& room, Arguments&&... arguments) {
  Values values;
  values.reserve(kRoomValues + sizeof...(arguments));
  appendText(values, room.m_localUid);
  appendText(values, room.m_roomId.empty() ? std::string_view("null") : room.m_roomId);
  (append(values, std::forward<Arguments>(arguments)), ...);
  return values;
}

// An absent text as the log shows it.
const char* shown(const char* text) { return text == nullptr ? "(null)" : text; }

}  // namespace

void KavrinConferenceEngineEventImpl::OnRtcStats(
    const ConfRoom& room, const Kavrin::ConferenceEngine::RtcStatistics& stats) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnRtcStats";
  KAVRIN_LOG_CALLBACK("OnRtcStats:m_nAverageBitrate start");
  KAVRIN_LOG_CALLBACK(
      "OnRtcStats:m_nTxBitrate:%d,m_nRxBitrate:%d,m_nTxPacketLossRate:%d,"
      "m_nRxPacketLossRate:%d,m_nNetDelay:%d",
      stats.m_nTxBitrate, stats.m_nRxBitrate, stats.m_nTxPacketLossRate, stats.m_nRxPacketLossRate,
      stats.m_nNetDelay);
  engine_.onEvent("OnRtcStats", roomValues(room, stats.m_nTxBitrate, stats.m_nRxBitrate,
                                           stats.m_nTxPacketLossRate, stats.m_nRxPacketLossRate,
                                           stats.m_nNetDelay));
}

void KavrinConferenceEngineEventImpl::OnAudioStateChanged(const ConfRoom& room,
                                                          const char* pUsername,
                                                          std::int32_t aState) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnAudioStateChanged";
  KAVRIN_LOG_CALLBACK("OnAudioStateChanged:pUsername:%s,aState:%d", shown(pUsername), aState);
  engine_.onEvent("OnAudioStateChanged", roomValues(room, pUsername, aState));
}

void KavrinConferenceEngineEventImpl::OnVideoStateChanged(const ConfRoom& room,
                                                          const char* pUsername, std::int32_t vType,
                                                          std::int32_t vState,
                                                          std::int32_t stateError) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnVideoStateChanged";
  KAVRIN_LOG_CALLBACK("OnVideoStateChanged:pUsername:%s,vType:%d,vState:%d,stateError:%d",
                      shown(pUsername), vType, vState, stateError);
  engine_.onEvent("OnVideoStateChanged", roomValues(room, pUsername, vType, vState, stateError));
}

void KavrinConferenceEngineEventImpl::OnActiveSpeaker(const ConfRoom& room, const char* pUsername,
                                                      std::int32_t volume) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnActiveSpeaker";
  KAVRIN_LOG_CALLBACK("OnActiveSpeaker:pUsername:%s,volume:%d", shown(pUsername), volume);
  engine_.onEvent("OnActiveSpeaker", roomValues(room, pUsername, volume));
}

void KavrinConferenceEngineEventImpl::updateFrameStore(const char* userName,
                                                       std::int32_t userState) {
  kavrin::VideoFrameStore& frames = engine_.frameStore();
  switch (userState) {
    case kCameraStarted:
      return frames.announce(userName, kCameraMode);
    case kScreenShareStarted:
      return frames.announce(userName, kScreenShareMode);
    case kCameraStopped:
      return frames.withdraw(userName, kCameraMode);
    case kScreenShareStopped:
      return frames.withdraw(userName, kScreenShareMode);
    case kMemberLeft:
      return frames.removeMember(userName);
    default:
      return;
  }
}

void KavrinConferenceEngineEventImpl::OnRoomMemberStateChange(const ConfRoom& room,
                                                              const char* pUsername,
                                                              std::int32_t userState) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnRoomMemberStateChange";
  if (pUsername == nullptr) return;
  if (userState == kLoggedInElsewhere) {
    KAVRIN_LOG_CALLBACK("onRepeatLogin");
    engine_.onEvent("OnRepeatLogin", roomValues(room));
    return;
  }
  updateFrameStore(pUsername, userState);
  KAVRIN_LOG_CALLBACK("OnRoomMemberStateChange:pUsername:%s,userState:%d", pUsername, userState);
  engine_.onEvent("OnRoomMemberStateChange", roomValues(room, pUsername, userState));
}

void KavrinConferenceEngineEventImpl::OnRoomStateChange(const ConfRoom& room,
                                                        std::int32_t roomState) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnRoomStateChange";
  KAVRIN_LOG_CALLBACK("OnRoomStateChange:roomState:%d", roomState);
  engine_.onEvent("OnRoomStateChange", roomValues(room, roomState));
}

void KavrinConferenceEngineEventImpl::OnRoomMemberVideoFrame(
    const ConfRoom& /*room*/, const char* pUsername,
    const Kavrin::ConferenceEngine::VideoFrame& frame) {
  if (pUsername == nullptr) return;
  engine_.frameStore().deliver(pUsername, frame.streamType, frame);
}

void KavrinConferenceEngineEventImpl::OnRoomError(const ConfRoom& room, std::int32_t errCode,
                                                  const char* reason) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnRoomError";
  KAVRIN_LOG_CALLBACK("OnRoomError:errCode:%d,reason:%s", errCode, shown(reason));
  engine_.onEvent("OnRoomError", roomValues(room, errCode, reason));
}

void KavrinConferenceEngineEventImpl::OnCustomMessage(const ConfRoom& room, const char* msg,
                                                      const char* text2, const char* text3) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnCustomMessage";
  KAVRIN_LOG_CALLBACK("OnCustomMessage:msg:%s", shown(msg));
  engine_.onEvent("OnCustomMessage", roomValues(room, msg, text2, text3));
}

void KavrinConferenceEngineEventImpl::OnAudioDeviceStateChange(std::int32_t devType,
                                                               std::int32_t devState) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnAudioDeviceStateChange";
  KAVRIN_LOG_CALLBACK("OnAudioDeviceStateChange:devType:%d,devState:%d", devType, devState);
  engine_.onEvent("OnAudioDeviceStateChange", deviceValues(devType, devState));
}

void KavrinConferenceEngineEventImpl::OnAudioDefaultDeviceChanged(std::int32_t devType) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnAudioDefaultDeviceChanged";
  KAVRIN_LOG_CALLBACK("OnAudioDefaultDeviceChanged:devType:%d", devType);
  engine_.onEvent("OnAudioDefaultDeviceChanged", deviceValues(devType));
}

void KavrinConferenceEngineEventImpl::OnVideoDeviceStateChange(std::int32_t devState) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnVideoDeviceStateChange";
  KAVRIN_LOG_CALLBACK("OnVideoDeviceStateChange:devState:%d", devState);
  engine_.onEvent("OnVideoDeviceStateChange", deviceValues(devState));
}

void KavrinConferenceEngineEventImpl::OnNetworkQuality(const ConfRoom& room, const char* pUsername,
                                                       std::uint32_t txQualityValue,
                                                       std::int32_t rxQualityValue) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnNetworkQuality";
  if (pUsername == nullptr || room.m_localUid != pUsername) return;
  KAVRIN_LOG_CALLBACK("OnNetworkQuality:pUsername:%s,txQualityValue:%d,rxQualityValue:%d",
                      pUsername, static_cast<std::int32_t>(txQualityValue), rxQualityValue);
  engine_.onEvent("OnNetworkQuality", roomValues(room, pUsername, txQualityValue, rxQualityValue));
}

void KavrinConferenceEngineEventImpl::OnSnapshotTaken(const ConfRoom& room, const char* pUsername,
                                                      std::int32_t srcType, const char* pFilepath,
                                                      std::int32_t width, std::int32_t height,
                                                      std::int32_t errCode) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnSnapshotTaken";
  KAVRIN_LOG_CALLBACK(
      "OnSnapshotTaken:pUsername:%s,srcType:%d,pFilepath:%s,width:%d,height:%d,errCode:%d",
      shown(pUsername), srcType, shown(pFilepath), width, height, errCode);
  engine_.onEvent("OnSnapshotTaken",
                  roomValues(room, pUsername, srcType, pFilepath, width, height, errCode));
}

void KavrinConferenceEngineEventImpl::OnAudioVolumeIndication(
    const ConfRoom& room, const std::vector<Kavrin::ConferenceEngine::VolumeIndication>& volumes) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnAudioVolumeIndication";
  KAVRIN_LOG_CALLBACK("onAudioVolumeIndication:volumes size:%d", static_cast<int>(volumes.size()));
  Variant::ArrayType entries;
  entries.reserve(volumes.size());
  for (const auto& entry : volumes) {
    Variant::ObjectType object;
    object.emplace("uid", Variant::text(entry.m_uid));
    object.emplace("volume", Variant::uint32(entry.m_volume));
    entries.push_back(Variant::object(std::move(object)));
  }
  engine_.onEvent("OnAudioVolumeIndication", roomValues(room, std::move(entries)));
}

void KavrinConferenceEngineEventImpl::OnAudioDeviceVolumeChanged(std::int32_t devType,
                                                                 std::int32_t volume, bool muted) {
  constexpr const char* kTag = "KavrinConferenceEngineEventImpl::OnAudioDeviceVolumeChanged";
  KAVRIN_LOG_CALLBACK("OnAudioDeviceVolumeChanged:devType:%d,volume:%d,muted:%d", devType, volume,
                      muted);
  engine_.onEvent("OnAudioDeviceVolumeChanged", deviceValues(devType, volume, muted));
}

void KavrinConferenceEngineEventImpl::OnDataMessageReceived(const ConfRoom& room,
                                                            const char* message) {
  engine_.onEvent("OnDataMessageReceived", roomValues(room, message));
}

void KavrinConferenceEngineEventImpl::OnDataChannelStateChanged(const ConfRoom& room,
                                                                std::int32_t state,
                                                                const char* text) {
  engine_.onEvent("OnDataChannelStateChanged", roomValues(room, state, text));
}
