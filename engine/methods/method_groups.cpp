#include "engine/method_table.h"

namespace kavrin {

std::span<const MethodGroup* const> methodGroups() {
  static constexpr const MethodGroup* kGroups[] = {
      &kLifecycleMethods,   &kRoomMethods,        &kMediaMethods,     &kDeviceMethods,
      &kScreenShareMethods, &kDataChannelMethods, &kVideoFrameMethods};
  return kGroups;
}

}  // namespace kavrin
