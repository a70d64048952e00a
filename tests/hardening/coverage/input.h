// Takes a fuzzer's input apart, piece by piece.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

namespace kavrin {

// Gives zeros once the input has run out.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : rest_(data, size) {}

  bool empty() const { return rest_.empty(); }

  template <typename Number>
  Number number() {
    Number value{};
    const std::size_t size = std::min(sizeof value, rest_.size());
    std::memcpy(&value, rest_.data(), size);
    rest_ = rest_.subspan(size);
    return value;
  }
  std::uint8_t below(std::uint8_t bound) {
    return static_cast<std::uint8_t>(number<std::uint8_t>() % bound);
  }
  bool flag() { return below(2) == 1; }

  // UTF-8 of up to some 3,000 bytes: a few characters, any but surrogates, over and over.
  std::string text() {
    std::string characters;
    for (int count = below(4); count > 0; --count) append(characters, number<std::uint32_t>());
    std::string text;
    for (int count = number<std::uint8_t>(); count > 0; --count) text += characters;
    return text;
  }

 private:
  static void append(std::string& text, std::uint32_t code) {
    constexpr std::uint32_t kEnd = 0x110000;
    constexpr std::uint32_t kSurrogates = 0xD800;
    constexpr std::uint32_t kAfterSurrogates = 0xE000;
    code %= kEnd;
    if (code >= kSurrogates && code < kAfterSurrogates) code -= kSurrogates;
    const auto last = [&](int shift) { return static_cast<char>(0x80 | (code >> shift & 0x3F)); };
    if (code < 0x80) {
      text += {static_cast<char>(code)};
    } else if (code < 0x800) {
      text += {static_cast<char>(0xC0 | code >> 6), last(0)};
    } else if (code < 0x10000) {
      text += {static_cast<char>(0xE0 | code >> 12), last(6), last(0)};
    } else {
      text += {static_cast<char>(0xF0 | code >> 18), last(12), last(6), last(0)};
    }
  }

  std::span<const std::uint8_t> rest_;
};

}  // namespace kavrin
