#include <utility>

#include "conference/base/text.h"
#include "conference/session/inbox.h"
#include "conference/session/session.h"
#include "conference/session/sound_file.h"

namespace kavrin::conference {
namespace {

// Both together keep stop() within two seconds.
constexpr auto kFilePatience = std::chrono::milliseconds(700);
constexpr auto kCallbackPatience = std::chrono::milliseconds(1000);

}  // namespace

std::shared_ptr<Session> Session::create(KavrinConferenceEngineEvent* sink,
                                         Environment environment) {
  auto session = std::make_shared<Session>(sink, std::move(environment));
  session->remote_->setDeliver(
      [weak = std::weak_ptr<Session>(session)](const std::string& from, const PicturePtr& picture) {
        if (const auto self = weak.lock()) self->deliverPicture(from, picture);
      });
  return session;
}

Session::Session(KavrinConferenceEngineEvent* sink, Environment environment)
    : environment_(std::move(environment)),
      reporter_(sink),
      speaker_(environment_.devices->openSpeaker(0)),
      local_(environment_.devices,
             {[this](const PicturePtr& picture) { showPreview(picture); },
              [this](LocalMedia::Device device, DeviceState state) { showDevice(device, state); },
              [this](const Sound& sound) { playLoopback(sound); }}) {
  remote_->setSpeaker(speaker_);
  remote_->setSpeakerGain(settings_.speakerVolume / 100.0);
}

Session::~Session() { stop(); }

void Session::showPreview(const PicturePtr& picture) {
  std::string userId;
  {
    MutexLock lock(mutex_);
    userId = userId_;
  }
  remote_->onPreview(userId, picture);
}

void Session::showDevice(LocalMedia::Device device, DeviceState state) {
  const auto code = static_cast<std::int32_t>(state);
  post([device, code](Session& self) {
    self.report([&](KavrinConferenceEngineEvent& sink) {
      if (device == LocalMedia::Device::kCamera) {
        sink.OnVideoDeviceStateChange(code);
      } else {
        sink.OnAudioDeviceStateChange(static_cast<std::int32_t>(DeviceKind::kMicrophone), code);
      }
    });
  });
}

void Session::post(std::function<void(Session&)> task) {
  loop_->post([weak = weak_from_this(), task = std::move(task)] {
    if (const auto self = weak.lock()) task(*self);
  });
}

void Session::postAt(Clock::time_point time, std::function<void(Session&)> task) {
  loop_->postAt(time, [weak = weak_from_this(), task = std::move(task)] {
    if (const auto self = weak.lock()) task(*self);
  });
}

void Session::finishLater(Completions::Id id, Code code) {
  if (id == 0) return;
  if (!loop_->post([weak = weak_from_this(), id, code] {
        if (const auto self = weak.lock()) self->completions_.finish(id, code);
      })) {
    completions_.finish(id, Code::kCancelled);
  }
}

bool Session::stopped() const {
  MutexLock lock(mutex_);
  return phase_ == Phase::kStopped;
}

Code Session::alive() const { return phase_ == Phase::kStopped ? Code::kStopped : Code::kOk; }

Code Session::ready() const {
  switch (phase_) {
    case Phase::kReady:
      return Code::kOk;
    case Phase::kReplaced:
      return Code::kLoggedInElsewhere;
    case Phase::kStopped:
      return Code::kStopped;
    case Phase::kIdle:
    case Phase::kLoggingIn:
      break;
  }
  return Code::kNotLoggedIn;
}

void Session::setRootHost(const std::string& rootHost) {
  MutexLock lock(mutex_);
  rootHost_ = rootHost;
}

void Session::init(const std::string& userId, const std::string& name, const std::string& password,
                   Completion completion) {
  const Completions::Id id = completions_.add(std::move(completion));
  if (id == 0) return;
  const Code code = beginLogin(userId, name, password, id);
  log_.line("Init user " + userId + ": " + codeText(code));
  if (code != Code::kOk) finishLater(id, code);
}

Code Session::beginLogin(const std::string& userId, const std::string& name,
                         const std::string& password, Completions::Id id) {
  std::shared_ptr<HomeLink> before;  // Destroyed without the lock.
  MutexLock lock(mutex_);
  if (phase_ == Phase::kStopped) return Code::kStopped;
  if (phase_ == Phase::kLoggingIn || phase_ == Phase::kReady) return Code::kAlreadyLoggedIn;
  if (!isId(userId) || userId.front() == '#') return Code::kInvalidArgument;
  if (name.size() > kMaxInfoSize || password.size() > kMaxInfoSize) return Code::kTooLarge;
  before = std::move(link_);
  home_ = environment_.homeFor(rootHost_);
  link_ = home_->connect({userId, name, password, extendedInfo_},
                         std::make_shared<Inbox>(weak_from_this(), loop_, remote_));
  userId_ = userId;
  loginId_ = id;
  phase_ = Phase::kLoggingIn;
  local_.setLink(link_);
  link_->setSubscriptions(std::make_shared<const SubscriptionPolicy>(subscriptions_));
  link_->login();
  return Code::kOk;
}

void Session::stop() {
  {
    MutexLock lock(stopMutex_);
    if (stopping_) {
      // Somebody else stops already. Waiting on the callback thread would keep that one waiting.
      while (!stopFinished_ && !loop_->onThread()) stopDone_.wait(stopMutex_);
      return;
    }
    stopping_ = true;
  }
  log_.line("UnInit");
  reporter_.close();
  std::shared_ptr<HomeLink> link;
  std::shared_ptr<RoomHome> home;
  std::shared_ptr<SoundFile> speakerTest;
  {
    MutexLock lock(mutex_);
    phase_ = Phase::kStopped;
    stay_ = 0;
    link = std::move(link_);
    home = std::move(home_);
    speakerTest = std::move(speakerTest_);
    view_.end();
  }
  if (link) link->logout();
  speakerTest.reset();
  local_.setLink(nullptr);
  local_.stop();
  files_.close(kFilePatience);
  loop_->close(kCallbackPatience);
  completions_.close();
  remote_->forgetAll();
  MutexLock lock(stopMutex_);
  stopFinished_ = true;
  stopDone_.notifyAll();
}

}  // namespace kavrin::conference
