// What is to be captured and where it goes, derived from all that the host has asked for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "conference/media/devices.h"
#include "conference/room/room_home.h"

namespace kavrin::conference {

enum class SceneMode : std::int32_t { kDetail = 0, kMotion = 1 };

// A default and what overrides it.
struct Switch {
  bool standard = false;
  std::optional<bool> chosen;

  bool on() const { return chosen.value_or(standard); }
};

// The host's wishes about its own media. They outlive rooms.
struct MediaSettings {
  Switch publishAudio;
  Switch publishVideo;
  bool audioMuted = false;
  bool cameraMuted = false;
  bool dualStream = false;
  bool preview = false;
  bool externalRender = true;

  std::int32_t cameraId = 0;
  VideoFormat cameraFormat{640, 360, 15};
  std::int32_t microphoneId = 0;
  std::int32_t microphoneVolume = 80;  // percent
  std::int32_t speakerVolume = 80;     // percent
  bool noiseSuppression = false;
  bool loopbackRecording = false;
  bool loopbackTest = false;
  bool volumeIndication = false;

  std::optional<ShareRequest> share;
  SceneMode sceneMode = SceneMode::kDetail;
};

// What the room makes of them.
struct RoomSituation {
  bool joined = false;
  bool host = false;
  bool audioMutedByHost = false;
  bool cameraMutedByHost = false;
  home_event::Demand demand;
  bool cameraWatched = false;  // a snapshot of the local camera waits
  bool screenWatched = false;
};

struct CapturePlan {
  std::string userId;

  bool runCamera = false;
  std::int32_t cameraId = 0;
  VideoFormat cameraFormat;
  bool preview = false;
  bool sendCamera = false;
  bool sendCameraSmall = false;

  bool runMicrophone = false;
  std::int32_t microphoneId = 0;
  double microphoneGain = 1;
  bool noiseSuppression = false;
  bool mixSystemSound = false;
  bool sendSound = false;
  bool loopbackTest = false;

  bool runShare = false;
  ShareRequest share;
  int shareMaxWidth = 0;   // pixels, 0 for no bound
  int shareMaxHeight = 0;  // pixels

  bool operator==(const CapturePlan&) const = default;
};

CapturePlan planCapture(const std::string& userId, const MediaSettings& settings,
                        const RoomSituation& situation);

// What the room is told.
MemberMedia mediaOf(const MediaSettings& settings);

// The quality ladder: 0 180p, 1 360p, 2 720p, 3 1080p. Nothing for other numbers.
std::optional<VideoFormat> formatOfQuality(std::int32_t quality);

}  // namespace kavrin::conference
