// Decoded requests for pictures. Script asks for the same few streams with the same texts, once per
// rendered picture and stream, so each text is decoded once.
//
// Threads: script thread only.
#pragma once

#include <string>
#include <unordered_map>
#include <utility>

#include "engine/parameters.h"
#include "support/text_hash.h"
#include "video/stream_name.h"

namespace kavrin {

struct FrameRequest {
  StreamName stream;
  bool force = false;
};

class FrameRequestCache {
 public:
  // The request in `json`; throws as decodeJson() does. Valid until the next call.
  const FrameRequest& decode(const std::string& json) {
    const auto known = requests_.find(json);
    if (known != requests_.end()) return known->second;
    FrameParameters parameters;
    decodeJson(json, parameters);
    decoded_ = {StreamName(std::move(parameters.uid), parameters.videoSourceType),
                parameters.forceGetFrame};
    // A script that sends huge texts, or never repeats one, must not fill the memory with them.
    if (json.size() > kLongestText) return decoded_;
    if (requests_.size() >= kCapacity) requests_.clear();
    return requests_[json] = decoded_;
  }

 private:
  static constexpr std::size_t kCapacity = 256;
  static constexpr std::size_t kLongestText = 1024;  // bytes

  std::unordered_map<std::string, FrameRequest, TextHash> requests_;
  FrameRequest decoded_;
};

}  // namespace kavrin
