// The records whose construction, copy and destruction belong to the engine library. Each counts
// itself, so that a record which the module forgets shows.
#include <cstring>

#include "engine/engine_interface.h"
#include "tests/scripted_engine/live_objects.h"

using kavrin::scripted::liveObjects;

namespace {

char* copyOf(const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t size = std::strlen(text) + 1;
  char* copy = new char[size];
  std::memcpy(copy, text, size);
  return copy;
}

void replace(char*& target, const char* text) {
  char* copy = copyOf(text);
  delete[] target;
  target = copy;
}

}  // namespace

namespace Kavrin::ConferenceEngine {

VideoOption::VideoOption()
    : deviceId(0),
      deviceType(0),
      left(0),
      top(0),
      width(0),
      height(0),
      resolution(0),
      frameRate(0),
      bitRate(0) {
  ++liveObjects().options;
}

VideoOption::VideoOption(const VideoOption& other)
    : deviceId(other.deviceId),
      deviceType(other.deviceType),
      left(other.left),
      top(other.top),
      width(other.width),
      height(other.height),
      resolution(other.resolution),
      frameRate(other.frameRate),
      bitRate(other.bitRate),
      excludedWindows(other.excludedWindows) {
  ++liveObjects().options;
}

VideoOption& VideoOption::operator=(const VideoOption& other) = default;

VideoOption::~VideoOption() { --liveObjects().options; }

}  // namespace Kavrin::ConferenceEngine

KavrinConferenceEngineUser::KavrinConferenceEngineUser()
    : m_pUserName(nullptr),
      m_pUserId(nullptr),
      m_pUserExtInfo(nullptr),
      m_audioState(0),
      m_cameraState(0),
      m_screenShareState(0) {
  ++liveObjects().users;
}

// The user is whole from the start, so that its texts are freed when memory for one is short.
KavrinConferenceEngineUser::KavrinConferenceEngineUser(const char* name, const char* id,
                                                       const char* extendedInfo)
    : KavrinConferenceEngineUser() {
  m_pUserName = copyOf(name);
  m_pUserId = copyOf(id);
  m_pUserExtInfo = copyOf(extendedInfo);
}

KavrinConferenceEngineUser::KavrinConferenceEngineUser(const KavrinConferenceEngineUser& other)
    : KavrinConferenceEngineUser(other.m_pUserName, other.m_pUserId, other.m_pUserExtInfo) {
  m_audioState = other.m_audioState;
  m_cameraState = other.m_cameraState;
  m_screenShareState = other.m_screenShareState;
}

KavrinConferenceEngineUser& KavrinConferenceEngineUser::operator=(
    const KavrinConferenceEngineUser& other) {
  if (this == &other) return *this;
  replace(m_pUserName, other.m_pUserName);
  replace(m_pUserId, other.m_pUserId);
  replace(m_pUserExtInfo, other.m_pUserExtInfo);
  m_audioState = other.m_audioState;
  m_cameraState = other.m_cameraState;
  m_screenShareState = other.m_screenShareState;
  return *this;
}

KavrinConferenceEngineUser::~KavrinConferenceEngineUser() {
  delete[] m_pUserName;
  delete[] m_pUserId;
  delete[] m_pUserExtInfo;
  --liveObjects().users;
}

KavrinConferenceEngineInfo::KavrinConferenceEngineInfo()
    : m_conferenceState(0), m_audioState(0), m_videoState(0), m_shareState(0) {
  ++liveObjects().infos;
}

KavrinConferenceEngineInfo::KavrinConferenceEngineInfo(const KavrinConferenceEngineInfo& other)
    : m_conferenceState(other.m_conferenceState),
      m_audioState(other.m_audioState),
      m_videoState(other.m_videoState),
      m_shareState(other.m_shareState),
      m_roomId(other.m_roomId),
      m_users(other.m_users) {
  ++liveObjects().infos;
}

KavrinConferenceEngineInfo& KavrinConferenceEngineInfo::operator=(
    const KavrinConferenceEngineInfo& other) = default;

KavrinConferenceEngineInfo::~KavrinConferenceEngineInfo() { --liveObjects().infos; }

std::int32_t KavrinConferenceEngineInfo::UserCount() const {
  return static_cast<std::int32_t>(m_users.size());
}

const KavrinConferenceEngineUser& KavrinConferenceEngineInfo::UserAt(std::int32_t index) const {
  return m_users[static_cast<std::size_t>(index)];
}

void KavrinConferenceEngineInfo::AddUser(const KavrinConferenceEngineUser& user) {
  m_users.push_back(user);
}
