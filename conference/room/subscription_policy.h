// Which streams of which members a member wants: defaults, and exceptions per member and stream.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>

#include "conference/base/codes.h"

namespace kavrin::conference {

// A value type; not thread-safe.
class SubscriptionPolicy {
 public:
  static constexpr std::size_t kMaxMembers = 10000;  // with exceptions

  void setDefaults(bool audio, bool video) {
    audio_ = audio;
    video_ = video;
  }
  void setDefaultCameraStream(StreamType type) { cameraStream_ = type; }
  // These return false when the table of exceptions is full.
  bool setAudio(const std::string& userId, bool wanted);
  bool setCamera(const std::string& userId, bool wanted);
  bool setScreen(const std::string& userId, bool wanted);
  bool setCameraStream(const std::string& userId, StreamType type);

  bool wantsAudio(const std::string& userId) const;
  bool wantsCamera(const std::string& userId) const;
  bool wantsScreen(const std::string& userId) const;
  // Main or small, for members that send both.
  StreamType cameraStream(const std::string& userId) const;

  // Streams that are needed for a moment although they are not subscribed (a snapshot).
  void watch(const std::string& userId, bool screen, bool on);
  bool watches(const std::string& userId, bool screen) const;

 private:
  struct Exception {
    std::optional<bool> audio;
    std::optional<bool> camera;
    std::optional<bool> screen;
    std::optional<StreamType> cameraStream;
  };

  Exception* exceptionFor(const std::string& userId);
  const Exception* find(const std::string& userId) const;

  bool audio_ = true;
  bool video_ = true;
  StreamType cameraStream_ = StreamType::kCamera;
  std::map<std::string, Exception> exceptions_;
  std::set<std::pair<std::string, bool>> watched_;
};

}  // namespace kavrin::conference
