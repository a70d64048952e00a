// Every number the engine answers or reports. docs/engine.md tells the same to its users.
#pragma once

#include <cstdint>

namespace kavrin::conference {

// Result of an operation, of a completion and of OnRoomError/OnSnapshotTaken.
enum class Code : std::int32_t {
  kOk = 0,
  kInvalidArgument = 1001,   // null, empty, malformed or out of range
  kNotLoggedIn = 1002,       // needs a completed login
  kAlreadyLoggedIn = 1003,   // logged in already, or the login is under way
  kNotInRoom = 1004,         // needs a room that has been joined
  kAlreadyInRoom = 1005,     // must not be in a room, nor joining one
  kNotHost = 1006,           // the room's host alone may do this
  kMutedByHost = 1007,       // only the host can lift this mute
  kNoSuchMember = 1008,      // no member of the room has this user id
  kNoSuchDevice = 1009,      // no such camera, microphone, speaker, screen or window
  kNotRunning = 1010,        // what was to be changed or stopped does not run
  kAlreadyRunning = 1011,    // what was to be started runs already
  kNoDataChannel = 1012,     // needs CreateDataChannel first
  kReservedTopic = 1013,     // topics that start with "room/" are the room's own
  kTooLarge = 1014,          // text or list beyond its documented bound
  kBusy = 1015,              // too much waits already; try again later
  kFileError = 1016,         // file cannot be read, written or understood
  kNoPicture = 1017,         // no picture arrived in time
  kMediaFailed = 1018,       // a device or a media pipeline failed
  kCancelled = 1019,         // given up because of UnInit
  kStopped = 1020,           // called after UnInit
  kInternal = 1021,          // out of memory, or a fault of this library
  kLoggedInElsewhere = 1022  // another login under this user id took over
};

// A short English sentence, never null.
const char* codeText(Code code);

constexpr std::int32_t value(Code code) { return static_cast<std::int32_t>(code); }

// OnRoomMemberStateChange.
enum class UserState : std::int32_t {
  kJoined = 1,
  kLeft = 2,
  kHost = 3,  // the member is the host from now on
  kCameraStarted = 4,
  kScreenStarted = 5,
  kInfoChanged = 6,  // name or extended info
  kCameraStopped = 7,
  kScreenStopped = 8,
  kLoggedInElsewhere = 18
};

// OnRoomStateChange and KavrinConferenceEngineInfo::m_conferenceState.
enum class RoomState : std::int32_t {
  kNone = 0,
  kJoining = 1,
  kJoined = 2,
  kLeft = 3,
  kClosedByHost = 4,
  kRemovedByHost = 5,
  kLoggedInElsewhere = 6,
  kReconnecting = 7,
  kReconnected = 8,
  kLost = 9,
  kJoinFailed = 10
};

// A member's audio or camera: OnAudioStateChanged, OnVideoStateChanged, attendee states. A mute
// shows whether or not the stream is published. Screens are only off or on.
enum class StreamState : std::uint8_t { kOff = 0, kOn = 1, kMuted = 2, kMutedByHost = 3 };

enum class StreamType : std::uint32_t { kCamera = 0, kCameraSmall = 1, kScreen = 2 };

// Devices in OnAudioDeviceStateChange, OnAudioDefaultDeviceChanged, OnAudioDeviceVolumeChanged.
enum class DeviceKind : std::int32_t { kMicrophone = 1, kSpeaker = 2 };

enum class DeviceState : std::int32_t { kStarted = 1, kStopped = 2, kFailed = 3 };

// OnDataChannelStateChanged.
enum class ChannelState : std::int32_t { kOpening = 1, kOpen = 2, kClosed = 3 };

// OnNetworkQuality.
enum class Quality : std::int32_t {
  kUnknown = 0,
  kExcellent = 1,
  kGood = 2,
  kPoor = 3,
  kBad = 4,
  kVeryBad = 5
};

}  // namespace kavrin::conference
