// A host for tests: records every callback and lets a test wait for what it expects.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "engine/engine_interface.h"

namespace kavrin::conference_tests {

using namespace std::chrono_literals;

// How long a test waits for what must come; sanitizers slow everything down.
inline constexpr auto kPatience = 10s;

struct Event {
  std::string name;  // of the callback, without "On"
  std::string room;
  std::string localUid;
  std::string user;
  std::vector<long long> numbers;  // in the callback's order
  std::vector<std::string> texts;  // in the callback's order, the user excepted
};

struct Frame {
  std::string room;
  std::string user;
  int width = 0;
  int height = 0;
  unsigned type = 0;
  std::vector<unsigned char> data;
  std::chrono::steady_clock::time_point at;
};

using Volumes = std::map<std::string, unsigned>;

// Threads: callbacks come on the engine's, the other functions are the test's.
class RecordingSink : public KavrinConferenceEngineEvent {
 public:
  using Predicate = std::function<bool(const Event&)>;

  virtual ~RecordingSink() = default;

  // The events so far, in order, without pictures and volume reports.
  std::vector<Event> events() const;
  std::vector<Event> events(const std::string& name) const;
  std::vector<Frame> frames() const;  // the newest kKeptFrames
  std::vector<Volumes> volumes() const;
  // Numbers of frames by "user/type".
  std::map<std::string, int> frameCounts() const;
  int callbackCount() const { return callbacks_; }
  void clear();

  // Waits until an event for which `predicate` holds has been recorded at or after `from`.
  bool waitEvent(const Predicate& predicate, std::size_t from = 0,
                 std::chrono::milliseconds patience = kPatience) const;
  bool waitUntil(const std::function<bool()>& condition,
                 std::chrono::milliseconds patience = kPatience) const;
  // Shorthands
  bool waitUserState(const std::string& user, int state, std::size_t from = 0) const;
  bool waitRoomState(int state, std::size_t from = 0) const;
  bool waitFrames(const std::string& user, unsigned type, int count) const;

  // Called within every callback, after it has been recorded. Set it before callbacks can come.
  std::function<void(const Event&)> during;

  void OnRtcStats(const ConfRoom& room,
                  const Kavrin::ConferenceEngine::RtcStatistics& stats) override;
  void OnAudioStateChanged(const ConfRoom& room, const char* user, std::int32_t state) override;
  void OnVideoStateChanged(const ConfRoom& room, const char* user, std::int32_t type,
                           std::int32_t state, std::int32_t error) override;
  void OnActiveSpeaker(const ConfRoom& room, const char* user, std::int32_t volume) override;
  void OnRoomMemberStateChange(const ConfRoom& room, const char* user, std::int32_t state) override;
  void OnRoomStateChange(const ConfRoom& room, std::int32_t state) override;
  void OnRoomMemberVideoFrame(const ConfRoom& room, const char* user,
                              const Kavrin::ConferenceEngine::VideoFrame& frame) override;
  void OnRoomError(const ConfRoom& room, std::int32_t code, const char* reason) override;
  void OnCustomMessage(const ConfRoom& room, const char* message, const char* from,
                       const char* to) override;
  void OnAudioDeviceStateChange(std::int32_t type, std::int32_t state) override;
  void OnAudioDefaultDeviceChanged(std::int32_t type) override;
  void OnVideoDeviceStateChange(std::int32_t state) override;
  void OnNetworkQuality(const ConfRoom& room, const char* user, std::uint32_t tx,
                        std::int32_t rx) override;
  void OnSnapshotTaken(const ConfRoom& room, const char* user, std::int32_t type, const char* path,
                       std::int32_t width, std::int32_t height, std::int32_t code) override;
  void OnAudioVolumeIndication(
      const ConfRoom& room,
      const std::vector<Kavrin::ConferenceEngine::VolumeIndication>& volumes) override;
  void OnAudioDeviceVolumeChanged(std::int32_t type, std::int32_t volume, bool muted) override;
  void OnDataMessageReceived(const ConfRoom& room, const char* message) override;
  void OnDataChannelStateChanged(const ConfRoom& room, std::int32_t state,
                                 const char* text) override;

 private:
  static constexpr std::size_t kKeptFrames = 64;

  void record(Event event);
  void count();

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  std::vector<Event> events_;
  std::vector<Frame> frames_;
  std::vector<Volumes> volumes_;
  std::map<std::string, int> frameCounts_;
  std::atomic<int> callbacks_{0};
};

}  // namespace kavrin::conference_tests
