#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

#include "conference/base/text.h"
#include "conference/media/scaler.h"
#include "conference/session/session.h"
#include "conference/session/sound_file.h"

namespace kavrin::conference {
namespace {

using Kavrin::ConferenceEngine::AudioDeviceInfo;
using Kavrin::ConferenceEngine::CameraDeviceInfo;
using Kavrin::ConferenceEngine::kDeviceTextSize;
using Kavrin::ConferenceEngine::ScreenShareDeviceInfo;
using Sink = KavrinConferenceEngineEvent;

constexpr int kThumbnailWidth = 160;
constexpr int kThumbnailHeight = 90;
constexpr int kMinSize = 16;
constexpr int kMaxWidth = 1920;
constexpr int kMaxHeight = 1080;
constexpr int kMaxRate = 60;
constexpr std::int32_t kMinInterval = 100;  // milliseconds
constexpr std::int32_t kMaxInterval = 60000;

void copyText(char (&target)[kDeviceTextSize], const std::string& text) {
  std::snprintf(target, sizeof target, "%s", text.c_str());
}

std::vector<AudioDeviceInfo> recordsOf(const std::vector<AudioDeviceEntry>& entries,
                                       std::int32_t chosen, DeviceKind kind) {
  std::vector<AudioDeviceInfo> records;
  for (const AudioDeviceEntry& entry : entries) {
    AudioDeviceInfo record{};
    record.id = entry.id;
    copyText(record.guid, entry.guid);
    copyText(record.name, entry.name);
    record.isSystemDefault = entry.id == chosen ? 1 : 0;
    record.type = static_cast<std::int32_t>(kind);
    records.push_back(record);
  }
  return records;
}

template <typename Entries>
bool contains(const Entries& entries, std::int32_t id) {
  return std::any_of(entries.begin(), entries.end(),
                     [id](const auto& entry) { return entry.id == id; });
}

bool isPercent(std::int32_t number) { return number >= 0 && number <= 100; }

void reportDefaultChanged(Sink& sink, DeviceKind kind) {
  sink.OnAudioDefaultDeviceChanged(static_cast<std::int32_t>(kind));
}

void reportVolume(Sink& sink, DeviceKind kind, std::int32_t volume) {
  sink.OnAudioDeviceVolumeChanged(static_cast<std::int32_t>(kind), volume, volume == 0);
}

}  // namespace

Code Session::listMicrophones(std::vector<AudioDeviceInfo>& devices) const {
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  devices = recordsOf(environment_.devices->microphones(), settings_.microphoneId,
                      DeviceKind::kMicrophone);
  return Code::kOk;
}

Code Session::listSpeakers(std::vector<AudioDeviceInfo>& devices) const {
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  devices = recordsOf(environment_.devices->speakers(), speakerId_, DeviceKind::kSpeaker);
  return Code::kOk;
}

Code Session::listCameras(std::vector<CameraDeviceInfo>& devices) const {
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  devices.clear();
  for (const CameraEntry& entry : environment_.devices->cameras()) {
    CameraDeviceInfo record{};
    record.id = entry.id;
    copyText(record.guid, entry.guid);
    copyText(record.name, entry.name);
    devices.push_back(record);
  }
  return Code::kOk;
}

Code Session::listShareSources(std::vector<ScreenShareDeviceInfo>& sources) const {
  {
    MutexLock lock(mutex_);
    const Code code = alive();
    if (code != Code::kOk) return code;
  }
  sources.clear();
  for (const ShareEntry& entry : environment_.devices->shareSources()) {
    // In the list before it has a thumbnail: the caller frees those of the list.
    ScreenShareDeviceInfo& record = sources.emplace_back();
    record.id = entry.id;
    record.type = entry.window ? Kavrin::ConferenceEngine::kShareSourceWindow : 1;
    copyText(record.name, entry.name);
    const PicturePtr picture = environment_.devices->shareThumbnail(
        entry.id, entry.window, kThumbnailWidth, kThumbnailHeight);
    if (picture) {
      const std::vector<unsigned char> pixels = bgraOf(*picture);
      record.thumbnailWidth = kThumbnailWidth;
      record.thumbnailHeight = kThumbnailHeight;
      record.thumbnailData = new unsigned char[pixels.size()];
      record.thumbnailDataLength = static_cast<std::int32_t>(pixels.size());
      std::memcpy(record.thumbnailData, pixels.data(), pixels.size());
    }
  }
  return Code::kOk;
}

Code Session::setMicrophone(std::int32_t id) {
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  if (!contains(environment_.devices->microphones(), id)) return Code::kNoSuchDevice;
  if (std::exchange(settings_.microphoneId, id) == id) return Code::kOk;
  replan();
  post([](Session& self) {
    self.report([](Sink& sink) { reportDefaultChanged(sink, DeviceKind::kMicrophone); });
  });
  return Code::kOk;
}

Code Session::setSpeaker(std::int32_t id) {
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  if (!contains(environment_.devices->speakers(), id)) return Code::kNoSuchDevice;
  if (speakerId_ == id) return Code::kOk;
  std::shared_ptr<SoundOutput> speaker = environment_.devices->openSpeaker(id);
  if (!speaker) return Code::kMediaFailed;
  speakerId_ = id;
  speaker_ = speaker;
  remote_->setSpeaker(std::move(speaker));
  post([](Session& self) {
    self.report([](Sink& sink) { reportDefaultChanged(sink, DeviceKind::kSpeaker); });
  });
  return Code::kOk;
}

Code Session::setCamera(const VideoOption& option) {
  if (!contains(environment_.devices->cameras(), option.deviceId)) return Code::kNoSuchDevice;
  const bool sized = option.width != 0 || option.height != 0;
  if (sized && (option.width < kMinSize || option.width > kMaxWidth || option.height < kMinSize ||
                option.height > kMaxHeight)) {
    return Code::kInvalidArgument;
  }
  if (option.frameRate < 0 || option.frameRate > kMaxRate) return Code::kInvalidArgument;
  const auto ladder = formatOfQuality(option.resolution - 1);
  if (option.resolution != 0 && !ladder) return Code::kInvalidArgument;
  return changeMedia([&](MediaSettings& settings) {
    settings.cameraId = option.deviceId;
    VideoFormat& format = settings.cameraFormat;
    if (ladder) format = *ladder;
    if (sized) {
      format.width = option.width / 2 * 2;
      format.height = option.height / 2 * 2;
    }
    if (option.frameRate > 0) format.frameRate = option.frameRate;
  });
}

Code Session::setVideoQuality(std::int32_t quality) {
  const auto format = formatOfQuality(quality);
  if (!format) return Code::kInvalidArgument;
  return changeMedia([&](MediaSettings& settings) { settings.cameraFormat = *format; });
}

Code Session::microphoneVolume(std::int32_t& volume) const {
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code == Code::kOk) volume = settings_.microphoneVolume;
  return code;
}

Code Session::setMicrophoneVolume(std::int32_t volume) {
  if (!isPercent(volume)) return Code::kInvalidArgument;
  const Code code =
      changeMedia([=](MediaSettings& settings) { settings.microphoneVolume = volume; });
  if (code != Code::kOk) return code;
  post([volume](Session& self) {
    self.report([&](Sink& sink) { reportVolume(sink, DeviceKind::kMicrophone, volume); });
  });
  return Code::kOk;
}

Code Session::speakerVolume(std::int32_t& volume) const {
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code == Code::kOk) volume = settings_.speakerVolume;
  return code;
}

Code Session::setSpeakerVolume(std::int32_t volume) {
  if (!isPercent(volume)) return Code::kInvalidArgument;
  const Code code = changeMedia([=](MediaSettings& settings) { settings.speakerVolume = volume; });
  if (code != Code::kOk) return code;
  remote_->setSpeakerGain(volume / 100.0);
  post([volume](Session& self) {
    self.report([&](Sink& sink) { reportVolume(sink, DeviceKind::kSpeaker, volume); });
  });
  return Code::kOk;
}

Code Session::startSpeakerTest(const std::string& path) {
  if (path.empty()) return Code::kInvalidArgument;
  {
    MutexLock lock(mutex_);
    const Code code = alive();
    if (code != Code::kOk) return code;
    if (speakerTest_) return Code::kAlreadyRunning;
  }
  std::shared_ptr<SoundFile> file = SoundFile::play(path, [this](const SoundPtr& sound) {
    local_.addSystemSound(*sound);
    playLoopback(*sound);
  });
  if (!file) return Code::kFileError;
  MutexLock lock(mutex_);
  if (phase_ == Phase::kStopped) return Code::kStopped;
  if (speakerTest_) return Code::kAlreadyRunning;
  speakerTest_.swap(file);
  const std::uint64_t generation = ++speakerTestGeneration_;
  post([generation](Session& self) {
    self.report([](Sink& sink) {
      sink.OnAudioDeviceStateChange(static_cast<std::int32_t>(DeviceKind::kSpeaker),
                                    static_cast<std::int32_t>(DeviceState::kStarted));
    });
    self.speakerTestStep(generation, 1);
  });
  return Code::kOk;
}

Code Session::stopSpeakerTest() {
  std::shared_ptr<SoundFile> ended;  // Destroyed without the lock.
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  if (!speakerTest_) return Code::kNotRunning;
  ended = std::move(speakerTest_);
  ++speakerTestGeneration_;
  post([](Session& self) {
    self.report([](Sink& sink) {
      sink.OnAudioDeviceStateChange(static_cast<std::int32_t>(DeviceKind::kSpeaker),
                                    static_cast<std::int32_t>(DeviceState::kStopped));
    });
  });
  return Code::kOk;
}

Code Session::startLoopbackTest(std::int32_t intervalMs) {
  if (intervalMs <= 0) return Code::kInvalidArgument;
  MutexLock lock(mutex_);
  const Code code = ready();
  if (code != Code::kOk) return code;
  if (stay_ != 0) return Code::kAlreadyInRoom;
  if (settings_.loopbackTest) return Code::kAlreadyRunning;
  settings_.loopbackTest = true;
  replan();
  const std::uint64_t generation = ++loopbackGeneration_;
  const std::chrono::milliseconds interval(std::clamp(intervalMs, kMinInterval, kMaxInterval));
  postAt(Clock::now() + interval,
         [generation, interval](Session& self) { self.loopbackStep(generation, interval); });
  return Code::kOk;
}

Code Session::stopLoopbackTest() {
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  if (!settings_.loopbackTest) return Code::kNotRunning;
  settings_.loopbackTest = false;
  replan();
  return Code::kOk;
}

Code Session::enableNoiseSuppression(bool enable) {
  return changeMedia([=](MediaSettings& settings) { settings.noiseSuppression = enable; });
}

Code Session::enableLoopbackRecording(bool enable) {
  return changeMedia([=](MediaSettings& settings) { settings.loopbackRecording = enable; });
}

}  // namespace kavrin::conference
