#include "conference/session/level_board.h"

namespace kavrin::conference {

bool LevelBoard::step(const std::map<std::string, double>& loudness) {
  now_.clear();
  for (const auto& [member, square] : loudness) {
    now_[member] = volumeOf(square);
    meters_[member].add(square);
  }
  return speaker_.update(now_);
}

std::uint32_t LevelBoard::volumeNow(const std::string& userId) const {
  const auto found = now_.find(userId);
  return found == now_.end() ? 0 : found->second;
}

std::map<std::string, std::uint32_t> LevelBoard::takeVolumes() {
  std::map<std::string, std::uint32_t> volumes;
  for (auto& [member, meter] : meters_) {
    const std::uint32_t volume = volumeOf(meter.take());
    if (volume > 0) volumes[member] = volume;
  }
  meters_.clear();
  return volumes;
}

}  // namespace kavrin::conference
