#include "tests/conference/recording_sink.h"

#include <algorithm>

namespace kavrin::conference_tests {

std::vector<Event> RecordingSink::events() const {
  std::lock_guard lock(mutex_);
  return events_;
}

std::vector<Event> RecordingSink::events(const std::string& name) const {
  std::vector<Event> found;
  std::lock_guard lock(mutex_);
  std::copy_if(events_.begin(), events_.end(), std::back_inserter(found),
               [&](const Event& event) { return event.name == name; });
  return found;
}

std::vector<Frame> RecordingSink::frames() const {
  std::lock_guard lock(mutex_);
  return frames_;
}

std::vector<Volumes> RecordingSink::volumes() const {
  std::lock_guard lock(mutex_);
  return volumes_;
}

std::map<std::string, int> RecordingSink::frameCounts() const {
  std::lock_guard lock(mutex_);
  return frameCounts_;
}

void RecordingSink::clear() {
  std::lock_guard lock(mutex_);
  events_.clear();
  frames_.clear();
  volumes_.clear();
  frameCounts_.clear();
}

bool RecordingSink::waitEvent(const Predicate& predicate, std::size_t from,
                              std::chrono::milliseconds patience) const {
  std::unique_lock lock(mutex_);
  std::size_t next = from;
  return changed_.wait_for(lock, patience, [&] {
    for (; next < events_.size(); ++next) {
      if (predicate(events_[next])) return true;
    }
    return false;
  });
}

bool RecordingSink::waitUntil(const std::function<bool()>& condition,
                              std::chrono::milliseconds patience) const {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(2ms);
  }
  return true;
}

bool RecordingSink::waitUserState(const std::string& user, int state, std::size_t from) const {
  return waitEvent(
      [&](const Event& event) {
        return event.name == "RoomMemberStateChange" && event.user == user &&
               event.numbers[0] == state;
      },
      from);
}

bool RecordingSink::waitRoomState(int state, std::size_t from) const {
  return waitEvent(
      [&](const Event& event) {
        return event.name == "RoomStateChange" && event.numbers[0] == state;
      },
      from);
}

bool RecordingSink::waitFrames(const std::string& user, unsigned type, int count) const {
  const std::string key = user + "/" + std::to_string(type);
  return waitUntil([&] {
    const auto counts = frameCounts();
    const auto found = counts.find(key);
    return found != counts.end() && found->second >= count;
  });
}

void RecordingSink::record(Event event) {
  ++callbacks_;
  {
    std::lock_guard lock(mutex_);
    events_.push_back(event);
    changed_.notify_all();
  }
  if (during) during(event);
}

void RecordingSink::OnRtcStats(const ConfRoom& room,
                               const Kavrin::ConferenceEngine::RtcStatistics& stats) {
  record({"RtcStats",
          room.m_roomId,
          room.m_localUid,
          "",
          {stats.m_nTxBitrate, stats.m_nRxBitrate, stats.m_nTxPacketLossRate,
           stats.m_nRxPacketLossRate, stats.m_nNetDelay},
          {}});
}

void RecordingSink::OnAudioStateChanged(const ConfRoom& room, const char* user,
                                        std::int32_t state) {
  record({"AudioStateChanged", room.m_roomId, room.m_localUid, user, {state}, {}});
}

void RecordingSink::OnVideoStateChanged(const ConfRoom& room, const char* user, std::int32_t type,
                                        std::int32_t state, std::int32_t error) {
  record({"VideoStateChanged", room.m_roomId, room.m_localUid, user, {type, state, error}, {}});
}

void RecordingSink::OnActiveSpeaker(const ConfRoom& room, const char* user, std::int32_t volume) {
  record({"ActiveSpeaker", room.m_roomId, room.m_localUid, user, {volume}, {}});
}

void RecordingSink::OnRoomMemberStateChange(const ConfRoom& room, const char* user,
                                            std::int32_t state) {
  record({"RoomMemberStateChange",
          room.m_roomId,
          room.m_localUid,
          user ? user : "(null)",
          {state},
          {}});
}

void RecordingSink::OnRoomStateChange(const ConfRoom& room, std::int32_t state) {
  record({"RoomStateChange", room.m_roomId, room.m_localUid, "", {state}, {}});
}

void RecordingSink::OnRoomMemberVideoFrame(const ConfRoom& room, const char* user,
                                           const Kavrin::ConferenceEngine::VideoFrame& frame) {
  ++callbacks_;
  Frame kept{room.m_roomId,
             user,
             frame.width,
             frame.height,
             frame.streamType,
             {},
             std::chrono::steady_clock::now()};
  kept.data.assign(frame.data, frame.data + frame.width * frame.height * 3 / 2);
  const Event event{"RoomMemberVideoFrame",
                    room.m_roomId,
                    room.m_localUid,
                    user,
                    {frame.streamType, frame.width, frame.height},
                    {}};
  {
    std::lock_guard lock(mutex_);
    ++frameCounts_[kept.user + "/" + std::to_string(kept.type)];
    if (frames_.size() == kKeptFrames) frames_.erase(frames_.begin());
    frames_.push_back(std::move(kept));
    changed_.notify_all();
  }
  if (during) during(event);
}

void RecordingSink::OnRoomError(const ConfRoom& room, std::int32_t code, const char* reason) {
  record({"RoomError", room.m_roomId, room.m_localUid, "", {code}, {reason}});
}

void RecordingSink::OnCustomMessage(const ConfRoom& room, const char* message, const char* from,
                                    const char* to) {
  record({"CustomMessage", room.m_roomId, room.m_localUid, from, {}, {message, to}});
}

void RecordingSink::OnAudioDeviceStateChange(std::int32_t type, std::int32_t state) {
  record({"AudioDeviceStateChange", "", "", "", {type, state}, {}});
}

void RecordingSink::OnAudioDefaultDeviceChanged(std::int32_t type) {
  record({"AudioDefaultDeviceChanged", "", "", "", {type}, {}});
}

void RecordingSink::OnVideoDeviceStateChange(std::int32_t state) {
  record({"VideoDeviceStateChange", "", "", "", {state}, {}});
}

void RecordingSink::OnNetworkQuality(const ConfRoom& room, const char* user, std::uint32_t tx,
                                     std::int32_t rx) {
  record({"NetworkQuality", room.m_roomId, room.m_localUid, user, {tx, rx}, {}});
}

void RecordingSink::OnSnapshotTaken(const ConfRoom& room, const char* user, std::int32_t type,
                                    const char* path, std::int32_t width, std::int32_t height,
                                    std::int32_t code) {
  record(
      {"SnapshotTaken", room.m_roomId, room.m_localUid, user, {type, width, height, code}, {path}});
}

void RecordingSink::OnAudioVolumeIndication(
    const ConfRoom&, const std::vector<Kavrin::ConferenceEngine::VolumeIndication>& volumes) {
  ++callbacks_;
  Volumes kept;
  for (const auto& entry : volumes) kept[entry.m_uid] = entry.m_volume;
  std::lock_guard lock(mutex_);
  volumes_.push_back(std::move(kept));
  changed_.notify_all();
}

void RecordingSink::OnAudioDeviceVolumeChanged(std::int32_t type, std::int32_t volume, bool muted) {
  record({"AudioDeviceVolumeChanged", "", "", "", {type, volume, muted}, {}});
}

void RecordingSink::OnDataMessageReceived(const ConfRoom& room, const char* message) {
  record({"DataMessageReceived", room.m_roomId, room.m_localUid, "", {}, {message}});
}

void RecordingSink::OnDataChannelStateChanged(const ConfRoom& room, std::int32_t state,
                                              const char* text) {
  record({"DataChannelStateChanged", room.m_roomId, room.m_localUid, "", {state}, {text}});
}

}  // namespace kavrin::conference_tests
