#include <algorithm>
#include <utility>

#include "conference/base/text.h"
#include "conference/session/session.h"

namespace kavrin::conference {
namespace {

constexpr std::int32_t kMinCycle = 100;  // milliseconds
constexpr std::int32_t kMaxCycle = 60000;

bool isCameraStream(std::int32_t type) {
  return type == static_cast<std::int32_t>(StreamType::kCamera) ||
         type == static_cast<std::int32_t>(StreamType::kCameraSmall);
}

}  // namespace

void Session::pushMedia() {
  if (link_ && stay_ != 0) link_->setMedia(mediaOf(settings_));
  replan();
}

void Session::pushSubscriptions() {
  if (link_) link_->setSubscriptions(std::make_shared<const SubscriptionPolicy>(subscriptions_));
}

void Session::replan() { local_.setPlan(planCapture(userId_, settings_, situation_)); }

Code Session::changeMedia(const std::function<void(MediaSettings&)>& change) {
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  change(settings_);
  pushMedia();
  return Code::kOk;
}

Code Session::enablePublish(bool audio, bool video) {
  return changeMedia([=](MediaSettings& settings) {
    settings.publishAudio.standard = audio;
    settings.publishVideo.standard = video;
  });
}

Code Session::enablePublishAudio(bool enable) {
  return changeMedia([=](MediaSettings& settings) { settings.publishAudio.chosen = enable; });
}

Code Session::enablePublishVideo(bool enable) {
  return changeMedia([=](MediaSettings& settings) { settings.publishVideo.chosen = enable; });
}

Code Session::enableDualStream(bool enable) {
  return changeMedia([=](MediaSettings& settings) { settings.dualStream = enable; });
}

Code Session::enableExternalRender(bool enable) {
  return changeMedia([=](MediaSettings& settings) { settings.externalRender = enable; });
}

Code Session::enableSubscribe(bool audio, bool video) {
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  subscriptions_.setDefaults(audio, video);
  pushSubscriptions();
  return Code::kOk;
}

Code Session::enableSubscribeAudio(const std::string& userId, bool enable) {
  if (!isId(userId)) return Code::kInvalidArgument;
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  if (!subscriptions_.setAudio(userId, enable)) return Code::kTooLarge;
  pushSubscriptions();
  return Code::kOk;
}

Code Session::enableSubscribeVideo(const std::string& userId, bool enable, bool camera) {
  if (!isId(userId)) return Code::kInvalidArgument;
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  const bool set =
      camera ? subscriptions_.setCamera(userId, enable) : subscriptions_.setScreen(userId, enable);
  if (!set) return Code::kTooLarge;
  pushSubscriptions();
  return Code::kOk;
}

Code Session::setRemoteDefaultStream(std::int32_t type) {
  if (!isCameraStream(type)) return Code::kInvalidArgument;
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  subscriptions_.setDefaultCameraStream(static_cast<StreamType>(type));
  pushSubscriptions();
  return Code::kOk;
}

Code Session::setRemoteStream(const std::string& userId, std::int32_t type) {
  if (!isCameraStream(type) || !isId(userId)) return Code::kInvalidArgument;
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  if (!subscriptions_.setCameraStream(userId, static_cast<StreamType>(type))) {
    return Code::kTooLarge;
  }
  pushSubscriptions();
  return Code::kOk;
}

Code Session::setReconnectResumedMedia(bool audio, bool video, bool share) {
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  resumeAudio_ = audio;
  resumeVideo_ = video;
  resumeShare_ = share;
  return Code::kOk;
}

Code Session::startPreview() {
  MutexLock lock(mutex_);
  const Code code = ready();
  if (code != Code::kOk) return code;
  if (settings_.preview) return Code::kAlreadyRunning;
  settings_.preview = true;
  replan();
  return Code::kOk;
}

Code Session::stopPreview() {
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  if (!settings_.preview) return Code::kNotRunning;
  settings_.preview = false;
  replan();
  return Code::kOk;
}

Code Session::setSceneMode(std::int32_t mode) {
  if (mode != static_cast<std::int32_t>(SceneMode::kDetail) &&
      mode != static_cast<std::int32_t>(SceneMode::kMotion)) {
    return Code::kInvalidArgument;
  }
  return changeMedia(
      [=](MediaSettings& settings) { settings.sceneMode = static_cast<SceneMode>(mode); });
}

Code Session::checkShare(const VideoOption& option, ShareRequest& request) const {
  if (option.left < 0 || option.top < 0 || option.width < 0 || option.height < 0 ||
      option.frameRate < 0) {
    return Code::kInvalidArgument;
  }
  const bool window = option.deviceType == Kavrin::ConferenceEngine::kShareSourceWindow;
  const auto sources = environment_.devices->shareSources();
  const auto source = std::find_if(sources.begin(), sources.end(), [&](const ShareEntry& entry) {
    return entry.id == option.deviceId && entry.window == window;
  });
  if (source == sources.end()) return Code::kNoSuchDevice;
  if (option.left > source->width - 2 || option.top > source->height - 2) {
    return Code::kInvalidArgument;
  }
  if (option.width == 1 || option.height == 1) return Code::kInvalidArgument;
  request.id = option.deviceId;
  request.window = window;
  request.left = option.left;
  request.top = option.top;
  request.width = option.width;
  request.height = option.height;
  request.frameRate = option.frameRate;
  request.excludedWindows = option.excludedWindows;
  return Code::kOk;
}

Code Session::startShare(const VideoOption& option) {
  ShareRequest request;
  MutexLock lock(mutex_);
  Code code = inRoom();
  if (code == Code::kOk && settings_.share) code = Code::kAlreadyRunning;
  if (code == Code::kOk) code = checkShare(option, request);
  if (code != Code::kOk) return code;
  settings_.share = std::move(request);
  pushMedia();
  return Code::kOk;
}

Code Session::updateShare(const VideoOption& option) {
  ShareRequest request;
  MutexLock lock(mutex_);
  Code code = inRoom();
  if (code == Code::kOk && !settings_.share) code = Code::kNotRunning;
  if (code == Code::kOk) code = checkShare(option, request);
  if (code != Code::kOk) return code;
  settings_.share = std::move(request);
  pushMedia();
  return Code::kOk;
}

Code Session::stopShare() {
  MutexLock lock(mutex_);
  const Code code = inRoom();
  if (code != Code::kOk) return code;
  if (!settings_.share) return Code::kNotRunning;
  settings_.share.reset();
  pushMedia();
  return Code::kOk;
}

Code Session::enableVolumeIndication(bool enable, std::int32_t cycleMs) {
  if (enable && cycleMs <= 0) return Code::kInvalidArgument;
  MutexLock lock(mutex_);
  const Code code = alive();
  if (code != Code::kOk) return code;
  settings_.volumeIndication = enable;
  const std::uint64_t generation = ++volumeGeneration_;
  replan();
  if (!enable) return Code::kOk;
  const std::chrono::milliseconds cycle(std::clamp(cycleMs, kMinCycle, kMaxCycle));
  postAt(Clock::now() + cycle,
         [generation, cycle](Session& self) { self.volumeStep(generation, cycle); });
  return Code::kOk;
}

}  // namespace kavrin::conference
