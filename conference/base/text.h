// Texts as they cross the border: NUL-terminated, possibly null, in UTF-8.
#pragma once

#include <cstddef>
#include <string>

namespace kavrin::conference {

inline constexpr std::size_t kMaxIdSize = 256;                    // user, room and topic names
inline constexpr std::size_t kMaxInfoSize = 64 * 1024;            // display name, extended info
inline constexpr std::size_t kMaxMessageSize = 16 * 1024 * 1024;  // one custom message

// The text, or an empty one for null.
inline std::string textOf(const char* text) { return text ? std::string(text) : std::string(); }

// True for 1 to kMaxIdSize bytes of well-formed UTF-8.
bool isId(const std::string& text);

}  // namespace kavrin::conference
