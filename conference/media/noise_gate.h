// Noise suppression by level: what stays below a threshold is turned down.
#pragma once

#include <cstdint>
#include <vector>

namespace kavrin::conference {

// Not thread-safe; one per capture.
class NoiseGate {
 public:
  static constexpr double kThresholdDecibels = -45;  // of full scale
  static constexpr double kReduction = 0.01;         // -40 dB

  void process(std::vector<std::int16_t>& samples);

 private:
  double gain_ = 1;
};

}  // namespace kavrin::conference
