#include "tests/scripted_engine/outputs.h"

#include <algorithm>
#include <cstring>

#include "tests/scripted_engine/json.h"

namespace kavrin::scripted {
namespace {

rapidjson::Document parsed(const std::string& json) {
  rapidjson::Document document;
  document.Parse(json.data(), json.size());
  if (document.HasParseError()) document.SetNull();
  return document;
}

// Calls `read` for every element of the array that `json` is.
template <typename Read>
void forEach(const std::string& json, Read read) {
  const rapidjson::Document document = parsed(json);
  if (!document.IsArray()) return;
  for (const JsonValue& element : document.GetArray()) read(element);
}

std::int32_t int32Of(const JsonValue& object, const char* key) {
  return static_cast<std::int32_t>(integerOf(object, key, 0));
}

template <std::size_t N>
void copyText(char (&target)[N], const std::string& text) {
  const std::size_t length = std::min(text.size(), N - 1);
  std::memcpy(target, text.data(), length);
  std::memset(target + length, 0, N - length);
}

KavrinConferenceEngineUser userFrom(const JsonValue& value) {
  const auto text = [&value](const char* key) -> const char* {
    const JsonValue* found = member(value, key);
    return found != nullptr && found->IsString() ? found->GetString() : nullptr;
  };
  KavrinConferenceEngineUser user(text("name"), text("id"), text("extendedInfo"));
  user.m_audioState = static_cast<std::uint8_t>(integerOf(value, "audioState", 0));
  user.m_cameraState = static_cast<std::uint8_t>(integerOf(value, "cameraState", 0));
  user.m_screenShareState = static_cast<std::uint8_t>(integerOf(value, "screenShareState", 0));
  return user;
}

void appendShareSources(KavrinConferenceEngine::ShareSources& sources, const std::string& json) {
  forEach(json, [&sources](const JsonValue& value) {
    auto& source = sources.emplace_back();
    source.id = int32Of(value, "id");
    source.type = int32Of(value, "type");
    copyText(source.name, textOf(value, "name"));
    source.thumbnailWidth = static_cast<std::uint16_t>(integerOf(value, "thumbnailWidth", 0));
    source.thumbnailHeight = static_cast<std::uint16_t>(integerOf(value, "thumbnailHeight", 0));
    const JsonValue* bytes = member(value, "thumbnail");
    if (bytes == nullptr || !bytes->IsArray()) return;
    source.thumbnailDataLength = static_cast<std::int32_t>(bytes->Size());
    source.thumbnailData = new unsigned char[bytes->Size()];
    std::transform(bytes->Begin(), bytes->End(), source.thumbnailData,
                   [](const JsonValue& byte) { return static_cast<unsigned char>(byte.GetInt()); });
  });
}

}  // namespace

KavrinConferenceEngine::AudioDevices audioDevicesFrom(const std::string& json) {
  KavrinConferenceEngine::AudioDevices devices;
  forEach(json, [&devices](const JsonValue& value) {
    auto& device = devices.emplace_back();
    device.id = int32Of(value, "id");
    copyText(device.guid, textOf(value, "guid"));
    copyText(device.name, textOf(value, "name"));
    device.isSystemDefault = static_cast<std::uint8_t>(integerOf(value, "isSystemDefault", 0));
    device.type = int32Of(value, "type");
  });
  return devices;
}

KavrinConferenceEngine::CameraDevices cameraDevicesFrom(const std::string& json) {
  KavrinConferenceEngine::CameraDevices devices;
  forEach(json, [&devices](const JsonValue& value) {
    auto& device = devices.emplace_back();
    device.id = int32Of(value, "id");
    copyText(device.guid, textOf(value, "guid"));
    copyText(device.name, textOf(value, "name"));
  });
  return devices;
}

KavrinConferenceEngine::ShareSources shareSourcesFrom(const std::string& json) {
  KavrinConferenceEngine::ShareSources sources;
  try {
    appendShareSources(sources, json);
  } catch (...) {
    for (const auto& source : sources) delete[] source.thumbnailData;
    throw;
  }
  return sources;
}

KavrinConferenceEngine::Users usersFrom(const std::string& json) {
  KavrinConferenceEngine::Users users;
  forEach(json, [&users](const JsonValue& value) { users.push_back(userFrom(value)); });
  return users;
}

void fillInfo(const std::string& json, KavrinConferenceEngineInfo& info) {
  const rapidjson::Document document = parsed(json);
  info.m_conferenceState = int32Of(document, "conferenceState");
  info.m_audioState = int32Of(document, "audioState");
  info.m_videoState = int32Of(document, "videoState");
  info.m_shareState = int32Of(document, "shareState");
  info.m_roomId = textOf(document, "roomId");
  const JsonValue* users = member(document, "users");
  if (users == nullptr || !users->IsArray()) return;
  for (const JsonValue& user : users->GetArray()) info.AddUser(userFrom(user));
}

std::int32_t numberFrom(const std::string& json, std::int32_t otherwise) {
  const rapidjson::Document document = parsed(json);
  return document.IsInt() ? document.GetInt() : otherwise;
}

std::string textFrom(const std::string& json) {
  const rapidjson::Document document = parsed(json);
  if (!document.IsString()) return {};
  return {document.GetString(), document.GetStringLength()};
}

}  // namespace kavrin::scripted
