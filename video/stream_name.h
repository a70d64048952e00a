// Names a stream of pictures: a user's name and the stream's type.
//
// Types 0 and 1, the two sizes of a camera, name the same stream. Type 2 is the screen share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace kavrin {

class StreamName {
 public:
  StreamName() = default;
  StreamName(std::string userName, std::int64_t type)
      : userName_(std::move(userName)), type_(type), hash_(hashOf(userName_, distinctType())) {}

  const std::string& userName() const { return userName_; }
  // The type as it was given.
  std::int64_t type() const { return type_; }

  friend bool operator==(const StreamName& left, const StreamName& right) {
    return left.hash_ == right.hash_ && left.distinctType() == right.distinctType() &&
           left.userName_ == right.userName_;
  }

  // Computed once, for names that are looked up again and again.
  struct Hash {
    std::size_t operator()(const StreamName& name) const noexcept { return name.hash_; }
  };

 private:
  static std::size_t hashOf(const std::string& userName, std::int64_t type) {
    constexpr std::size_t kSpread = 0x9E3779B9;  // keeps small types apart in the upper bits, too
    return std::hash<std::string>()(userName) ^ (static_cast<std::size_t>(type) * kSpread);
  }
  std::int64_t distinctType() const {
    constexpr std::int64_t kSmallCamera = 1;
    return type_ == kSmallCamera ? 0 : type_;
  }

  std::string userName_;
  std::int64_t type_ = 0;
  std::size_t hash_ = hashOf({}, 0);
};

}  // namespace kavrin
