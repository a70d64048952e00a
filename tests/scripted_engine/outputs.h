// Engine records made from the JSON texts with which tests tell what an operation hands out.
//
// Threads: reentrant.
#pragma once

#include <cstdint>
#include <string>

#include "engine/engine_interface.h"

namespace kavrin::scripted {

KavrinConferenceEngine::AudioDevices audioDevicesFrom(const std::string& json);
KavrinConferenceEngine::CameraDevices cameraDevicesFrom(const std::string& json);
// The thumbnails are allocated with new[]; they belong to the caller.
KavrinConferenceEngine::ShareSources shareSourcesFrom(const std::string& json);
KavrinConferenceEngine::Users usersFrom(const std::string& json);
void fillInfo(const std::string& json, KavrinConferenceEngineInfo& info);
// The number that `json` is; `otherwise` when it is no number.
std::int32_t numberFrom(const std::string& json, std::int32_t otherwise);
// The text that `json` is; empty when it is no text.
std::string textFrom(const std::string& json);

}  // namespace kavrin::scripted
