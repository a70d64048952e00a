// The callback object that the engine reports to: turns every callback into a queued event.
//
// A callback logs, builds the event's values and hands them to the facade's queue; the video frame
// callback goes to the facade's frame store instead. Values of a room's callbacks start with the
// local user id and the room id. Nothing here touches the script host.
//
// Threads: callbacks arrive on engine threads, several at once. The object has no state but the
// facade's address. Shutdown: the facade owns the sink and deletes it after the engine is gone.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

#include "bridge/variant.h"
#include "engine/engine_interface.h"

class KavrinNodeConferenceEngine;

class KavrinConferenceEngineEventImpl final : public KavrinConferenceEngineEvent {
 public:
  // `engine` is borrowed and outlives the sink.
  explicit KavrinConferenceEngineEventImpl(KavrinNodeConferenceEngine& engine) : engine_(engine) {}

  void OnRtcStats(const ConfRoom& room,
                  const Kavrin::ConferenceEngine::RtcStatistics& stats) override;
  void OnAudioStateChanged(const ConfRoom& room, const char* pUsername,
                           std::int32_t aState) override;
  void OnVideoStateChanged(const ConfRoom& room, const char* pUsername, std::int32_t vType,
                           std::int32_t vState, std::int32_t stateError) override;
  void OnActiveSpeaker(const ConfRoom& room, const char* pUsername, std::int32_t volume) override;
  void OnRoomMemberStateChange(const ConfRoom& room, const char* pUsername,
                               std::int32_t userState) override;
  void OnRoomStateChange(const ConfRoom& room, std::int32_t roomState) override;
  void OnRoomMemberVideoFrame(const ConfRoom& room, const char* pUsername,
                              const Kavrin::ConferenceEngine::VideoFrame& frame) override;
  void OnRoomError(const ConfRoom& room, std::int32_t errCode, const char* reason) override;
  void OnCustomMessage(const ConfRoom& room, const char* msg, const char* text2,
                       const char* text3) override;
  void OnAudioDeviceStateChange(std::int32_t devType, std::int32_t devState) override;
  void OnAudioDefaultDeviceChanged(std::int32_t devType) override;
  void OnVideoDeviceStateChange(std::int32_t devState) override;
  void OnNetworkQuality(const ConfRoom& room, const char* pUsername, std::uint32_t txQualityValue,
                        std::int32_t rxQualityValue) override;
  void OnSnapshotTaken(const ConfRoom& room, const char* pUsername, std::int32_t srcType,
                       const char* pFilepath, std::int32_t width, std::int32_t height,
                       std::int32_t errCode) override;
  void OnAudioVolumeIndication(
      const ConfRoom& room,
      const std::vector<Kavrin::ConferenceEngine::VolumeIndication>& volumes) override;
  void OnAudioDeviceVolumeChanged(std::int32_t devType, std::int32_t volume, bool muted) override;
  void OnDataMessageReceived(const ConfRoom& room, const char* message) override;
  void OnDataChannelStateChanged(const ConfRoom& room, std::int32_t state,
                                 const char* text) override;

 private:
  using Variant = kavrin::Variant;

  void updateFrameStore(const char* userName, std::int32_t userState);

  KavrinNodeConferenceEngine& engine_;
};
