// The static functions of the library.
#include <cstdio>

#include "conference/api/engine_object.h"
#include "conference/generated/generated_catalog.h"
#include "conference/room/in_process_home.h"

namespace {

// Major, minor, patch.
constexpr const char* kVersion = "1.0.0";

}  // namespace

KavrinConferenceEngine* KavrinConferenceEngine::CreateConfEngine(
    KavrinConferenceEngineEvent* sink) {
  try {
    kavrin::conference::Environment environment{kavrin::conference::makeGeneratedCatalog(),
                                                &kavrin::conference::inProcessHomeFor};
    return new kavrin::conference::EngineObject(sink, std::move(environment));
  } catch (...) {
    return nullptr;
  }
}

void KavrinConferenceEngine::DestroyConfEngine(KavrinConferenceEngine* engine) {
  delete static_cast<kavrin::conference::EngineObject*>(engine);
}

void KavrinConferenceEngine::GetSDKVersion(char* buffer, std::uint16_t size) {
  if (buffer != nullptr && size > 0) std::snprintf(buffer, size, "%s", kVersion);
}
