#include "conference/media/noise_gate.h"

#include <cmath>

#include "conference/media/levels.h"

namespace kavrin::conference {

void NoiseGate::process(std::vector<std::int16_t>& samples) {
  static const double threshold = std::pow(10.0, kThresholdDecibels / 10);
  const double target = meanSquare(samples) < threshold ? kReduction : 1.0;
  // The gain glides over the stretch, so that opening and closing does not click.
  const double step = samples.empty() ? 0 : (target - gain_) / double(samples.size());
  for (std::int16_t& sample : samples) {
    gain_ += step;
    sample = static_cast<std::int16_t>(std::lround(sample * gain_));
  }
  gain_ = target;
}

}  // namespace kavrin::conference
