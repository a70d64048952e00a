// The record classes whose construction, copy and destruction are the library's.
#include <cstring>
#include <utility>

#include "engine/engine_interface.h"

namespace {

char* copyText(const char* text) {
  if (text == nullptr) return nullptr;
  const std::size_t size = std::strlen(text) + 1;
  return static_cast<char*>(std::memcpy(new char[size], text, size));
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
      bitRate(0) {}
VideoOption::VideoOption(const VideoOption& other) = default;
VideoOption& VideoOption::operator=(const VideoOption& other) = default;
VideoOption::~VideoOption() = default;

}  // namespace Kavrin::ConferenceEngine

KavrinConferenceEngineUser::KavrinConferenceEngineUser()
    : m_pUserName(nullptr),
      m_pUserId(nullptr),
      m_pUserExtInfo(nullptr),
      m_audioState(0),
      m_cameraState(0),
      m_screenShareState(0) {}

// The user is whole from the start, so that its texts are freed when memory for one is short.
KavrinConferenceEngineUser::KavrinConferenceEngineUser(const char* name, const char* id,
                                                       const char* extendedInfo)
    : KavrinConferenceEngineUser() {
  m_pUserName = copyText(name);
  m_pUserId = copyText(id);
  m_pUserExtInfo = copyText(extendedInfo);
}

KavrinConferenceEngineUser::KavrinConferenceEngineUser(const KavrinConferenceEngineUser& other)
    : KavrinConferenceEngineUser(other.m_pUserName, other.m_pUserId, other.m_pUserExtInfo) {
  m_audioState = other.m_audioState;
  m_cameraState = other.m_cameraState;
  m_screenShareState = other.m_screenShareState;
}

KavrinConferenceEngineUser& KavrinConferenceEngineUser::operator=(
    const KavrinConferenceEngineUser& other) {
  KavrinConferenceEngineUser copy(other);
  std::swap(m_pUserName, copy.m_pUserName);
  std::swap(m_pUserId, copy.m_pUserId);
  std::swap(m_pUserExtInfo, copy.m_pUserExtInfo);
  m_audioState = copy.m_audioState;
  m_cameraState = copy.m_cameraState;
  m_screenShareState = copy.m_screenShareState;
  return *this;
}

KavrinConferenceEngineUser::~KavrinConferenceEngineUser() {
  delete[] m_pUserName;
  delete[] m_pUserId;
  delete[] m_pUserExtInfo;
}

KavrinConferenceEngineInfo::KavrinConferenceEngineInfo()
    : m_conferenceState(0), m_audioState(0), m_videoState(0), m_shareState(0) {}
KavrinConferenceEngineInfo::KavrinConferenceEngineInfo(const KavrinConferenceEngineInfo& other) =
    default;
KavrinConferenceEngineInfo& KavrinConferenceEngineInfo::operator=(
    const KavrinConferenceEngineInfo& other) = default;
KavrinConferenceEngineInfo::~KavrinConferenceEngineInfo() = default;

std::int32_t KavrinConferenceEngineInfo::UserCount() const {
  return static_cast<std::int32_t>(m_users.size());
}

const KavrinConferenceEngineUser& KavrinConferenceEngineInfo::UserAt(std::int32_t index) const {
  return m_users[static_cast<std::size_t>(index)];
}

void KavrinConferenceEngineInfo::AddUser(const KavrinConferenceEngineUser& user) {
  m_users.push_back(user);
}
