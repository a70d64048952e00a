// Builders that turn one engine record into a plain script object with fixed property names.
//
// The properties are created one after the other, in the order that the tables in records.cpp
// give. A Node-API call that fails raises a script error and the builder goes on with the next
// step; only when the object itself cannot be created does it return a null handle at once. Texts
// end at their first NUL; an absent text becomes "".
//
// Threads: script thread only. Property creation can run script (setters on Object.prototype), so
// callers pass records that script cannot destroy meanwhile: copies, not members of the facade.
#pragma once

#include <vector>

#include "bridge/node_api.h"
#include "engine/engine_interface.h"

namespace kavrin {
class Logger;
}

namespace kv_engine {

napi_value convertAudioDeviceInfo(napi_env env,
                                  const Kavrin::ConferenceEngine::AudioDeviceInfo& device);
napi_value convertCameraDeviceInfo(napi_env env,
                                   const Kavrin::ConferenceEngine::CameraDeviceInfo& device);
// One source alone, without its place on the desktop.
napi_value convertScreenShareDeviceInfo(
    napi_env env, const Kavrin::ConferenceEngine::ScreenShareDeviceInfo& source);
napi_value convertUser(napi_env env, const KavrinConferenceEngineUser& user);
napi_value convertRoomState(napi_env env, const KavrinConferenceEngineInfo& info);
napi_value convertRoomIdentity(napi_env env, const Kavrin::ConferenceEngine::ConfRoom& room);
napi_value convertFrameInfo(napi_env env, const Kavrin::ConferenceEngine::FrameInfo& frame);

// A script array with one object per record, made by `convert`.
template <typename Record>
napi_value convertList(napi_env env, const std::vector<Record>& records,
                       napi_value (*convert)(napi_env, const Record&)) {
  napi_value result = nullptr;
  napi_create_array_with_length(env, records.size(), &result);
  std::uint32_t index = 0;
  for (const Record& record : records) napi_set_element(env, result, index++, convert(env, record));
  return result;
}

// A script array of screens and windows, each with its rectangle on the desktop where that is
// known ("x", "y", "width", "height" in pixels). Logs one line per source with a rectangle.
napi_value convertScreenShareDeviceInfoVerctor(
    napi_env env, kavrin::Logger& logger,
    const std::vector<Kavrin::ConferenceEngine::ScreenShareDeviceInfo>& sources);

}  // namespace kv_engine

namespace node_napi {

// Sets one property of `object`. Failures are thrown to script: "strToNValue error!" for the key or
// a text, "setNObjectProperty:napi_create_int32 error!", "setNObjectProperty:napi_create_buffer
// error!" and "setNObjectProperty:napi_set_property error!". False when one was.
bool setNumber(napi_env env, napi_value object, const char* key, std::int32_t value);
bool setText(napi_env env, napi_value object, const char* key, const char* text,
             std::size_t length);
bool setBuffer(napi_env env, napi_value object, const char* key, const void* data,
               std::size_t length);

}  // namespace node_napi
