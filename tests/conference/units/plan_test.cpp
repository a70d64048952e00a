#include <gtest/gtest.h>

#include "conference/room/subscription_policy.h"
#include "conference/session/capture_plan.h"
#include "conference/session/roster_view.h"

namespace kavrin::conference {
namespace {

RoomSituation audience() {
  RoomSituation room;
  room.joined = true;
  room.demand = {true, true, false, true};
  return room;
}

TEST(CapturePlan, NothingRunsUntilAsked) {
  EXPECT_EQ(planCapture("a", MediaSettings(), audience()).runCamera, false);
  EXPECT_EQ(planCapture("a", MediaSettings(), audience()).runMicrophone, false);
  EXPECT_EQ(planCapture("a", MediaSettings(), audience()).runShare, false);
}

TEST(CapturePlan, ACameraRunsForWhoeverWantsIt) {
  MediaSettings settings;
  settings.publishVideo.standard = true;
  EXPECT_TRUE(planCapture("a", settings, audience()).sendCamera);
  RoomSituation alone = audience();
  alone.demand = {};
  EXPECT_FALSE(planCapture("a", settings, alone).runCamera);
  settings.preview = true;
  EXPECT_TRUE(planCapture("a", settings, alone).runCamera);
  EXPECT_FALSE(planCapture("a", settings, alone).sendCamera);
}

TEST(CapturePlan, MutesOfEitherSideStopTheFlow) {
  MediaSettings settings;
  settings.publishVideo.standard = settings.publishAudio.standard = true;
  RoomSituation room = audience();
  room.cameraMutedByHost = room.audioMutedByHost = true;
  EXPECT_FALSE(planCapture("a", settings, room).runCamera);
  EXPECT_FALSE(planCapture("a", settings, room).runMicrophone);
  settings.cameraMuted = settings.audioMuted = true;
  EXPECT_FALSE(planCapture("a", settings, audience()).runCamera);
  EXPECT_FALSE(planCapture("a", settings, audience()).runMicrophone);
}

TEST(CapturePlan, ScreenRatesAreBoundedByTheScene) {
  MediaSettings settings;
  settings.share = ShareRequest();
  EXPECT_EQ(planCapture("a", settings, audience()).share.frameRate, 5);
  settings.share->frameRate = 60;
  EXPECT_EQ(planCapture("a", settings, audience()).share.frameRate, 10);
  settings.sceneMode = SceneMode::kMotion;
  EXPECT_EQ(planCapture("a", settings, audience()).share.frameRate, 30);
  EXPECT_EQ(planCapture("a", settings, audience()).shareMaxHeight, 720);
}

TEST(SubscriptionPolicy, TheTableOfExceptionsIsBounded) {
  SubscriptionPolicy policy;
  for (std::size_t user = 0; user < SubscriptionPolicy::kMaxMembers; ++user) {
    ASSERT_TRUE(policy.setAudio(std::to_string(user), false));
  }
  EXPECT_FALSE(policy.setAudio("one too many", false));
  EXPECT_TRUE(policy.setCamera("17", false));
  EXPECT_FALSE(policy.wantsAudio("17"));
  EXPECT_TRUE(policy.wantsScreen("17"));
}

MemberRecord member(const std::string& userId, std::uint64_t presence) {
  MemberRecord record;
  record.userId = userId;
  record.presence = presence;
  return record;
}

void applyAll(RosterView& view, const std::vector<RosterStep>& steps) {
  for (const RosterStep& step : steps) view.apply(step);
}

TEST(RosterView, StepsLeadToTheRecord) {
  RosterView view;
  view.begin(1, "room");
  MemberRecord record = member("a", 1);
  record.host = record.cameraPublished = record.screenPublished = true;
  record.camera = StreamState::kOn;
  record.audio = StreamState::kMutedByHost;
  record.name = "A";
  applyAll(view, view.stepsTo(record));
  EXPECT_EQ(*view.find("a"), record);
  EXPECT_TRUE(view.stepsTo(record).empty());
  record.cameraPublished = false;
  record.camera = StreamState::kOff;
  record.extendedInfo = "info";
  applyAll(view, view.stepsTo(record));
  EXPECT_EQ(*view.find("a"), record);
}

TEST(RosterView, KeepsTheOrderOfPresenceWhoeverIsToldFirst) {
  RosterView view;
  view.begin(1, "room");
  applyAll(view, view.stepsTo(member("late", 9)));
  applyAll(view, view.stepsTo(member("early", 2)));
  EXPECT_EQ(view.members()[0].userId, "early");
}

TEST(RosterView, LeavingWithdrawsFirst) {
  RosterView view;
  view.begin(1, "room");
  MemberRecord record = member("a", 1);
  record.cameraPublished = record.screenPublished = true;
  applyAll(view, view.stepsTo(record));
  const auto steps = view.stepsToLeave("a");
  ASSERT_EQ(steps.size(), 3u);
  EXPECT_EQ(steps[0].kind, RosterStep::Kind::kCameraStopped);
  EXPECT_EQ(steps[1].kind, RosterStep::Kind::kScreenStopped);
  EXPECT_EQ(steps[2].kind, RosterStep::Kind::kLeft);
  EXPECT_TRUE(view.stepsToLeave("nobody").empty());
}

}  // namespace
}  // namespace kavrin::conference
