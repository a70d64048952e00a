// A home under the test's control: what sessions make of failures and lost connections.
#include <gtest/gtest.h>

#include <future>

#include "conference/api/engine_object.h"
#include "conference/generated/generated_catalog.h"
#include "tests/conference/recording_sink.h"

namespace kavrin::conference {
namespace {

using conference_tests::Event;
using conference_tests::kPatience;
using conference_tests::RecordingSink;

// Remembers what it was asked for; answers only when the test says so.
class ScriptedHome : public RoomHome, public std::enable_shared_from_this<ScriptedHome> {
 public:
  std::unique_ptr<HomeLink> connect(Identity identity,
                                    std::shared_ptr<HomeListener> given) override;

  void tell(HomeEvent event) { listener->onEvent(std::move(event)); }
  void joined(bool host) {
    MemberRecord self;
    self.userId = "a";
    self.presence = 1;
    self.host = host;
    tell({stay, home_event::Joined{{self}, false}});
  }

  std::shared_ptr<HomeListener> listener;
  Code loginCode = Code::kOk;
  Stay stay = 0;
  std::atomic<int> logouts{0};
  std::atomic<bool> audioPublished{false};
  std::atomic<bool> cameraPublished{false};
  std::atomic<bool> screenPublished{false};
};

class ScriptedLink : public HomeLink {
 public:
  explicit ScriptedLink(std::shared_ptr<ScriptedHome> home) : home_(std::move(home)) {}

  void login() override { home_->tell({0, home_event::LoginDone{home_->loginCode}}); }
  void logout() override { ++home_->logouts; }
  void join(const std::string&, Stay stay, const MemberMedia& media) override {
    home_->stay = stay;
    setMedia(media);
  }
  void leave() override {}
  void setExtendedInfo(const std::string&) override {}
  void setMedia(const MemberMedia& media) override {
    home_->audioPublished = media.audioPublished;
    home_->cameraPublished = media.cameraPublished;
    home_->screenPublished = media.screenPublished;
  }
  void setSubscriptions(std::shared_ptr<const SubscriptionPolicy>) override {}
  void kick(const std::string&) override {
    home_->tell({home_->stay, home_event::Refused{Code::kNotHost, "KickOut"}});
  }
  void muteMember(const std::string&, MediaKind, bool) override {}
  void muteRoom(bool) override {
    home_->tell({home_->stay, home_event::Refused{Code::kNotHost, "MuteRoom"}});
  }
  void closeRoom() override {}
  void sendMessage(std::uint64_t, std::string, const std::string&) override {}  // never answers
  void openChannel() override {}
  void closeChannel() override {}
  void subscribeTopic(const std::string&) override {}
  void unsubscribeTopic(const std::string&) override {}
  void sendPicture(const PicturePtr&) override {}
  void sendSound(const SoundPtr&) override {}

 private:
  const std::shared_ptr<ScriptedHome> home_;
};

std::unique_ptr<HomeLink> ScriptedHome::connect(Identity, std::shared_ptr<HomeListener> given) {
  listener = std::move(given);
  return std::make_unique<ScriptedLink>(shared_from_this());
}

class HomeTest : public ::testing::Test {
 protected:
  HomeTest()
      : home(std::make_shared<ScriptedHome>()),
        engine(&sink, {makeGeneratedCatalog(), [this](const std::string&) { return home; }}) {}

  int login() {
    std::promise<int> done;
    engine.Init("a", "A", "", [&](std::int32_t code) { done.set_value(code); });
    return done.get_future().get();
  }
  void join(bool host = true) {
    ASSERT_EQ(login(), 0);
    ASSERT_EQ(engine.JoinRoom("room"), 0);
    home->joined(host);
    ASSERT_TRUE(sink.waitRoomState(2));
  }
  int conferenceState() {
    KavrinConferenceEngineInfo info;
    engine.GetRoomInfo(info);
    return info.m_conferenceState;
  }

  RecordingSink sink;
  std::shared_ptr<ScriptedHome> home;
  EngineObject engine;
};

TEST_F(HomeTest, ARefusedLoginTellsItsCodeAndCanBeRepeated) {
  home->loginCode = Code::kInternal;
  EXPECT_EQ(login(), value(Code::kInternal));
  EXPECT_EQ(engine.JoinRoom("room"), value(Code::kNotLoggedIn));
  home->loginCode = Code::kOk;
  EXPECT_EQ(login(), 0);
}

TEST_F(HomeTest, AFailedJoinIsReportedAndLeavesTheWayFree) {
  ASSERT_EQ(login(), 0);
  ASSERT_EQ(engine.JoinRoom("room"), 0);
  EXPECT_EQ(conferenceState(), 1);
  home->tell({home->stay, home_event::JoinFailed{Code::kInternal}});
  EXPECT_TRUE(sink.waitRoomState(10));
  const auto errors = sink.events("RoomError");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].room, "room");
  EXPECT_EQ(errors[0].numbers[0], value(Code::kInternal));
  EXPECT_EQ(conferenceState(), 10);
  EXPECT_EQ(engine.JoinRoom("room"), 0);
}

TEST_F(HomeTest, ALateRefusalIsARoomError) {
  join();
  EXPECT_EQ(engine.MuteRoom(true), 0);
  EXPECT_TRUE(sink.waitEvent([](const Event& event) {
    return event.name == "RoomError" && event.numbers[0] == value(Code::kNotHost) &&
           event.texts[0] == "MuteRoom: only the host may do this";
  }));
}

TEST_F(HomeTest, AReconnectionResumesTheMediaAskedFor) {
  join();
  engine.EnablePublish(true, true);
  EXPECT_EQ(engine.StartScreenShare(Kavrin::ConferenceEngine::VideoOption()), 0);
  EXPECT_EQ(engine.SetReconnectResumedMediaType(true, false, false), 0);
  EXPECT_TRUE(home->cameraPublished && home->screenPublished);
  home->tell({home->stay, home_event::Connection{RoomState::kReconnecting}});
  EXPECT_TRUE(sink.waitRoomState(7));
  EXPECT_EQ(conferenceState(), 7);
  home->tell({home->stay, home_event::Connection{RoomState::kReconnected}});
  EXPECT_TRUE(sink.waitRoomState(8));
  EXPECT_EQ(conferenceState(), 2);
  EXPECT_TRUE(home->audioPublished);
  EXPECT_FALSE(home->cameraPublished);
  EXPECT_FALSE(home->screenPublished);
}

TEST_F(HomeTest, ALostConnectionEndsTheStay) {
  join();
  home->tell({home->stay, home_event::Out{RoomState::kLost}});
  EXPECT_TRUE(sink.waitRoomState(9));
  EXPECT_EQ(conferenceState(), 9);
  EXPECT_TRUE(engine.GetRoomAttendees().empty());
}

TEST_F(HomeTest, NewsOfARoomLeftIsIgnored) {
  join();
  const Stay old = home->stay;
  EXPECT_EQ(engine.LeaveRoom(), 0);
  EXPECT_EQ(engine.JoinRoom("next"), 0);
  MemberRecord stranger;
  stranger.userId = "stranger";
  home->tell({old, home_event::MemberJoined{stranger}});
  home->tell({old, home_event::Out{RoomState::kLeft}});
  home->joined(false);
  EXPECT_TRUE(sink.waitEvent([](const Event& event) {
    return event.name == "RoomStateChange" && event.room == "next" && event.numbers[0] == 2;
  }));
  EXPECT_TRUE(sink.waitEvent([](const Event& event) {
    return event.name == "RoomStateChange" && event.room == "room" && event.numbers[0] == 3;
  }));
  for (const Event& event : sink.events("RoomMemberStateChange")) EXPECT_NE(event.user, "stranger");
  EXPECT_EQ(engine.GetRoomAttendees().size(), 1u);
}

TEST_F(HomeTest, AMessageThatIsNeverAnsweredIsCancelled) {
  join();
  std::promise<int> done;
  engine.SendCustomMessage("x", nullptr,
                           [&](std::int32_t code, const char*) { done.set_value(code); });
  EXPECT_EQ(engine.UnInit(), 0);
  EXPECT_EQ(done.get_future().get(), value(Code::kCancelled));
  EXPECT_GE(home->logouts, 1);
}

TEST_F(HomeTest, EventsAfterUnInitGoNowhere) {
  join();
  EXPECT_EQ(engine.UnInit(), 0);
  const int calls = sink.callbackCount();
  home->joined(true);
  home->tell({0, home_event::LoginDone{Code::kOk}});
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(sink.callbackCount(), calls);
}

}  // namespace
}  // namespace kavrin::conference
