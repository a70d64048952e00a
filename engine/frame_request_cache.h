// Decoded requests for pictures. Script asks for the same few streams with the same texts, once per
// rendered picture and stream, so each text is decoded once.
//
// Threads: script thread only.
#pragma once

#include <string>
#include <unordered_map>

#include "engine/parameters.h"

namespace kavrin {

class FrameRequestCache {
 public:
  // The parameters in `json`; throws as decodeJson() does. Valid until the next call.
  const FrameParameters& decode(const std::string& json) {
    const auto known = requests_.find(json);
    if (known != requests_.end()) return known->second;
    FrameParameters parameters;
    decodeJson(json, parameters);
    // A script that never repeats a text, or sends huge ones, must not fill the memory with them.
    if (requests_.size() >= kCapacity || json.size() > kLongestText) requests_.clear();
    return requests_[json] = std::move(parameters);
  }

 private:
  static constexpr std::size_t kCapacity = 256;
  static constexpr std::size_t kLongestText = 1024;  // bytes

  std::unordered_map<std::string, FrameParameters> requests_;
};

}  // namespace kavrin
