// The arguments of a call from script.
#pragma once

#include <array>
#include <cstddef>

#include "bridge/node_api.h"

namespace kavrin::ConferenceEngineWrapper {

// Room for `Capacity` arguments; those that script left out read as undefined.
template <std::size_t Capacity>
class CallArguments {
 public:
  CallArguments(napi_env env, napi_callback_info info) {
    std::size_t count = Capacity;
    read_ = napi_get_cb_info(env, info, &count, values_.data(), nullptr, nullptr) == napi_ok;
    count_ = read_ ? count : 0;
  }

  // How many arguments script passed, which may be more than there is room for.
  std::size_t count() const { return count_; }
  // True when the call was read and has exactly as many arguments as there is room for.
  bool complete() const { return read_ && count_ == Capacity; }

  napi_value operator[](std::size_t index) const { return values_[index]; }
  // The arguments behind the first one.
  const napi_value* rest() const { return values_.data() + 1; }

 private:
  std::array<napi_value, Capacity> values_{};
  std::size_t count_ = 0;
  bool read_ = false;
};

}  // namespace kavrin::ConferenceEngineWrapper
