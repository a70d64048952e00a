#include "bridge/records.h"

#include <cstring>
#include <map>
#include <string>

#include "support/host_services.h"
#include "support/logger.h"

namespace node_napi {
namespace {

bool succeeded(napi_env env, napi_status status, const char* message) {
  if (status == napi_ok) return true;
  napi_throw_error(env, nullptr, message);
  return false;
}

// Sets `value`, whose creation had the outcome `created`; a value or key that could not be made
// is a null handle, which the setting step then reports in its turn.
bool setProperty(napi_env env, napi_value object, const char* key, napi_value value, bool created) {
  napi_value name = nullptr;
  const bool named = succeeded(env, napi_create_string_utf8(env, key, NAPI_AUTO_LENGTH, &name),
                               "strToNValue error!");
  const bool set = succeeded(env, napi_set_property(env, object, name, value),
                             "setNObjectProperty:napi_set_property error!");
  return created && named && set;
}

}  // namespace

bool setNumber(napi_env env, napi_value object, const char* key, std::int32_t value) {
  napi_value number = nullptr;
  const bool created = succeeded(env, napi_create_int32(env, value, &number),
                                 "setNObjectProperty:napi_create_int32 error!");
  return setProperty(env, object, key, number, created);
}

bool setText(napi_env env, napi_value object, const char* key, const char* text,
             std::size_t length) {
  napi_value string = nullptr;
  const bool created =
      succeeded(env, napi_create_string_utf8(env, text, length, &string), "strToNValue error!");
  return setProperty(env, object, key, string, created);
}

bool setBuffer(napi_env env, napi_value object, const char* key, const void* data,
               std::size_t length) {
  napi_value buffer = nullptr;
  const bool created = succeeded(env, napi_create_buffer_copy(env, length, data, nullptr, &buffer),
                                 "setNObjectProperty:napi_create_buffer error!");
  return setProperty(env, object, key, buffer, created);
}

}  // namespace node_napi

namespace kv_engine {
namespace {

using namespace Kavrin::ConferenceEngine;
using kavrin::host::Rectangle;

// A plain object that grows property by property, in the order of the calls.
class ObjectBuilder {
 public:
  explicit ObjectBuilder(napi_env env) : env_(env) {
    if (napi_create_object(env, &object_) != napi_ok) {
      object_ = nullptr;
      napi_throw_error(env, nullptr, "napi_create_object error!");
    }
  }

  ObjectBuilder& number(const char* key, std::int32_t value) {
    if (object_ != nullptr) node_napi::setNumber(env_, object_, key, value);
    return *this;
  }
  ObjectBuilder& text(const char* key, const std::string& value) {
    return text(key, value.c_str(), std::strlen(value.c_str()));
  }
  ObjectBuilder& text(const char* key, const char* value) {
    return text(key, value == nullptr ? "" : value, value == nullptr ? 0 : std::strlen(value));
  }
  // A text of a device record, which may lack the final NUL.
  ObjectBuilder& deviceText(const char* key, const char (&value)[kDeviceTextSize]) {
    return text(key, value, strnlen(value, kDeviceTextSize));
  }
  ObjectBuilder& buffer(const char* key, const void* data, std::int32_t length) {
    if (object_ != nullptr) {
      node_napi::setBuffer(env_, object_, key, data, static_cast<std::size_t>(length));
    }
    return *this;
  }

  napi_value build() const { return object_; }

 private:
  ObjectBuilder& text(const char* key, const char* value, std::size_t length) {
    if (object_ != nullptr) node_napi::setText(env_, object_, key, value, length);
    return *this;
  }

  napi_env env_;
  napi_value object_ = nullptr;
};

void addThumbnail(ObjectBuilder& object, const ScreenShareDeviceInfo& source) {
  object.number("thumbnailWidth", source.thumbnailWidth)
      .number("thumbnailHeight", source.thumbnailHeight);
  if (source.thumbnailDataLength > 0 && source.thumbnailData != nullptr) {
    object.buffer("thumbnailData", source.thumbnailData, source.thumbnailDataLength);
  }
  object.number("thumbnailDataLength", source.thumbnailDataLength);
}

class Desktop {
 public:
  // The monitors are asked for once per list, a window when its turn comes.
  Desktop() : monitors_(kavrin::host::monitors()) {}

  Rectangle place(const ScreenShareDeviceInfo& source) const {
    if (source.type == kShareSourceWindow) return kavrin::host::windowRectangle(source.id);
    const auto monitor =
        monitors_.find(std::string(source.name, strnlen(source.name, kDeviceTextSize)));
    return monitor == monitors_.end() ? Rectangle{} : monitor->second;
  }

 private:
  std::map<std::string, Rectangle> monitors_;
};

napi_value convertListedSource(napi_env env, kavrin::Logger& logger, const Desktop& desktop,
                               const ScreenShareDeviceInfo& source) {
  ObjectBuilder object(env);
  object.number("id", source.id).number("type", source.type);
  addThumbnail(object, source);
  const Rectangle place = desktop.place(source);
  if (place.right - place.left > 0) {
    logger.write(kavrin::kLogInfo, __LINE__, "kv_engine::convertScreenShareDeviceInfoVerctor",
                 "ScreenShareDeviceInfo:id:%d,type:%d,name:%.*s,left:%d,top:%d,right:%d,bottom:%d",
                 source.id, source.type, static_cast<int>(kDeviceTextSize), source.name, place.left,
                 place.top, place.right, place.bottom);
    object.number("x", place.left)
        .number("y", place.top)
        .number("width", place.right - place.left)
        .number("height", place.bottom - place.top);
  }
  return object.deviceText("name", source.name).build();
}

}  // namespace

napi_value convertAudioDeviceInfo(napi_env env, const AudioDeviceInfo& device) {
  return ObjectBuilder(env)
      .number("id", device.id)
      .deviceText("guid", device.guid)
      .deviceText("name", device.name)
      .number("type", device.type)
      .number("isSystemDefault", device.isSystemDefault != 0 ? 1 : 0)
      .build();
}

napi_value convertCameraDeviceInfo(napi_env env, const CameraDeviceInfo& device) {
  return ObjectBuilder(env)
      .number("id", device.id)
      .deviceText("guid", device.guid)
      .deviceText("name", device.name)
      .build();
}

napi_value convertScreenShareDeviceInfo(napi_env env, const ScreenShareDeviceInfo& source) {
  ObjectBuilder object(env);
  object.number("id", source.id).number("type", source.type).deviceText("name", source.name);
  addThumbnail(object, source);
  return object.build();
}

napi_value convertUser(napi_env env, const KavrinConferenceEngineUser& user) {
  return ObjectBuilder(env)
      .text("m_pUserName", user.m_pUserName)
      .text("m_pUserId", user.m_pUserId)
      .number("m_audioState", user.m_audioState)
      .number("m_cameraState", user.m_cameraState)
      .number("m_screenShareState", user.m_screenShareState)
      .text("m_pUserExtInfo", user.m_pUserExtInfo)
      .build();
}

napi_value convertRoomState(napi_env env, const KavrinConferenceEngineInfo& info) {
  return ObjectBuilder(env)
      .number("m_conferenceState", info.m_conferenceState)
      .number("m_audioState", info.m_audioState)
      .number("m_videoState", info.m_videoState)
      .number("m_shareState", info.m_shareState)
      .text("m_roomId", info.m_roomId)
      .build();
}

napi_value convertRoomIdentity(napi_env env, const ConfRoom& room) {
  return ObjectBuilder(env)
      .text("m_roomId", room.m_roomId)
      .text("m_localUid", room.m_localUid)
      .build();
}

napi_value convertFrameInfo(napi_env env, const FrameInfo& frame) {
  return ObjectBuilder(env)
      .number("ret", frame.ret)
      .number("width", frame.width)
      .number("height", frame.height)
      .number("yStride", frame.yStride)
      .number("rotation", frame.rotation)
      .build();
}

napi_value convertScreenShareDeviceInfoVerctor(napi_env env, kavrin::Logger& logger,
                                               const std::vector<ScreenShareDeviceInfo>& sources) {
  const Desktop desktop;
  napi_value result = nullptr;
  napi_create_array_with_length(env, sources.size(), &result);
  std::uint32_t index = 0;
  for (const ScreenShareDeviceInfo& source : sources) {
    napi_set_element(env, result, index++, convertListedSource(env, logger, desktop, source));
  }
  return result;
}

}  // namespace kv_engine
