// Media streams: publishing, subscribing, muting, preview, stream choice, snapshots, volumes.
#include "engine/methods/method_support.h"

namespace kavrin::methods {
namespace {

// Reports more often than once a second would flood the log and the event queue.
constexpr std::int32_t kShortestVolumeCycleMs = 1000;

Variant enableAudioVolumeIndication(Facade& facade, napi_env, const std::string& json) {
  const char* tag = kTag<"EnableAudioVolumeIndication">.text;
  return withParameters<VolumeIndicationParameters>(facade, tag, json, [&](const auto& parameters) {
    const std::int32_t cycleMs = std::max(parameters.cycleTime, kShortestVolumeCycleMs);
    return Variant::int32(tracedCall(facade, tag, [&](Engine& engine) {
      return engine.EnableAudioVolumeIndication(parameters.isEnable, cycleMs);
    }));
  });
}

constexpr MethodRecord kMethods[] = {
    forward<"EnablePublish", &Engine::EnablePublish, &MediaSwitchParameters::enableAudio,
            &MediaSwitchParameters::enableVideo>("Chooses what is published by default."),
    forward<"EnableSubscribe", &Engine::EnableSubscribe, &MediaSwitchParameters::enableAudio,
            &MediaSwitchParameters::enableVideo>("Chooses what is received by default."),
    forward<"EnablePublishAudioStream", &Engine::EnablePublishAudioStream,
            &SwitchParameters::isEnable>("Starts or stops publishing audio."),
    forward<"EnablePublishVideoStream", &Engine::EnablePublishVideoStream,
            &SwitchParameters::isEnable>("Starts or stops publishing the camera."),
    forward<"EnableSubscribeAudioStream", &Engine::EnableSubscribeAudioStream,
            &UserSwitchParameters::userId, &UserSwitchParameters::isEnable>(
        "Starts or stops receiving a member's audio."),
    forward<"EnableSubscribeVideoStream", &Engine::EnableSubscribeVideoStream,
            &UserVideoSwitchParameters::userId, &UserVideoSwitchParameters::isEnable,
            &UserVideoSwitchParameters::isVideoCamera>(
        "Starts or stops receiving a member's camera or screen."),
    forward<"EnableLoopbackRecording", &Engine::EnableLoopbackRecording,
            &SwitchParameters::isEnable>("Mixes the speaker's sound into the published audio."),
    jsonMethod<VolumeIndicationParameters>(
        "EnableAudioVolumeIndication", enableAudioVolumeIndication, kEngineCode,
        "Reports members' volumes every cycleTime milliseconds, 1000 at the least."),
    forward<"MuteAudio", &Engine::MuteAudio, &UserSwitchParameters::userId,
            &UserSwitchParameters::isEnable>("Mutes or unmutes a member's audio."),
    forward<"MuteVideo", &Engine::MuteVideo, &UserSwitchParameters::userId,
            &UserSwitchParameters::isEnable>("Mutes or unmutes a member's video."),
    forwardPlain<"StartPreview", &Engine::StartPreview>("Starts the local camera's preview."),
    forwardPlain<"StopPreview", &Engine::StopPreview>("Stops the local camera's preview."),
    forward<"TakeSnapshot", &Engine::TakeSnapshot, &SnapshotParameters::userId,
            &SnapshotParameters::srcType, &SnapshotParameters::filePath>(
        "Writes a member's current picture to a file."),
    forward<"SetRemoteDefaultVideoStreamType", &Engine::SetRemoteDefaultVideoStreamType,
            &StreamTypeParameters::streamType>("Chooses the camera stream received by default."),
    forward<"EnableDualStreamMode", &Engine::EnableDualStreamMode, &SwitchParameters::isEnable>(
        "Publishes a second, small camera stream."),
    forward<"SetRemoteVideoStreamType", &Engine::SetRemoteVideoStreamType,
            &UserStreamTypeParameters::userId, &UserStreamTypeParameters::streamType>(
        "Chooses the camera stream received from one member."),
};

}  // namespace
}  // namespace kavrin::methods

const kavrin::MethodGroup kavrin::kMediaMethods{"Media streams", kavrin::methods::kMethods};
