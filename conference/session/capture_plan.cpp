#include "conference/session/capture_plan.h"

#include <algorithm>

namespace kavrin::conference {
namespace {

// Text is read at leisure but to the pixel; film moves but may be smaller.
constexpr int kDetailRate = 5;
constexpr int kDetailMaxRate = 10;
constexpr int kMotionRate = 25;
constexpr int kMotionMaxRate = 30;
constexpr VideoFormat kMotionBound{1280, 720, 0};

void planCamera(const MediaSettings& settings, const RoomSituation& room, CapturePlan& plan) {
  const bool flows =
      room.joined && settings.publishVideo.on() && !settings.cameraMuted && !room.cameraMutedByHost;
  plan.preview = settings.preview;
  plan.sendCamera = flows && room.demand.camera;
  plan.sendCameraSmall = flows && settings.dualStream && room.demand.cameraSmall;
  plan.runCamera =
      plan.preview || plan.sendCamera || plan.sendCameraSmall || (flows && room.cameraWatched);
  plan.cameraId = settings.cameraId;
  plan.cameraFormat = settings.cameraFormat;
}

void planMicrophone(const MediaSettings& settings, const RoomSituation& room, CapturePlan& plan) {
  const bool flows =
      room.joined && settings.publishAudio.on() && !settings.audioMuted && !room.audioMutedByHost;
  plan.sendSound = flows && room.demand.audio;
  plan.loopbackTest = settings.loopbackTest;
  plan.runMicrophone = plan.sendSound || plan.loopbackTest || (flows && settings.volumeIndication);
  plan.microphoneId = settings.microphoneId;
  plan.microphoneGain = settings.microphoneVolume / 100.0;
  plan.noiseSuppression = settings.noiseSuppression;
  plan.mixSystemSound = settings.loopbackRecording;
}

void planShare(const MediaSettings& settings, const RoomSituation& room, CapturePlan& plan) {
  if (!settings.share) return;
  plan.runShare = room.joined && (room.demand.screen || room.screenWatched);
  plan.share = *settings.share;
  const bool motion = settings.sceneMode == SceneMode::kMotion;
  const int asked =
      plan.share.frameRate > 0 ? plan.share.frameRate : (motion ? kMotionRate : kDetailRate);
  plan.share.frameRate = std::min(asked, motion ? kMotionMaxRate : kDetailMaxRate);
  plan.shareMaxWidth = motion ? kMotionBound.width : 0;
  plan.shareMaxHeight = motion ? kMotionBound.height : 0;
}

}  // namespace

CapturePlan planCapture(const std::string& userId, const MediaSettings& settings,
                        const RoomSituation& situation) {
  CapturePlan plan;
  plan.userId = userId;
  planCamera(settings, situation, plan);
  planMicrophone(settings, situation, plan);
  planShare(settings, situation, plan);
  return plan;
}

MemberMedia mediaOf(const MediaSettings& settings) {
  MemberMedia media;
  media.audioPublished = settings.publishAudio.on();
  media.audioMuted = settings.audioMuted;
  media.cameraPublished = settings.publishVideo.on();
  media.cameraMuted = settings.cameraMuted;
  media.cameraDual = settings.dualStream;
  media.screenPublished = settings.share.has_value();
  return media;
}

std::optional<VideoFormat> formatOfQuality(std::int32_t quality) {
  static constexpr VideoFormat kLadder[] = {
      {320, 180, 15}, {640, 360, 15}, {1280, 720, 25}, {1920, 1080, 25}};
  if (quality < 0 || quality >= static_cast<std::int32_t>(std::size(kLadder))) return std::nullopt;
  return kLadder[quality];
}

}  // namespace kavrin::conference
