#include <utility>

#include "conference/session/session.h"
#include "conference/session/sound_file.h"
#include "conference/session/statistics.h"

namespace kavrin::conference {
namespace {

using Sink = KavrinConferenceEngineEvent;
using Volumes = std::vector<Kavrin::ConferenceEngine::VolumeIndication>;

constexpr auto kLevelPeriod = std::chrono::milliseconds(100);
constexpr auto kStatisticsPeriod = std::chrono::seconds(1);

}  // namespace

void Session::startRoomTimers(Stay stay) {
  const auto now = Clock::now();
  local_.takeBytesSent();
  remote_->takeCounters();
  postAt(now + kLevelPeriod, [stay](Session& self) { self.levelStep(stay); });
  postAt(now + kStatisticsPeriod, [stay, now](Session& self) { self.statisticsStep(stay, now); });
}

std::map<std::string, double> Session::audibleLoudness() {
  auto loudness = remote_->takeLoudness();
  const auto own = local_.takeLoudness();
  MutexLock lock(mutex_);
  for (auto entry = loudness.begin(); entry != loudness.end();) {
    const MemberRecord* member = view_.find(entry->first);
    const bool heard = member != nullptr && member->audio == StreamState::kOn &&
                       subscriptions_.wantsAudio(entry->first);
    entry = heard ? std::next(entry) : loudness.erase(entry);
  }
  const MemberRecord* local = self();
  if (own && local != nullptr && local->audio == StreamState::kOn) loudness[userId_] = *own;
  return loudness;
}

void Session::levelStep(Stay stay) {
  ConfRoom where;
  {
    MutexLock lock(mutex_);
    if (stay_ != stay) return;
    where = roomOf(stay);
  }
  if (levels_.step(audibleLoudness())) {
    const std::string& speaker = levels_.speaker();
    const auto volume = static_cast<std::int32_t>(levels_.volumeNow(speaker));
    report([&](Sink& sink) { sink.OnActiveSpeaker(where, speaker.c_str(), volume); });
  }
  postAt(Clock::now() + kLevelPeriod, [stay](Session& self) { self.levelStep(stay); });
}

void Session::volumeStep(std::uint64_t generation, std::chrono::milliseconds cycle) {
  ConfRoom where;
  bool inRoom = false;
  {
    MutexLock lock(mutex_);
    if (volumeGeneration_ != generation) return;
    inRoom = joined();
    where = roomOf(stay_);
  }
  if (inRoom) {
    Volumes volumes;
    for (const auto& [member, volume] : levels_.takeVolumes()) volumes.push_back({member, volume});
    report([&](Sink& sink) { sink.OnAudioVolumeIndication(where, volumes); });
  }
  postAt(Clock::now() + cycle,
         [generation, cycle](Session& self) { self.volumeStep(generation, cycle); });
}

void Session::statisticsStep(Stay stay, Clock::time_point since) {
  ConfRoom where;
  {
    MutexLock lock(mutex_);
    if (stay_ != stay) return;
    where = roomOf(stay);
  }
  const auto now = Clock::now();
  const auto period = std::chrono::duration_cast<std::chrono::microseconds>(now - since);
  const std::uint64_t sent = local_.takeBytesSent();
  const RemoteMedia::Counters received = remote_->takeCounters();
  const auto statistics = statisticsOf(sent, received, period);
  const Quality tx = qualityOf(sent > 0, statistics.m_nTxPacketLossRate, 0);
  const Quality rx =
      qualityOf(received.bytes > 0, statistics.m_nRxPacketLossRate, statistics.m_nNetDelay);
  report([&](Sink& sink) {
    sink.OnRtcStats(where, statistics);
    sink.OnNetworkQuality(where, where.m_localUid.c_str(), static_cast<std::uint32_t>(tx),
                          static_cast<std::int32_t>(rx));
  });
  postAt(now + kStatisticsPeriod, [stay, now](Session& self) { self.statisticsStep(stay, now); });
}

void Session::playLoopback(const Sound& sound) {
  std::shared_ptr<SoundOutput> speaker;
  double gain = 1;
  {
    MutexLock lock(mutex_);
    speaker = speaker_;
    gain = settings_.speakerVolume / 100.0;
  }
  if (speaker) speaker->play(sound, gain);
}

void Session::loopbackStep(std::uint64_t generation, std::chrono::milliseconds interval) {
  ConfRoom where;
  std::shared_ptr<SoundOutput> speaker;
  {
    MutexLock lock(mutex_);
    if (loopbackGeneration_ != generation || !settings_.loopbackTest) return;
    where = {std::string(), userId_};
    speaker = speaker_;
  }
  const Volumes volumes{{"microphone", volumeOf(local_.takeLoudness().value_or(0))},
                        {"speaker", volumeOf(speaker ? speaker->takeMeanSquare() : 0)}};
  report([&](Sink& sink) { sink.OnAudioVolumeIndication(where, volumes); });
  postAt(Clock::now() + interval,
         [generation, interval](Session& self) { self.loopbackStep(generation, interval); });
}

void Session::speakerTestStep(std::uint64_t generation, int step) {
  constexpr int kStepsPerReport = 5;
  ConfRoom where;
  std::shared_ptr<SoundOutput> speaker;
  std::shared_ptr<SoundFile> ended;
  bool outside = false;
  {
    MutexLock lock(mutex_);
    if (speakerTestGeneration_ != generation || !speakerTest_) return;
    if (speakerTest_->ended()) ended = std::move(speakerTest_);
    where = roomOf(stay_);
    outside = stay_ == 0;
    speaker = speaker_;
  }
  if (outside && step % kStepsPerReport == 0) {
    const Volumes volumes{{"speaker", volumeOf(speaker ? speaker->takeMeanSquare() : 0)}};
    report([&](Sink& sink) { sink.OnAudioVolumeIndication(where, volumes); });
  }
  if (ended) {
    report([](Sink& sink) {
      sink.OnAudioDeviceStateChange(static_cast<std::int32_t>(DeviceKind::kSpeaker),
                                    static_cast<std::int32_t>(DeviceState::kStopped));
    });
    return;
  }
  postAt(Clock::now() + kLevelPeriod,
         [generation, step](Session& self) { self.speakerTestStep(generation, step + 1); });
}

}  // namespace kavrin::conference
