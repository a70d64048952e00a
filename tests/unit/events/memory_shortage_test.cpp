// Callbacks of the engine that run out of memory.
#include <functional>

#include "tests/unit/support/facade_fixture.h"
#include "tests/unit/support/memory_shortage.h"

namespace kavrin {
namespace {

using Kavrin::ConferenceEngine::ConfRoom;
using Kavrin::ConferenceEngine::VideoFrame;
using Sink = KavrinConferenceEngineEvent;

class MemoryShortageTest : public testing::FacadeTest {
 protected:
  using Texts = std::vector<std::string>;

  // The queued events with the texts of their values.
  Texts queued() {
    Texts events;
    for (const auto& event : facade->takePendingEvents()) {
      events.push_back(event->key);
      for (const Variant& value : event->parms) events.back() += "," + value.toString();
    }
    return events;
  }

  const ConfRoom room{"a room whose name is no short text", "a member whose name is none, either"};
};

TEST_F(MemoryShortageTest, AnEventIsQueuedWholeOrNotAtAll) {
  const std::string text(100, 'x');
  const std::function<void(Sink&)> callbacks[] = {
      [&](Sink& sink) { sink.OnRoomStateChange(room, 3); },
      [&](Sink& sink) { sink.OnCustomMessage(room, text.c_str(), nullptr, text.c_str()); },
      [&](Sink& sink) {
        sink.OnAudioVolumeIndication(room, {{text, 3}, {text, 4}});
      },
      [&](Sink& sink) { sink.OnVideoDeviceStateChange(1); },
  };
  for (const auto& callback : callbacks) {
    Sink& sink = facade->eventSink();
    callback(sink);
    const Texts whole = queued();
    EXPECT_EQ(whole.size(), 1u);
    int nth = 0;
    while (testing::runsShort(nth, [&] { callback(sink); })) {
      const Texts left = queued();
      EXPECT_TRUE(left.empty() || left == whole) << nth;
      callback(sink);
      EXPECT_EQ(queued(), whole) << nth;
      ++nth;
    }
    EXPECT_GT(nth, 0);
    EXPECT_EQ(queued(), whole);
  }
}

TEST_F(MemoryShortageTest, APictureIsStoredWholeOrNotAtAll) {
  constexpr std::int32_t kStartsVideo = 4;
  std::vector<unsigned char> bytes(6000, 7);
  VideoFrame frame{};
  frame.width = 80;
  frame.height = 50;
  frame.data = bytes.data();
  bool isShort = true;
  for (int nth = 0; isShort; ++nth) {
    const std::string user = "a user with a long name " + std::to_string(nth);
    const std::string request = R"({"uid":")" + user + "\"}";
    napi_value buffer = env.buffer(std::vector<unsigned char>(bytes.size()));
    Sink& sink = facade->eventSink();
    sink.OnRoomMemberStateChange(room, user.c_str(), kStartsVideo);
    arguments("BindingVideoFrame",
              {Variant::text(user), Variant::int32(0), Variant::scriptHandle(buffer)});
    isShort =
        testing::runsShort(nth, [&] { sink.OnRoomMemberVideoFrame(room, user.c_str(), frame); });
    const std::string got = R"({"ret":0,"width":80,"height":50})";
    const bool isThere = json("GetVideoFrame", request).stringValue == got;
    EXPECT_TRUE(isThere || isShort) << nth;
    EXPECT_EQ(buffer->bytes == bytes, isThere) << nth;
    sink.OnRoomMemberVideoFrame(room, user.c_str(), frame);
    EXPECT_EQ(json("GetVideoFrame", request).stringValue, got) << nth;
    EXPECT_EQ(buffer->bytes, bytes) << nth;
    EXPECT_TRUE(isShort || nth > 0);
  }
}

}  // namespace
}  // namespace kavrin
