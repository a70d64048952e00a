// Matching of texts by extended regular expressions of POSIX. (The standard library's own do not
// compile without warnings in the sanitizer builds; on Windows there are no others.)
#pragma once

#if defined(_WIN32)
#include <regex>
#else
#include <regex.h>
#endif

#include <array>
#include <string>

namespace kavrin::testing {

class Pattern {
 public:
  static constexpr std::size_t kGroups = 8;
  using Groups = std::array<std::string, kGroups>;  // the first is the whole match

#if defined(_WIN32)
  explicit Pattern(const std::string& expression) : compiled_(expression, std::regex::extended) {}
#else
  explicit Pattern(const std::string& expression) {
    regcomp(&compiled_, expression.c_str(), REG_EXTENDED);
  }
  ~Pattern() { regfree(&compiled_); }
#endif
  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;

  // Whether the expression matches anywhere in the text.
  bool isIn(const std::string& text, Groups* groups = nullptr) const {
#if defined(_WIN32)
    std::smatch matches;
    if (!std::regex_search(text, matches, compiled_)) return false;
    for (std::size_t i = 0; groups != nullptr && i < kGroups; ++i) (*groups)[i] = matches.str(i);
#else
    regmatch_t matches[kGroups];
    if (regexec(&compiled_, text.c_str(), kGroups, matches, 0) != 0) return false;
    for (std::size_t i = 0; groups != nullptr && i < kGroups; ++i) {
      const auto [start, end] = matches[i];
      (*groups)[i] = start < 0 ? ""
                               : text.substr(static_cast<std::size_t>(start),
                                             static_cast<std::size_t>(end - start));
    }
#endif
    return true;
  }

 private:
#if defined(_WIN32)
  std::regex compiled_;
#else
  regex_t compiled_;
#endif
};

}  // namespace kavrin::testing
