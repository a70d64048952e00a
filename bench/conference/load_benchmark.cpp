// A room of 2 to 64 members of whom 1 to 6 publish 360p: processor time, and how long a picture
// takes from its source to each member's callback.
//
//   conference_load [--benchmark_filter=…]
//
// Counters: cores, processor seconds per second for everything, sources included; perFrame_us,
// processor time per delivered picture; p50_us and p95_us, latency; fps, pictures per second of one
// stream at one member; arrived, their share of those produced.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

#include "conference/api/engine_object.h"
#include "conference/generated/generated_catalog.h"
#include "conference/room/in_process_home.h"

namespace kavrin::conference {
namespace {

using namespace std::chrono_literals;

constexpr auto kWarmUp = 1s;
constexpr auto kMeasure = 3s;

// Notes when pictures were produced and finds them again at the sinks by their memory: nothing on
// the way copies them.
class Probe {
 public:
  void produced(const Picture& picture) {
    MutexLock lock(mutex_);
    born_[picture.data] = picture.producedAt;
    ++produced_;
  }
  void seen(const unsigned char* data) {
    const auto now = Clock::now();
    MutexLock lock(mutex_);
    const auto found = born_.find(data);
    if (found == born_.end()) {
      ++unknown_;
      return;
    }
    latencies_.push_back(std::chrono::duration<double, std::micro>(now - found->second).count());
  }
  struct Result {
    std::vector<double> latencies;  // microseconds, sorted
    std::size_t produced = 0;
    std::size_t unknown = 0;
  };
  Result take() {
    Result result;
    {
      MutexLock lock(mutex_);
      result.latencies.swap(latencies_);
      result.produced = std::exchange(produced_, 0);
      result.unknown = std::exchange(unknown_, 0);
    }
    std::sort(result.latencies.begin(), result.latencies.end());
    return result;
  }

 private:
  Mutex mutex_;
  std::unordered_map<const void*, Clock::time_point> born_ KAVRIN_GUARDED_BY(mutex_);
  std::vector<double> latencies_ KAVRIN_GUARDED_BY(mutex_);
  std::size_t produced_ KAVRIN_GUARDED_BY(mutex_) = 0;
  std::size_t unknown_ KAVRIN_GUARDED_BY(mutex_) = 0;
};

// The generated devices, with the probe between camera and engine.
class ProbedCatalog : public DeviceCatalog {
 public:
  explicit ProbedCatalog(Probe& probe) : probe_(probe), devices_(makeGeneratedCatalog()) {}

  std::vector<CameraEntry> cameras() const override { return devices_->cameras(); }
  std::vector<AudioDeviceEntry> microphones() const override { return devices_->microphones(); }
  std::vector<AudioDeviceEntry> speakers() const override { return devices_->speakers(); }
  std::vector<ShareEntry> shareSources() const override { return devices_->shareSources(); }
  std::unique_ptr<Capture> openCamera(std::int32_t id, const VideoFormat& format,
                                      const std::string& userId,
                                      PictureConsumer consumer) override {
    return devices_->openCamera(id, format, userId,
                                [this, consumer = std::move(consumer)](PicturePtr picture) {
                                  probe_.produced(*picture);
                                  consumer(std::move(picture));
                                });
  }
  std::unique_ptr<Capture> openMicrophone(std::int32_t id, const std::string& userId,
                                          SoundConsumer consumer) override {
    return devices_->openMicrophone(id, userId, std::move(consumer));
  }
  std::unique_ptr<Capture> openShare(const ShareRequest& request,
                                     PictureConsumer consumer) override {
    return devices_->openShare(request, std::move(consumer));
  }
  std::unique_ptr<SoundOutput> openSpeaker(std::int32_t id) override {
    return devices_->openSpeaker(id);
  }
  PicturePtr shareThumbnail(std::int32_t id, bool window, int width, int height) override {
    return devices_->shareThumbnail(id, window, width, height);
  }

 private:
  Probe& probe_;
  const std::shared_ptr<DeviceCatalog> devices_;
};

// A host that does nothing but tell the probe which pictures it saw.
class Audience : public KavrinConferenceEngineEvent {
 public:
  explicit Audience(Probe& probe) : probe_(probe) {}
  virtual ~Audience() = default;
  bool joined() const { return joined_; }

  void OnRoomMemberVideoFrame(const ConfRoom&, const char*,
                              const Kavrin::ConferenceEngine::VideoFrame& frame) override {
    probe_.seen(frame.data);
  }
  void OnRoomStateChange(const ConfRoom&, std::int32_t state) override {
    joined_ = state == static_cast<std::int32_t>(RoomState::kJoined);
  }
  void OnRtcStats(const ConfRoom&, const Kavrin::ConferenceEngine::RtcStatistics&) override {}
  void OnAudioStateChanged(const ConfRoom&, const char*, std::int32_t) override {}
  void OnVideoStateChanged(const ConfRoom&, const char*, std::int32_t, std::int32_t,
                           std::int32_t) override {}
  void OnActiveSpeaker(const ConfRoom&, const char*, std::int32_t) override {}
  void OnRoomMemberStateChange(const ConfRoom&, const char*, std::int32_t) override {}
  void OnRoomError(const ConfRoom&, std::int32_t, const char*) override {}
  void OnCustomMessage(const ConfRoom&, const char*, const char*, const char*) override {}
  void OnAudioDeviceStateChange(std::int32_t, std::int32_t) override {}
  void OnAudioDefaultDeviceChanged(std::int32_t) override {}
  void OnVideoDeviceStateChange(std::int32_t) override {}
  void OnNetworkQuality(const ConfRoom&, const char*, std::uint32_t, std::int32_t) override {}
  void OnSnapshotTaken(const ConfRoom&, const char*, std::int32_t, const char*, std::int32_t,
                       std::int32_t, std::int32_t) override {}
  void OnAudioVolumeIndication(
      const ConfRoom&, const std::vector<Kavrin::ConferenceEngine::VolumeIndication>&) override {}
  void OnAudioDeviceVolumeChanged(std::int32_t, std::int32_t, bool) override {}
  void OnDataMessageReceived(const ConfRoom&, const char*) override {}
  void OnDataChannelStateChanged(const ConfRoom&, std::int32_t, const char*) override {}

 private:
  Probe& probe_;
  std::atomic<bool> joined_{false};
};

class Attendant {
 public:
  Attendant(Probe& probe, std::shared_ptr<DeviceCatalog> devices, const std::string& userId)
      : audience_(probe), engine_(&audience_, {std::move(devices), &inProcessHomeFor}) {
    std::atomic<bool> done{false};
    engine_.SetRootHost("load");
    engine_.Init(userId.c_str(), userId.c_str(), "", [&](std::int32_t) { done = true; });
    while (!done) std::this_thread::sleep_for(1ms);
    engine_.JoinRoom("load");
    while (!audience_.joined()) std::this_thread::sleep_for(1ms);
  }
  ~Attendant() { engine_.UnInit(); }

  void publish() { engine_.EnablePublish(true, true); }

 private:
  Audience audience_;
  EngineObject engine_;
};

double processorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) { return time.tv_sec + time.tv_usec / 1e6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double percentile(const std::vector<double>& sorted, double share) {
  if (sorted.empty()) return 0;
  return sorted[static_cast<std::size_t>(share * double(sorted.size() - 1))];
}

void load(benchmark::State& state) {
  const auto memberCount = static_cast<int>(state.range(0));
  const auto publisherCount = static_cast<int>(state.range(1));
  Probe probe;
  auto devices = std::make_shared<ProbedCatalog>(probe);
  std::vector<std::unique_ptr<Attendant>> members;
  for (int number = 0; number < memberCount; ++number) {
    members.push_back(
        std::make_unique<Attendant>(probe, devices, "member-" + std::to_string(number)));
  }
  for (int number = 0; number < publisherCount; ++number) members[number]->publish();
  std::this_thread::sleep_for(kWarmUp);
  for (auto unused : state) {
    (void)unused;
    probe.take();
    const double before = processorSeconds();
    const auto begin = Clock::now();
    std::this_thread::sleep_for(kMeasure);
    const double wall = std::chrono::duration<double>(Clock::now() - begin).count();
    const double busy = processorSeconds() - before;
    const Probe::Result result = probe.take();
    const double streams = double(publisherCount) * (memberCount - 1);
    const auto delivered = double(result.latencies.size());
    state.counters["cores"] = busy / wall;
    state.counters["perFrame_us"] = delivered > 0 ? busy * 1e6 / delivered : 0;
    state.counters["p50_us"] = percentile(result.latencies, 0.50);
    state.counters["p95_us"] = percentile(result.latencies, 0.95);
    state.counters["fps"] = delivered / streams / wall;
    state.counters["arrived"] = delivered / (double(result.produced) * (memberCount - 1));
    if (result.unknown > 0) state.SkipWithError("pictures were copied on their way");
  }
}

void sizes(benchmark::internal::Benchmark* benchmark) {
  for (const int members : {2, 4, 8, 16, 32, 64}) {
    for (const int publishers : {1, 2, 4, 6}) {
      if (publishers <= members) benchmark->Args({members, publishers});
    }
  }
  benchmark->ArgNames({"members", "publishers"})->Iterations(1)->Unit(benchmark::kMillisecond);
}

BENCHMARK(load)->Apply(sizes);

}  // namespace
}  // namespace kavrin::conference

BENCHMARK_MAIN();
