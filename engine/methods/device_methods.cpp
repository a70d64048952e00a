// Devices: lists, choice, volumes, tests, video quality, noise suppression.
#include "bridge/records.h"
#include "engine/methods/method_support.h"

namespace kavrin::methods {
namespace {

using Kavrin::ConferenceEngine::AudioDeviceInfo;
using Kavrin::ConferenceEngine::CameraDeviceInfo;

// The common part of the enumerations: `list` is the facade's member for the kind, `logResult` logs
// the engine's answer, `convert` makes one script object.
template <FixedText Name, auto Operation, typename Device, typename LogResult>
Variant enumerate(Facade& facade, napi_env& env, int argc, std::vector<Device>& list,
                  LogResult logResult, napi_value (*convert)(napi_env, const Device&)) {
  const char* tag = kTag<Name>.text;
  Logger& log = facade.log();
  if (!verifyArgsCount(log, argc, 0)) return Variant();
  log.write(kLogInfo, __LINE__, tag, "args: ");
  list.clear();
  if (facade.engine() == nullptr) return Variant();
  const std::int32_t code = (facade.engine()->*Operation)(list);
  logResult(log, tag, code, static_cast<int>(list.size()));
  if (code != 0) return Variant();
  // Building objects can run script, which may enumerate again: work on a copy.
  const std::vector<Device> devices = list;
  return Variant::scriptHandle(kv_engine::convertList(env, devices, convert));
}

// An enumeration has no code for failure: an exception gives what a failed one gives.
template <typename Work>
Variant nullOnException(Facade& facade, const char* tag, Work work) {
  Variant result = guarded(facade, tag, work);
  return result.is(Variant::Kind::Int32) ? Variant() : result;
}

void logCodeAndSize(Logger& log, const char* tag, std::int32_t code, int size) {
  log.write(kLogInfo, __LINE__, tag, "method return %d, list size:%d", code, size);
}

void logSize(Logger& log, const char* tag, std::int32_t, int size) {
  log.write(kLogInfo, __LINE__, tag, "method return list size:%d", size);
}

template <FixedText Name, auto Operation, auto List>
Variant enumerateAudio(Facade& facade, napi_env& env, int argc, Variant*) {
  return nullOnException(facade, kTag<Name>.text, [&] {
    return enumerate<Name, Operation, AudioDeviceInfo>(
        facade, env, argc, facade.state.*List, logCodeAndSize, kv_engine::convertAudioDeviceInfo);
  });
}

Variant enumCameraDevice(Facade& facade, napi_env& env, int argc, Variant*) {
  return nullOnException(facade, kTag<"EnumCameraDevice">.text, [&] {
    return enumerate<"EnumCameraDevice", &Engine::EnumCameraDevice, CameraDeviceInfo>(
        facade, env, argc, facade.state.cameraDevices, logSize, kv_engine::convertCameraDeviceInfo);
  });
}

// The volume, or the engine's code as a negative number: a failure can never pass for a volume.
template <FixedText Name, auto Operation>
Variant getVolume(Facade& facade, napi_env, const std::string&) {
  const char* tag = kTag<Name>.text;
  return withEngine(facade, tag, [&] {
    std::int32_t volume = 0;
    const std::int32_t code =
        tracedCall(facade, tag, [&](Engine& engine) { return (engine.*Operation)(&volume); });
    if (code != 0) return Variant::int32(code > 0 ? -code : code);
    facade.log().write(kLogInfo, __LINE__, tag, "method return volume:%d", volume);
    return Variant::int32(volume);
  });
}

constexpr const char* kDeviceList = "array of device objects; undefined when the engine fails";
constexpr const char* kVolumeOrCode = "number: the volume; negative when the engine fails";

constexpr MethodRecord kMethods[] = {
    argumentMethod("EnumAudioCaptureDevice",
                   enumerateAudio<"EnumAudioCaptureDevice", &Engine::EnumAudioCaptureDevice,
                                  &Facade::State::audioCaptureDevices>,
                   {}, kDeviceList, "Lists the microphones."),
    argumentMethod("EnumSpeakerDevice",
                   enumerateAudio<"EnumSpeakerDevice", &Engine::EnumSpeakerDevice,
                                  &Facade::State::speakerDevices>,
                   {}, kDeviceList, "Lists the speakers."),
    argumentMethod("EnumCameraDevice", enumCameraDevice, {}, kDeviceList, "Lists the cameras."),
    forward<"SetAudioCaptureDevice", &Engine::SetAudioCaptureDevice, &DeviceIdParameters::id>(
        "Chooses the microphone."),
    forward<"SetSpeakerDevice", &Engine::SetSpeakerDevice, &DeviceIdParameters::id>(
        "Chooses the speaker."),
    forward<"SetVideoQuality", &Engine::SetVideoQuality, &VideoQualityParameters::videoQuality>(
        "Chooses the quality of the published camera."),
    forwardOption<"SetCameraDevice", &Engine::SetCameraDevice>(
        "Chooses the camera, its size and rate."),
    plainMethod("GetAudioCaptureDeviceVolume",
                getVolume<"GetAudioCaptureDeviceVolume", &Engine::GetAudioCaptureDeviceVolume>,
                kVolumeOrCode, "Tells the microphone's volume."),
    forward<"SetAudioCaptureDeviceVolume", &Engine::SetAudioCaptureDeviceVolume,
            &VolumeParameters::volume>("Sets the microphone's volume."),
    plainMethod("GetSpeakerDeviceVolume",
                getVolume<"GetSpeakerDeviceVolume", &Engine::GetSpeakerDeviceVolume>, kVolumeOrCode,
                "Tells the speaker's volume."),
    forward<"SetSpeakerDeviceVolume", &Engine::SetSpeakerDeviceVolume, &VolumeParameters::volume>(
        "Sets the speaker's volume."),
    forward<"StartSpeakerDeviceTest", &Engine::StartSpeakerDeviceTest,
            &SoundFileParameters::filePath>("Plays a sound file on the speaker."),
    forwardPlain<"StopSpeakerDeviceTest", &Engine::StopSpeakerDeviceTest>(
        "Stops the speaker test."),
    forward<"StartAudioDeviceLoopbackTest", &Engine::StartAudioDeviceLoopbackTest,
            &LoopbackTestParameters::interval>("Plays the microphone on the speaker."),
    forwardPlain<"StopAudioDeviceLoopbackTest", &Engine::StopAudioDeviceLoopbackTest>(
        "Stops the loopback test."),
    forward<"EnableAINSMode", &Engine::EnableAINSMode, &SwitchParameters::isEnable>(
        "Switches noise suppression."),
};

}  // namespace
}  // namespace kavrin::methods

const kavrin::MethodGroup kavrin::kDeviceMethods{"Devices", kavrin::methods::kMethods};
