// Decoded requests for pictures. Script asks for the same few streams with the same texts, once per
// rendered picture and stream, so each text is decoded once.
//
// Threads: script thread only.
#pragma once

#include <string>
#include <unordered_map>

#include "engine/parameters.h"
#include "support/text_hash.h"

namespace kavrin {

class FrameRequestCache {
 public:
  // The parameters in `json`; throws as decodeJson() does. Valid until the next call.
  const FrameParameters& decode(const std::string& json) {
    const auto known = requests_.find(json);
    if (known != requests_.end()) return known->second;
    decoded_ = FrameParameters();
    decodeJson(json, decoded_);
    // A script that sends huge texts, or never repeats one, must not fill the memory with them.
    if (json.size() > kLongestText) return decoded_;
    if (requests_.size() >= kCapacity) requests_.clear();
    return requests_[json] = decoded_;
  }

 private:
  static constexpr std::size_t kCapacity = 256;
  static constexpr std::size_t kLongestText = 1024;  // bytes

  std::unordered_map<std::string, FrameParameters, TextHash> requests_;
  FrameParameters decoded_;
};

}  // namespace kavrin
