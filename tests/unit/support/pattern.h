// Matching of texts by extended regular expressions of POSIX. (The standard library's own do not
// compile without warnings in the sanitizer builds.)
#pragma once

#include <regex.h>

#include <array>
#include <string>

namespace kavrin::testing {

class Pattern {
 public:
  static constexpr std::size_t kGroups = 8;
  using Groups = std::array<std::string, kGroups>;  // the first is the whole match

  explicit Pattern(const std::string& expression) {
    regcomp(&compiled_, expression.c_str(), REG_EXTENDED);
  }
  ~Pattern() { regfree(&compiled_); }
  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;

  // Whether the expression matches anywhere in the text.
  bool isIn(const std::string& text, Groups* groups = nullptr) const {
    regmatch_t matches[kGroups];
    if (regexec(&compiled_, text.c_str(), kGroups, matches, 0) != 0) return false;
    for (std::size_t i = 0; groups != nullptr && i < kGroups; ++i) {
      const auto [start, end] = matches[i];
      (*groups)[i] = start < 0 ? ""
                               : text.substr(static_cast<std::size_t>(start),
                                             static_cast<std::size_t>(end - start));
    }
    return true;
  }

 private:
  regex_t compiled_;
};

}  // namespace kavrin::testing
