#include "conference/media/levels.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kavrin::conference {

double meanSquare(const std::vector<std::int16_t>& samples) {
  if (samples.empty()) return 0;
  double sum = 0;
  for (const std::int16_t sample : samples) sum += double(sample) * sample;
  return sum / (double(samples.size()) * 32768.0 * 32768.0);
}

std::uint32_t volumeOf(double square) {
  if (square <= 0) return 0;
  const double decibels = 10 * std::log10(square);
  return static_cast<std::uint32_t>(std::clamp(std::lround(100 + decibels * 100 / 60), 0L, 100L));
}

double LevelMeter::take() {
  const double mean = count_ == 0 ? 0 : sum_ / count_;
  sum_ = 0;
  count_ = 0;
  return mean;
}

bool ActiveSpeaker::update(const std::map<std::string, std::uint32_t>& volumes) {
  const auto current = volumes.find(speaker_);
  const std::uint32_t currentVolume =
      speaker_.empty() || current == volumes.end() ? 0 : current->second;
  const auto loudest =
      std::max_element(volumes.begin(), volumes.end(),
                       [](const auto& a, const auto& b) { return a.second < b.second; });
  const bool anyone = loudest != volumes.end() && loudest->second >= kAudible;

  silentSteps_ = currentVolume >= kAudible ? 0 : silentSteps_ + 1;
  if (!anyone) {
    challengerSteps_ = 0;
    return !speaker_.empty() && silentSteps_ >= kStepsToGiveUp && change("");
  }
  if (speaker_.empty()) return change(loudest->first);
  if (loudest->first == speaker_ || loudest->second < currentVolume + kLouder) {
    challengerSteps_ = 0;
    return false;
  }
  challengerSteps_ = loudest->first == challenger_ ? challengerSteps_ + 1 : 1;
  challenger_ = loudest->first;
  return challengerSteps_ >= kStepsToTakeOver && change(challenger_);
}

bool ActiveSpeaker::change(std::string to) {
  speaker_ = std::move(to);
  challenger_.clear();
  challengerSteps_ = 0;
  silentSteps_ = 0;
  return true;
}

}  // namespace kavrin::conference
