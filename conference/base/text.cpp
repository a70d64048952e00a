#include "conference/base/text.h"

#include <glib.h>

namespace kavrin::conference {

bool isId(const std::string& text) {
  return !text.empty() && text.size() <= kMaxIdSize &&
         g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr);
}

}  // namespace kavrin::conference
