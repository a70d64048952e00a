// The hash of texts in maps that are looked up often.
//
// Of the standard hash, GNU's library thinks that it is slow, and so it compares a small map's
// texts one by one instead; that takes longer than the hash.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace kavrin {

struct TextHash {
  std::size_t operator()(const std::string& text) const noexcept {
    return std::hash<std::string>()(text);
  }
};

}  // namespace kavrin
