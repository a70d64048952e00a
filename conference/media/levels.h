// Loudness: from samples to the volumes that the engine reports.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kavrin::conference {

// Mean square of samples, full scale being 1.0; 0 for none.
double meanSquare(const std::vector<std::int16_t>& samples);

// 0 (at or below -60 dBFS) to 100 (0 dBFS), linear in decibels.
std::uint32_t volumeOf(double meanSquare);

// Averages loudness between two reports. Not thread-safe.
class LevelMeter {
 public:
  void add(double square) {
    sum_ += square;
    ++count_;
  }
  bool empty() const { return count_ == 0; }
  // The mean of what was added since the last call; 0 for nothing.
  double take();

 private:
  double sum_ = 0;
  int count_ = 0;
};

// Decides who speaks, from volumes given at regular steps, without flicker between equals: another
// member takes over only when it has been clearly louder for several steps in a row, and the
// speaker is given up only after a silence. Not thread-safe.
class ActiveSpeaker {
 public:
  static constexpr std::uint32_t kAudible = 10;  // volume below which nobody speaks
  static constexpr std::uint32_t kLouder = 8;    // volumes by which a challenger must exceed
  static constexpr int kStepsToTakeOver = 5;
  static constexpr int kStepsToGiveUp = 10;

  // True when somebody else speaks now.
  bool update(const std::map<std::string, std::uint32_t>& volumes);
  // Empty when nobody does.
  const std::string& speaker() const { return speaker_; }

 private:
  bool change(std::string to);

  std::string speaker_;
  std::string challenger_;
  int challengerSteps_ = 0;
  int silentSteps_ = 0;
};

}  // namespace kavrin::conference
