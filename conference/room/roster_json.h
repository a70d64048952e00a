// The text that a room publishes about its members.
#pragma once

#include <string>

#include "conference/room/member.h"

namespace kavrin::conference {

inline constexpr const char* kRosterTopic = "room/members";
inline constexpr const char* kReservedTopicPrefix = "room/";

// {"topic":"room/members","room":…,"host":…,"muted":…,"members":[{"id":…,"name":…,"info":…,
// "host":…,"audio":…,"camera":…,"screen":…},…]}
std::string rosterJson(const std::string& roomId, bool roomMuted, const Roster& roster);

}  // namespace kavrin::conference
