#include "conference/room/subscription_policy.h"

namespace kavrin::conference {

SubscriptionPolicy::Exception* SubscriptionPolicy::exceptionFor(const std::string& userId) {
  const auto found = exceptions_.find(userId);
  if (found != exceptions_.end()) return &found->second;
  return exceptions_.size() < kMaxMembers ? &exceptions_[userId] : nullptr;
}

const SubscriptionPolicy::Exception* SubscriptionPolicy::find(const std::string& userId) const {
  const auto found = exceptions_.find(userId);
  return found == exceptions_.end() ? nullptr : &found->second;
}

bool SubscriptionPolicy::setAudio(const std::string& userId, bool wanted) {
  Exception* exception = exceptionFor(userId);
  if (exception) exception->audio = wanted;
  return exception != nullptr;
}

bool SubscriptionPolicy::setCamera(const std::string& userId, bool wanted) {
  Exception* exception = exceptionFor(userId);
  if (exception) exception->camera = wanted;
  return exception != nullptr;
}

bool SubscriptionPolicy::setScreen(const std::string& userId, bool wanted) {
  Exception* exception = exceptionFor(userId);
  if (exception) exception->screen = wanted;
  return exception != nullptr;
}

bool SubscriptionPolicy::setCameraStream(const std::string& userId, StreamType type) {
  Exception* exception = exceptionFor(userId);
  if (exception) exception->cameraStream = type;
  return exception != nullptr;
}

bool SubscriptionPolicy::wantsAudio(const std::string& userId) const {
  const Exception* exception = find(userId);
  return exception ? exception->audio.value_or(audio_) : audio_;
}

bool SubscriptionPolicy::wantsCamera(const std::string& userId) const {
  const Exception* exception = find(userId);
  return exception ? exception->camera.value_or(video_) : video_;
}

bool SubscriptionPolicy::wantsScreen(const std::string& userId) const {
  const Exception* exception = find(userId);
  return exception ? exception->screen.value_or(video_) : video_;
}

StreamType SubscriptionPolicy::cameraStream(const std::string& userId) const {
  const Exception* exception = find(userId);
  return exception ? exception->cameraStream.value_or(cameraStream_) : cameraStream_;
}

void SubscriptionPolicy::watch(const std::string& userId, bool screen, bool on) {
  if (on) {
    watched_.insert({userId, screen});
  } else {
    watched_.erase({userId, screen});
  }
}

bool SubscriptionPolicy::watches(const std::string& userId, bool screen) const {
  return watched_.count({userId, screen}) != 0;
}

}  // namespace kavrin::conference
