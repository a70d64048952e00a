#include "conference/session/local_media.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "conference/media/noise_gate.h"
#include "conference/media/scaler.h"

namespace kavrin::conference {
namespace {

// Half a second; older system sound is of no use to anybody.
constexpr std::size_t kMaxSystemSamples = kSampleRate / 2;

std::int16_t clip(long sample) {
  return static_cast<std::int16_t>(std::clamp(sample, -32768L, 32767L));
}

}  // namespace

LocalMedia::LocalMedia(std::shared_ptr<DeviceCatalog> catalog, Outlets outlets)
    : catalog_(std::move(catalog)), outlets_(std::move(outlets)) {}

LocalMedia::~LocalMedia() { stop(); }

void LocalMedia::setLink(std::shared_ptr<HomeLink> link) {
  MutexLock lock(mutex_);
  link_.swap(link);
}

void LocalMedia::setPlan(const CapturePlan& plan) {
  {
    MutexLock lock(mutex_);
    if (stopped_ || plan == plan_) return;
    plan_ = plan;
  }
  worker_.post([this] { reconcile(); });
}

void LocalMedia::stop() {
  {
    MutexLock lock(mutex_);
    stopped_ = true;
    plan_ = CapturePlan();
  }
  // Opening a device has an end; waiting for it keeps the captures in one pair of hands.
  while (!worker_.close(std::chrono::milliseconds(1000))) {
  }
  closeAll();
}

void LocalMedia::closeAll() {
  camera_.capture.reset();
  microphone_.capture.reset();
  share_.capture.reset();
}

void LocalMedia::reconcile() {
  CapturePlan plan;
  {
    MutexLock lock(mutex_);
    plan = plan_;
  }
  reconcileCamera(plan);
  reconcileMicrophone(plan);
  reconcileShare(plan);
}

void LocalMedia::reconcileCamera(const CapturePlan& plan) {
  const CapturePlan& now = camera_.plan;
  const bool same = now.userId == plan.userId && now.cameraId == plan.cameraId &&
                    now.cameraFormat == plan.cameraFormat;
  if (camera_.capture && (!plan.runCamera || !same)) {
    camera_.capture.reset();
    outlets_.deviceState(Device::kCamera, DeviceState::kStopped);
  }
  if (!plan.runCamera) {
    MutexLock lock(mutex_);
    newestCamera_.reset();
  } else if (!camera_.capture) {
    camera_.plan = plan;
    camera_.capture = catalog_->openCamera(plan.cameraId, plan.cameraFormat, plan.userId,
                                           [this](PicturePtr picture) { onCamera(picture); });
    outlets_.deviceState(Device::kCamera,
                         camera_.capture ? DeviceState::kStarted : DeviceState::kFailed);
  }
}

void LocalMedia::reconcileMicrophone(const CapturePlan& plan) {
  const CapturePlan& now = microphone_.plan;
  const bool same = now.userId == plan.userId && now.microphoneId == plan.microphoneId;
  if (microphone_.capture && (!plan.runMicrophone || !same)) {
    microphone_.capture.reset();
    outlets_.deviceState(Device::kMicrophone, DeviceState::kStopped);
  }
  if (plan.runMicrophone && !microphone_.capture) {
    microphone_.plan = plan;
    auto gate = std::make_shared<NoiseGate>();
    microphone_.capture =
        catalog_->openMicrophone(plan.microphoneId, plan.userId,
                                 [this, gate](SoundPtr sound) { onMicrophone(sound, *gate); });
    outlets_.deviceState(Device::kMicrophone,
                         microphone_.capture ? DeviceState::kStarted : DeviceState::kFailed);
  }
}

void LocalMedia::reconcileShare(const CapturePlan& plan) {
  if (share_.capture && (!plan.runShare || !(share_.plan.share == plan.share))) {
    share_.capture.reset();
  }
  if (!plan.runShare) {
    MutexLock lock(mutex_);
    newestShare_.reset();
  } else if (!share_.capture) {
    share_.plan = plan;
    share_.capture =
        catalog_->openShare(plan.share, [this](PicturePtr picture) { onShare(picture); });
  }
}

void LocalMedia::onCamera(const PicturePtr& picture) {
  std::shared_ptr<HomeLink> link;
  CapturePlan plan;
  {
    MutexLock lock(mutex_);
    if (!plan_.runCamera) return;
    newestCamera_ = picture;
    plan = plan_;
    link = link_;
  }
  if (plan.preview) outlets_.preview(picture);
  if (plan.sendCamera) send(link, picture);
  if (plan.sendCameraSmall) {
    const VideoFormat small = smallFormat(picture->width, picture->height);
    send(link, scalePicture(*picture, small.width, small.height, StreamType::kCameraSmall));
  }
}

void LocalMedia::onShare(const PicturePtr& picture) {
  std::shared_ptr<HomeLink> link;
  int maxWidth = 0;
  int maxHeight = 0;
  {
    MutexLock lock(mutex_);
    if (!plan_.runShare) return;
    link = link_;
    maxWidth = plan_.shareMaxWidth;
    maxHeight = plan_.shareMaxHeight;
  }
  PicturePtr sent = picture;
  if (maxWidth > 0 && (picture->width > maxWidth || picture->height > maxHeight)) {
    const VideoFormat size = fitInto(picture->width, picture->height, maxWidth, maxHeight);
    sent = scalePicture(*picture, size.width, size.height, StreamType::kScreen);
  }
  {
    MutexLock lock(mutex_);
    newestShare_ = sent;
  }
  send(link, sent);
}

void LocalMedia::onMicrophone(const SoundPtr& sound, NoiseGate& gate) {
  auto processed = std::make_shared<Sound>(*sound);
  std::shared_ptr<HomeLink> link;
  bool loopback = false;
  {
    MutexLock lock(mutex_);
    if (!plan_.runMicrophone) return;
    for (std::int16_t& sample : processed->samples) {
      sample = clip(std::lround(sample * plan_.microphoneGain));
    }
    if (plan_.noiseSuppression) gate.process(processed->samples);
    if (plan_.mixSystemSound) mixSystemSound(processed->samples);
    processed->meanSquare = meanSquare(processed->samples);
    loudness_.add(processed->meanSquare);
    if (plan_.sendSound) {
      link = link_;
      bytesSent_ += processed->size();
    }
    loopback = plan_.loopbackTest;
  }
  if (link) link->sendSound(processed);
  if (loopback) outlets_.loopback(*processed);
}

void LocalMedia::addSystemSound(const Sound& sound) {
  MutexLock lock(mutex_);
  if (!plan_.mixSystemSound) return;
  systemSound_.insert(systemSound_.end(), sound.samples.begin(), sound.samples.end());
  while (systemSound_.size() > kMaxSystemSamples) systemSound_.pop_front();
}

void LocalMedia::mixSystemSound(std::vector<std::int16_t>& samples) {
  for (std::int16_t& sample : samples) {
    if (systemSound_.empty()) return;
    sample = clip(long{sample} + systemSound_.front());
    systemSound_.pop_front();
  }
}

void LocalMedia::send(const std::shared_ptr<HomeLink>& link, const PicturePtr& picture) {
  if (!link) return;
  link->sendPicture(picture);
  MutexLock lock(mutex_);
  bytesSent_ += picture->size();
}

PicturePtr LocalMedia::newestPicture(bool screen) const {
  MutexLock lock(mutex_);
  return screen ? newestShare_ : newestCamera_;
}

std::optional<double> LocalMedia::takeLoudness() {
  MutexLock lock(mutex_);
  if (loudness_.empty()) return std::nullopt;
  return loudness_.take();
}

std::uint64_t LocalMedia::takeBytesSent() {
  MutexLock lock(mutex_);
  return std::exchange(bytesSent_, 0);
}

}  // namespace kavrin::conference
