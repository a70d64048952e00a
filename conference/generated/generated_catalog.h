// The devices of a machine that has none: everything is generated, and says so in its name.
#pragma once

#include <memory>

#include "conference/media/devices.h"

namespace kavrin::conference {

std::shared_ptr<DeviceCatalog> makeGeneratedCatalog();

}  // namespace kavrin::conference
