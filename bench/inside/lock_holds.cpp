// How long each mutex of the module is held while 1 to 8 engine threads report events and deliver
// pictures and the script thread polls, fetches and registers. Prints a JSON array, one entry per
// round, number of threads and mutex; times in microseconds of processor time. "longestCopyUs" is
// what one picture's copy takes at most when as many threads do nothing else.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/inside/facade.h"
#include "bench/inside/probed_mutex.h"
#include "support/script_first_mutex.h"

namespace kavrin::bench {
namespace {

using Kavrin::ConferenceEngine::ConfRoom;
using Kavrin::ConferenceEngine::VideoFrame;

constexpr int kRounds = 9;
constexpr int kMostThreads = 8;
constexpr std::uint16_t kWidth = 1280;
constexpr std::uint16_t kHeight = 720;
constexpr std::size_t kPictureBytes = std::size_t{kWidth} * kHeight * 3 / 2;
constexpr int kPictures = 1000;  // delivered in one turn

constexpr const char* kMutexes[] = {"frame store", "event queue", "callback registry"};
constexpr const char* kCopies = "copies";

double microseconds(std::int64_t ns) { return static_cast<double>(ns) / 1000; }

// One engine thread's picture, in memory of its own.
struct Source {
  std::string user;
  std::vector<unsigned char> pixels = std::vector<unsigned char>(kPictureBytes, 1);
};

// The least that the frame store could hold its mutex for: as many threads copy as many pictures,
// each into memory of its own, and the script thread, which comes first, copies the new ones from
// there. So the copies go from processor to processor as the frame store's do.
void copyOnly(const std::vector<Source>& sources) {
  struct Stream {
    std::vector<unsigned char> picture = std::vector<unsigned char>(kPictureBytes);
    bool fresh = false;
  };
  std::vector<Stream> streams(sources.size());
  std::vector<std::vector<unsigned char>> fetched(sources.size(), Stream().picture);
  ScriptFirstMutex mutex(kCopies);
  std::atomic<int> left{kPictures};
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < sources.size(); ++i) {
    threads.emplace_back([&, i] {
      while (left-- > 0) {
        const EngineLock lock(mutex);
        std::memcpy(streams[i].picture.data(), sources[i].pixels.data(), kPictureBytes);
        streams[i].fresh = true;
      }
    });
  }
  for (std::size_t i = 0; left > 0; i = (i + 1) % streams.size()) {
    const ScriptLock lock(mutex);
    if (!std::exchange(streams[i].fresh, false)) continue;
    std::memcpy(fetched[i].data(), streams[i].picture.data(), kPictureBytes);
  }
  for (std::thread& thread : threads) thread.join();
}

void report(Facade& facade, const Source& source, std::atomic<int>& left) {
  const ConfRoom room{"room", "local"};
  KavrinConferenceEngineEvent& sink = facade->eventSink();
  const VideoFrame picture{kWidth, kHeight, 0, source.pixels.data()};
  const VideoFrame smaller{kWidth, kHeight / 2, 0, source.pixels.data()};
  for (int i = 0; left-- > 0; ++i) {
    sink.OnRoomMemberVideoFrame(room, source.user.c_str(), i % 16 == 0 ? smaller : picture);
    for (int event = 0; event < 20; ++event) sink.OnActiveSpeaker(room, "user", event);
  }
}

// The script thread's share, for as long as pictures come.
void useFromScript(Facade& facade, int streams, const std::atomic<int>& left) {
  fake::ScriptEnvironment& env = facade.environment();
  std::vector<std::string> answers;
  const napi_value listener[] = {env.string("onFrameSizeChanged"), env.recorder(answers),
                                 env.object()};
  for (int i = 0; left > 0; ++i) {
    const std::string user = "user" + std::to_string(i % streams);
    facade->frameStore().get({user, 0}, false);
    if (i % 8 == 0) facade->takePendingEvents();
    if (i % 64 == 0) facade->emitter().on(&env, 3, listener);
    if (i % 64 == 32) facade->emitter().off(&env, 1, listener);
    if (i % 128 == 0) env.runLoop();
  }
  env.runLoop();
}

void forget(const char* name) {
  Holds& holds = *holdsOf(name);
  holds = Holds{holds.name};
}

void print(int threads, bool& first) {
  for (const char* const name : kMutexes) {
    const Holds& holds = *holdsOf(name);
    std::printf(
        R"(%s{"threads":%d,"mutex":"%s","holds":%lld,"medianUs":%.1f,"p999Us":%.1f,"longestUs":%.1f,)"
        R"("longestCopyUs":%.1f})",
        first ? "" : ",\n", threads, name, static_cast<long long>(holds.count),
        microseconds(holds.quantile(0.5)), microseconds(holds.quantile(0.999)),
        microseconds(holds.longestNs), microseconds(holdsOf(kCopies)->longestNs));
    first = false;
  }
}

void measure(int threadCount, bool& first) {
  for (const char* const name : kMutexes) forget(name);
  forget(kCopies);
  Facade facade;
  std::vector<Source> sources(static_cast<std::size_t>(threadCount));
  for (std::size_t i = 0; i < sources.size(); ++i) {
    sources[i].user = "user" + std::to_string(i);
    facade->frameStore().announce(sources[i].user, 0);
    facade.bind(sources[i].user, kPictureBytes);
  }
  std::atomic<int> left{kPictures};
  std::vector<std::thread> threads;
  for (const Source& source : sources) {
    threads.emplace_back([&] { report(facade, source, left); });
  }
  useFromScript(facade, threadCount, left);
  for (std::thread& thread : threads) thread.join();
  copyOnly(sources);
  print(threadCount, first);
}

}  // namespace
}  // namespace kavrin::bench

int main() {
  bool first = true;
  std::puts("[");
  for (int round = 0; round < kavrin::bench::kRounds; ++round) {
    for (int threads = 1; threads <= kavrin::bench::kMostThreads; threads *= 2) {
      kavrin::bench::measure(threads, first);
    }
  }
  std::puts("]");
}
