#include "conference/media/levels.h"

#include <gtest/gtest.h>

#include <cmath>

#include "conference/media/noise_gate.h"
#include "conference/media/scaler.h"
#include "conference/session/level_board.h"
#include "conference/session/statistics.h"

namespace kavrin::conference {
namespace {

using Volumes = std::map<std::string, std::uint32_t>;

TEST(Volume, IsLinearInDecibels) {
  EXPECT_EQ(volumeOf(0), 0u);
  EXPECT_EQ(volumeOf(1.0), 100u);
  EXPECT_EQ(volumeOf(1e-3), 50u);
  EXPECT_EQ(volumeOf(1e-6), 0u);
  EXPECT_EQ(volumeOf(1e-12), 0u);
  EXPECT_EQ(volumeOf(4.0), 100u);
}

TEST(Volume, MeanSquareOfSamples) {
  EXPECT_EQ(meanSquare({}), 0);
  EXPECT_DOUBLE_EQ(meanSquare({-32768, -32768}), 1.0);
  EXPECT_DOUBLE_EQ(meanSquare({16384, -16384}), 0.25);
}

TEST(ActiveSpeaker, FirstAudibleMemberSpeaksAtOnce) {
  ActiveSpeaker speaker;
  EXPECT_FALSE(speaker.update({{"a", 9}}));
  EXPECT_TRUE(speaker.update({{"a", 10}}));
  EXPECT_EQ(speaker.speaker(), "a");
}

TEST(ActiveSpeaker, EqualsDoNotFlicker) {
  ActiveSpeaker speaker;
  speaker.update({{"a", 60}, {"b", 60}});
  const std::string first = speaker.speaker();
  for (int step = 0; step < 100; ++step) {
    const std::uint32_t wobble = step % 2 ? 7 : 0;
    EXPECT_FALSE(speaker.update({{"a", 60 + wobble}, {"b", 60 + 7 - wobble}}));
  }
  EXPECT_EQ(speaker.speaker(), first);
}

TEST(ActiveSpeaker, AChallengerMustBeLouderForAWhile) {
  ActiveSpeaker speaker;
  speaker.update({{"a", 50}});
  const Volumes louder{{"a", 50}, {"b", 58}};
  for (int step = 1; step < ActiveSpeaker::kStepsToTakeOver; ++step) {
    EXPECT_FALSE(speaker.update(louder));
  }
  EXPECT_FALSE(speaker.update({{"a", 50}, {"b", 57}}));  // The count begins anew.
  for (int step = 1; step < ActiveSpeaker::kStepsToTakeOver; ++step) {
    EXPECT_FALSE(speaker.update(louder));
  }
  EXPECT_TRUE(speaker.update(louder));
  EXPECT_EQ(speaker.speaker(), "b");
}

TEST(ActiveSpeaker, AShortPauseKeepsTheFloor) {
  ActiveSpeaker speaker;
  speaker.update({{"a", 50}});
  for (int step = 1; step < ActiveSpeaker::kStepsToGiveUp; ++step) {
    EXPECT_FALSE(speaker.update({}));
  }
  EXPECT_FALSE(speaker.update({{"a", 50}}));
  for (int step = 1; step < ActiveSpeaker::kStepsToGiveUp; ++step) {
    EXPECT_FALSE(speaker.update({}));
  }
  EXPECT_TRUE(speaker.update({}));
  EXPECT_EQ(speaker.speaker(), "");
}

TEST(LevelBoard, AveragesBetweenReports) {
  LevelBoard board;
  board.step({{"a", 1e-2}, {"b", 0}});
  board.step({{"a", 1e-4}});
  const auto volumes = board.takeVolumes();
  EXPECT_EQ(volumes, (Volumes{{"a", volumeOf((1e-2 + 1e-4) / 2)}}));
  EXPECT_TRUE(board.takeVolumes().empty());
}

TEST(NoiseGate, TurnsDownWhatIsQuietAndKeepsWhatIsLoud) {
  NoiseGate gate;
  std::vector<std::int16_t> quiet(960, 100);
  gate.process(quiet);
  quiet.assign(960, 100);
  gate.process(quiet);
  EXPECT_EQ(quiet[500], 1);
  std::vector<std::int16_t> loud(960, 8000);
  gate.process(loud);
  loud.assign(960, 8000);
  gate.process(loud);
  EXPECT_EQ(loud[500], 8000);
}

TEST(Statistics, SaturateWhereTheFieldIsTooNarrow) {
  RemoteMedia::Counters received;
  received.bytes = 100'000'000;
  received.pictures = 8;
  received.lost = 2;
  received.delivered = 6;
  received.delay = std::chrono::milliseconds(60);
  const auto figures = statisticsOf(125'000, received, std::chrono::seconds(1));
  EXPECT_EQ(figures.m_nTxBitrate, 1000);
  EXPECT_EQ(figures.m_nRxBitrate, 65535);
  EXPECT_EQ(figures.m_nRxPacketLossRate, 25);
  EXPECT_EQ(figures.m_nNetDelay, 10);
}

TEST(Statistics, QualityByLossAndDelay) {
  EXPECT_EQ(qualityOf(false, 0, 0), Quality::kUnknown);
  EXPECT_EQ(qualityOf(true, 1, 50), Quality::kExcellent);
  EXPECT_EQ(qualityOf(true, 2, 0), Quality::kGood);
  EXPECT_EQ(qualityOf(true, 0, 151), Quality::kPoor);
  EXPECT_EQ(qualityOf(true, 16, 0), Quality::kBad);
  EXPECT_EQ(qualityOf(true, 31, 0), Quality::kVeryBad);
  EXPECT_EQ(qualityOf(true, 0, 1001), Quality::kVeryBad);
}

TEST(Scaler, SizesAreEvenAndKeepTheShape) {
  EXPECT_EQ(smallFormat(640, 360), (VideoFormat{320, 180, 0}));
  EXPECT_EQ(smallFormat(1920, 1080), (VideoFormat{320, 180, 0}));
  EXPECT_EQ(smallFormat(320, 180), (VideoFormat{160, 90, 0}));
  EXPECT_EQ(smallFormat(2, 2), (VideoFormat{2, 2, 0}));
  EXPECT_EQ(fitInto(1920, 1080, 1280, 720), (VideoFormat{1280, 720, 0}));
  EXPECT_EQ(fitInto(800, 600, 1280, 720), (VideoFormat{800, 600, 0}));
  EXPECT_EQ(fitInto(100, 1000, 1280, 720), (VideoFormat{72, 720, 0}));
}

}  // namespace
}  // namespace kavrin::conference
