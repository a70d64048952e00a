// What an event costs the engine thread that reports it, from the sink's callback to the queue, and
// what each path allocates.
//
//   module_benchmark [--benchmark_filter=…]
//
// Every "…/ours" stands beside a "…/floor" that builds the same values and appends them under a
// lock. The counter "allocations" is per operation.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "bench/inside/allocations.h"
#include "bench/inside/facade.h"

namespace kavrin::bench {
namespace {

using Kavrin::ConferenceEngine::ConfRoom;
using Kavrin::ConferenceEngine::VideoFrame;

// Eight threads stay below the queue's bound, where it would begin to drop events.
constexpr std::int64_t kEvents = 100'000;

const ConfRoom& room() {
  static const ConfRoom made{"room", "local"};
  return made;
}

Facade& facade() {
  static Facade made;
  return made;
}

// Counts the allocations of a thread's turn as a rate per iteration.
class AllocationCounter {
 public:
  explicit AllocationCounter(benchmark::State& state) : state_(state) {}
  ~AllocationCounter() {
    state_.counters["allocations"] = benchmark::Counter(
        static_cast<double>(allocations() - before_), benchmark::Counter::kAvgIterations);
  }
  AllocationCounter(const AllocationCounter&) = delete;
  AllocationCounter& operator=(const AllocationCounter&) = delete;

 private:
  benchmark::State& state_;
  const std::int64_t before_ = allocations();
};

void eventToQueue(benchmark::State& state) {
  KavrinConferenceEngineEvent& sink = facade()->eventSink();
  {
    const AllocationCounter counter(state);
    std::int32_t volume = 0;
    for (auto _ : state) sink.OnActiveSpeaker(room(), "user1", volume++);
  }
  if (state.thread_index() == 0) facade()->takePendingEvents();
}

class FloorQueue {
 public:
  void append(std::shared_ptr<const NodeEvent> event) {
    const std::lock_guard<std::mutex> lock(mutex_);
    events_.push_back(std::move(event));
  }
  void clear() { events_.clear(); }

 private:
  std::mutex mutex_;
  std::deque<std::shared_ptr<const NodeEvent>> events_;
};

FloorQueue& floorQueue() {
  static FloorQueue made;
  return made;
}

// Not inlined: whatever a module does, the engine calls it through a virtual table.
[[gnu::noinline]] void floorEvent(const ConfRoom& from, const char* user, std::int32_t volume) {
  auto event = std::make_shared<NodeEvent>();
  event->key = "OnActiveSpeaker";
  event->parms.reserve(4);
  event->parms.emplace_back(from.m_localUid);
  event->parms.emplace_back(from.m_roomId);
  event->parms.emplace_back(user);
  event->parms.push_back(Variant::int32(volume));
  floorQueue().append(std::move(event));
}

void eventFloor(benchmark::State& state) {
  {
    const AllocationCounter counter(state);
    std::int32_t volume = 0;
    for (auto _ : state) floorEvent(room(), "user1", volume++);
  }
  if (state.thread_index() == 0) floorQueue().clear();
}

void facadeCall(benchmark::State& state, const std::string& name, const std::string& text) {
  const AllocationCounter counter(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(facade()->runJsonParamFunction(facade().env(), name, text));
  }
}

void deliveredPicture(benchmark::State& state) {
  static const unsigned char pixels[64 * 64 * 3 / 2] = {};
  facade()->frameStore().announce("user1", 0);
  const AllocationCounter counter(state);
  for (auto _ : state) {
    facade()->eventSink().OnRoomMemberVideoFrame(room(), "user1", VideoFrame{64, 64, 0, pixels});
  }
}

BENCHMARK(eventToQueue)->Name("event/ours")->ThreadRange(1, 8)->Iterations(kEvents)->UseRealTime();
BENCHMARK(eventFloor)->Name("event/floor")->ThreadRange(1, 8)->Iterations(kEvents)->UseRealTime();
BENCHMARK_CAPTURE(facadeCall, json, "MuteAudio", R"({"isEnable":true,"userId":"user1"})")
    ->Name("JSON method, in the facade");
BENCHMARK(deliveredPicture)->Name("picture of 64 x 64 delivered");
BENCHMARK_CAPTURE(facadeCall, fetch, "GetVideoFrame", R"({"uid":"user1","videoSourceType":0})")
    ->Name("GetVideoFrame with nothing bound, in the facade");

}  // namespace

void startFacade() { facade(); }

}  // namespace kavrin::bench

int main(int argc, char** argv) {
  // Memory that was freed stays with the process: who runs first must not pay for all.
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
  mallopt(M_MMAP_THRESHOLD, 1 << 30);
  kavrin::bench::startFacade();  // this thread is its script thread
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
