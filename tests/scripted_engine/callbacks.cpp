#include "tests/scripted_engine/callbacks.h"

#include <chrono>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "engine/engine_interface.h"
#include "tests/scripted_engine/scenario.h"
#include "tests/scripted_engine/start_line.h"

namespace kavrin::scripted {
namespace {

using Kavrin::ConferenceEngine::ConfRoom;
using Kavrin::ConferenceEngine::RtcStatistics;
using Kavrin::ConferenceEngine::VideoFrame;
using Kavrin::ConferenceEngine::VolumeIndication;
using Sink = KavrinConferenceEngineEvent;

// The arguments of one call. Texts stay valid as long as this object.
class Arguments {
 public:
  Arguments(const JsonValue& list, std::int64_t sequenceIndex, std::int64_t sequenceValue)
      : list_(list),
        sequenceIndex_(sequenceIndex),
        sequenceValue_(sequenceValue),
        sequenceText_(std::to_string(sequenceValue)) {}

  const char* text(unsigned index) const {
    if (index == sequenceIndex_) return sequenceText_.c_str();
    const JsonValue& value = at(index);
    return value.IsString() ? value.GetString() : nullptr;
  }
  std::int64_t number(unsigned index) const {
    if (index == sequenceIndex_) return sequenceValue_;
    const JsonValue& value = at(index);
    return value.IsInt64() ? value.GetInt64() : 0;
  }
  std::int32_t int32(unsigned index) const { return static_cast<std::int32_t>(number(index)); }
  std::uint32_t uint32(unsigned index) const { return static_cast<std::uint32_t>(number(index)); }
  std::uint16_t uint16(unsigned index) const { return static_cast<std::uint16_t>(number(index)); }
  bool flag(unsigned index) const { return at(index).IsTrue(); }
  const JsonValue& at(unsigned index) const {
    static const JsonValue kAbsent;
    return list_.IsArray() && index < list_.Size() ? list_[index] : kAbsent;
  }

 private:
  const JsonValue& list_;
  std::int64_t sequenceIndex_;
  std::int64_t sequenceValue_;
  std::string sequenceText_;
};

std::vector<VolumeIndication> volumesFrom(const JsonValue& list) {
  std::vector<VolumeIndication> volumes;
  if (!list.IsArray()) return volumes;
  for (const JsonValue& entry : list.GetArray()) {
    volumes.push_back(
        {textOf(entry, "uid"), static_cast<std::uint32_t>(integerOf(entry, "volume", 0))});
  }
  return volumes;
}

// Shows one picture whose byte at index i is (seed + 7 * i) modulo 256. The block has exactly the
// picture's size, so that reading beyond it is found.
void showPicture(Sink& sink, const ConfRoom& room, const Arguments& arguments) {
  const JsonValue& picture = arguments.at(1);
  VideoFrame frame{};
  frame.width = static_cast<std::uint16_t>(integerOf(picture, "width", 0));
  frame.height = static_cast<std::uint16_t>(integerOf(picture, "height", 0));
  frame.streamType = static_cast<std::uint32_t>(integerOf(picture, "streamType", 0));
  if (flagOf(picture, "withoutData")) {
    sink.OnRoomMemberVideoFrame(room, arguments.text(0), frame);
    return;
  }
  const std::size_t size = std::size_t{frame.width} * frame.height * 3 / 2;
  auto bytes = std::make_unique<unsigned char[]>(size);
  const std::int64_t seed = integerOf(picture, "seed", 0);
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<unsigned char>(static_cast<std::size_t>(seed) + 7 * i);
  }
  frame.data = bytes.get();
  sink.OnRoomMemberVideoFrame(room, arguments.text(0), frame);
}

using Call = void (*)(Sink& sink, const ConfRoom& room, const Arguments& a);

const std::map<std::string, Call>& callTable() {
  static const std::map<std::string, Call> table = {
      {"OnRtcStats",
       [](Sink& sink, const ConfRoom& room, const Arguments& a) {
         const RtcStatistics statistics{a.uint16(0), a.uint16(1), a.uint16(2), a.uint16(3),
                                        a.uint16(4)};
         sink.OnRtcStats(room, statistics);
       }},
      {"OnAudioStateChanged",
       [](Sink& sink, const ConfRoom& room, const Arguments& a) {
         sink.OnAudioStateChanged(room, a.text(0), a.int32(1));
       }},
      {"OnVideoStateChanged",
       [](Sink& sink, const ConfRoom& room, const Arguments& a) {
         sink.OnVideoStateChanged(room, a.text(0), a.int32(1), a.int32(2), a.int32(3));
       }},
      {"OnActiveSpeaker",
       [](Sink& sink, const ConfRoom& room, const Arguments& a) {
         sink.OnActiveSpeaker(room, a.text(0), a.int32(1));
       }},
      {"OnRoomMemberStateChange",
       [](Sink& sink, const ConfRoom& room, const Arguments& a) {
         sink.OnRoomMemberStateChange(room, a.text(0), a.int32(1));
       }},
      {"OnRoomStateChange", [](Sink& sink, const ConfRoom& room,
                               const Arguments& a) { sink.OnRoomStateChange(room, a.int32(0)); }},
      {"OnRoomMemberVideoFrame", showPicture},
      {"OnRoomError", [](Sink& sink, const ConfRoom& room,
                         const Arguments& a) { sink.OnRoomError(room, a.int32(0), a.text(1)); }},
      {"OnCustomMessage",
       [](Sink& sink, const ConfRoom& room, const Arguments& a) {
         sink.OnCustomMessage(room, a.text(0), a.text(1), a.text(2));
       }},
      {"OnAudioDeviceStateChange",
       [](Sink& sink, const ConfRoom& /*room*/, const Arguments& a) {
         sink.OnAudioDeviceStateChange(a.int32(0), a.int32(1));
       }},
      {"OnAudioDefaultDeviceChanged",
       [](Sink& sink, const ConfRoom& /*room*/, const Arguments& a) {
         sink.OnAudioDefaultDeviceChanged(a.int32(0));
       }},
      {"OnVideoDeviceStateChange",
       [](Sink& sink, const ConfRoom& /*room*/, const Arguments& a) {
         sink.OnVideoDeviceStateChange(a.int32(0));
       }},
      {"OnNetworkQuality",
       [](Sink& sink, const ConfRoom& room, const Arguments& a) {
         sink.OnNetworkQuality(room, a.text(0), a.uint32(1), a.int32(2));
       }},
      {"OnSnapshotTaken",
       [](Sink& sink, const ConfRoom& room, const Arguments& a) {
         sink.OnSnapshotTaken(room, a.text(0), a.int32(1), a.text(2), a.int32(3), a.int32(4),
                              a.int32(5));
       }},
      {"OnAudioVolumeIndication",
       [](Sink& sink, const ConfRoom& room, const Arguments& a) {
         sink.OnAudioVolumeIndication(room, volumesFrom(a.at(0)));
       }},
      {"OnAudioDeviceVolumeChanged",
       [](Sink& sink, const ConfRoom& /*room*/, const Arguments& a) {
         sink.OnAudioDeviceVolumeChanged(a.int32(0), a.int32(1), a.flag(2));
       }},
      {"OnDataMessageReceived",
       [](Sink& sink, const ConfRoom& room, const Arguments& a) {
         sink.OnDataMessageReceived(room, a.text(0));
       }},
      {"OnDataChannelStateChanged",
       [](Sink& sink, const ConfRoom& room, const Arguments& a) {
         sink.OnDataChannelStateChanged(room, a.int32(0), a.text(1));
       }},
  };
  return table;
}

// One request to fire, shared by the threads that carry it out.
struct Salvo {
  explicit Salvo(const JsonValue& command)
      : call(callNamed(textOf(command, "callback"))),
        slot(Scenario::instance().engine(static_cast<int>(integerOf(command, "engine", 0)))),
        threads(integerOf(command, "threads", 1)),
        count(integerOf(command, "count", 1)),
        interval(integerOf(command, "intervalUs", 0)),
        burst(integerOf(command, "burst", 0)),
        sequence(integerOf(command, "sequence", -1)),
        late(flagOf(command, "late")),
        start(threads) {
    if (slot == nullptr) throw std::runtime_error("no such engine");
    if (const JsonValue* list = member(command, "arguments")) {
      arguments.CopyFrom(*list, arguments.GetAllocator());
    }
    if (const JsonValue* where = member(command, "room")) {
      room = {textOf(*where, "roomId"), textOf(*where, "localUid")};
    }
  }

  static Call callNamed(const std::string& name) {
    const auto found = callTable().find(name);
    if (found == callTable().end()) throw std::runtime_error("no such callback: " + name);
    return found->second;
  }

  Call call;
  std::shared_ptr<EngineSlot> slot;
  std::int64_t threads;
  std::int64_t count;
  std::chrono::microseconds interval;
  std::int64_t burst;
  std::int64_t sequence;
  bool late;
  ConfRoom room;
  rapidjson::Document arguments;
  StartLine start;
};

void fireFromOneThread(Salvo& salvo, std::int64_t thread) {
  salvo.start.arriveAndWait();
  // By the clock, so that the rate does not depend on how long a call takes.
  auto next = std::chrono::steady_clock::now();
  for (std::int64_t i = 0; i < salvo.count; ++i) {
    if (!salvo.late && !salvo.slot->gate.enter()) return;
    salvo.call(*salvo.slot->sink, salvo.room,
               Arguments(salvo.arguments, salvo.sequence, thread * salvo.count + i));
    if (!salvo.late) salvo.slot->gate.leave();
    if (i < salvo.burst) {
      next = std::chrono::steady_clock::now();
    } else if (salvo.interval.count() > 0) {
      std::this_thread::sleep_until(next += salvo.interval);
    }
  }
}

}  // namespace

void fireCallbacks(const JsonValue& command) {
  const auto salvo = std::make_shared<Salvo>(command);
  if (flagOf(command, "background")) {
    for (std::int64_t i = 0; i < salvo->threads; ++i) {
      Scenario::instance().jobs().start([salvo, i] { fireFromOneThread(*salvo, i); });
    }
    return;
  }
  std::vector<std::thread> threads;
  for (std::int64_t i = 0; i < salvo->threads; ++i) {
    threads.emplace_back([&salvo, i] { fireFromOneThread(*salvo, i); });
  }
  for (std::thread& thread : threads) thread.join();
}

}  // namespace kavrin::scripted
