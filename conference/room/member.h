// What a member tells its room about its media, and what the room tells everybody.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "conference/base/codes.h"

namespace kavrin::conference {

// A member's own wishes.
struct MemberMedia {
  bool audioPublished = false;
  bool audioMuted = false;
  bool cameraPublished = false;
  bool cameraMuted = false;
  bool cameraDual = false;  // a small stream is sent beside the camera's main one
  bool screenPublished = false;

  bool operator==(const MemberMedia&) const = default;
};

// A member as everybody in the room sees it.
struct MemberRecord {
  std::uint64_t presence = 0;  // grows with every member that comes
  std::string userId;
  std::string name;
  std::string extendedInfo;
  bool host = false;
  StreamState audio = StreamState::kOff;
  StreamState camera = StreamState::kOff;
  bool cameraPublished = false;  // announced, be it muted or not
  bool screenPublished = false;

  bool operator==(const MemberRecord&) const = default;
};

// In order of presence.
using Roster = std::vector<MemberRecord>;

enum class MediaKind { kAudio, kCamera };

}  // namespace kavrin::conference
