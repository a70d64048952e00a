// Collects loudness and turns it into volume reports and the active speaker.
#pragma once

#include <map>
#include <string>

#include "conference/media/levels.h"

namespace kavrin::conference {

// Not thread-safe; lives on the callback thread.
class LevelBoard {
 public:
  // One step's loudness (mean square by member). True when somebody else speaks now.
  bool step(const std::map<std::string, double>& loudness);
  const std::string& speaker() const { return speaker_.speaker(); }
  // Of the last step; 0 for a member that was not heard.
  std::uint32_t volumeNow(const std::string& userId) const;
  // Average volumes since the last call, of members that were audible.
  std::map<std::string, std::uint32_t> takeVolumes();
  void clear() { *this = LevelBoard(); }

 private:
  ActiveSpeaker speaker_;
  std::map<std::string, std::uint32_t> now_;
  std::map<std::string, LevelMeter> meters_;
};

}  // namespace kavrin::conference
