#include "video/video_frame_store.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

namespace kavrin {
namespace {

// Bytes of a picture; nothing when they cannot be told in 31 bits.
std::optional<std::int32_t> pictureSize(const VideoFrameStore::VideoFrame& frame) {
  const std::int64_t size = std::int64_t{frame.width} * frame.height * 3 / 2;
  if (size > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
  return static_cast<std::int32_t>(size);
}

// One flat JSON object, key by key. Written under the store's mutex, hence without a JSON writer
// but for names that need one.
class JsonObject {
 public:
  JsonObject() { text_.reserve(kUsualLength); }

  JsonObject& number(std::string_view key, std::int64_t value) {
    begin(key);
    char digits[std::numeric_limits<std::int64_t>::digits10 + 2];
    const auto end = std::to_chars(digits, digits + sizeof digits, value);
    text_.append(digits, end.ptr);
    return *this;
  }
  JsonObject& text(std::string_view key, const std::string& value) {
    begin(key);
    if (std::any_of(value.begin(), value.end(), needsEscape)) {
      rapidjson::StringBuffer escaped;
      rapidjson::Writer<rapidjson::StringBuffer> writer(escaped);
      writer.String(value.data(), static_cast<rapidjson::SizeType>(value.size()));
      text_.append(escaped.GetString(), escaped.GetSize());
    } else {
      text_.append(1, '"').append(value).append(1, '"');
    }
    return *this;
  }
  std::string build() { return std::move(text_.append(1, '}')); }

 private:
  static constexpr std::size_t kUsualLength = 128;

  static bool needsEscape(char character) {
    return static_cast<unsigned char>(character) < ' ' || character == '"' || character == '\\';
  }
  void begin(std::string_view key) {
    text_.append(text_.empty() ? "{\"" : ",\"").append(key).append("\":");
  }

  std::string text_;
};

}  // namespace

VideoFrameStore::~VideoFrameStore() {
  const ScriptLock lock(mutex_);
  for (const auto& [name, stream] : streams_) {
    if (stream.isBound()) release(stream.bound);
  }
}

// The stream that a picture belongs to; null when the picture is not wanted.
VideoFrameStore::Stream* VideoFrameStore::accepting(const StreamName& name) {
  if (name.userName() == exemptUser_) return &streams_[name];
  const auto found = streams_.find(name);
  return found != streams_.end() && found->second.announced ? &found->second : nullptr;
}

void VideoFrameStore::deliver(std::string userName, std::uint32_t streamType,
                              const VideoFrame& frame) {
  const auto size = pictureSize(frame);
  if (frame.data == nullptr || !size) return;
  const StreamName name(std::move(userName), streamType);
  Block block;
  if (store(name, frame, *size, block)) return;
  // Memory that is touched for the first time takes several copies' time, so the picture is copied
  // into it before the mutex is taken. The old block comes back and is freed without it, too.
  const auto bytes = static_cast<std::size_t>(*size);
  block = std::make_unique_for_overwrite<unsigned char[]>(bytes);
  std::memcpy(block.get(), frame.data, bytes);
  store(name, frame, *size, block);
}

// `block`, if there is one, holds the picture; it is exchanged for the slot's when that is too
// small. False when one is needed and there is none.
bool VideoFrameStore::store(const StreamName& name, const VideoFrame& frame, std::int32_t size,
                            Block& block) {
  const EngineLock lock(mutex_);
  Stream* const stream = accepting(name);
  if (stream == nullptr) return true;
  Slot& slot = stream->slot;
  const bool hasRoom = stream->hasPicture() && size <= slot.capacity;
  if (!hasRoom && block == nullptr) return false;
  const bool sizeChanged =
      !stream->hasPicture() || slot.width != frame.width || slot.height != frame.height;
  if (hasRoom) {
    std::memcpy(slot.data.get(), frame.data, static_cast<std::size_t>(size));
  } else {
    slot.data.swap(block);
    slot.capacity = size;
  }
  slot.width = frame.width;
  slot.height = frame.height;
  slot.size = size;
  slot.fresh = true;
  if (sizeChanged) notifySize(name, slot);
  return true;
}

void VideoFrameStore::notifySize(const StreamName& name, const Slot& slot) {
  if (notifier_ == nullptr) return;
  notifier_->onFrameSizeChanged(JsonObject()
                                    .text("uid", name.userName())
                                    .number("type", name.type())
                                    .number("width", slot.width)
                                    .number("height", slot.height)
                                    .number("needSize", slot.size)
                                    .build());
}

void VideoFrameStore::announce(const std::string& userName, std::int32_t mode) {
  const EngineLock lock(mutex_);
  streams_[StreamName(userName, mode)].announced = true;
}

void VideoFrameStore::withdraw(const std::string& userName, std::int32_t mode) {
  Block ended;  // freed without the mutex
  const EngineLock lock(mutex_);
  const auto found = streams_.find(StreamName(userName, mode));
  if (found == streams_.end()) return;
  ended = found->second.end();
  if (found->second.isUnused()) streams_.erase(found);
}

void VideoFrameStore::removeMember(const std::string& userName) {
  std::vector<Block> ended;  // freed without the mutex
  const EngineLock lock(mutex_);
  for (auto& [name, stream] : streams_) {
    if (name.userName() == userName) ended.push_back(stream.end());
  }
  std::erase_if(streams_, [](const auto& entry) { return entry.second.isUnused(); });
}

void VideoFrameStore::setExemptUser(const std::string& userName) {
  const EngineLock lock(mutex_);
  exemptUser_ = userName;
}

void VideoFrameStore::release(const BoundBuffer& bound) {
  napi_delete_reference(bound.env, bound.reference);
}

bool VideoFrameStore::bind(napi_env env, napi_value buffer, const std::string& userName,
                           std::int32_t streamType) {
  bool isBuffer = false;
  if (napi_is_buffer(env, buffer, &isBuffer) != napi_ok || !isBuffer) {
    napi_throw_type_error(env, nullptr, "Argument must be a Buffer");
    return false;
  }
  BoundBuffer bound;
  bound.env = env;
  void* data = nullptr;
  if (napi_get_buffer_info(env, buffer, &data, &bound.length) != napi_ok ||
      napi_create_reference(env, buffer, 1, &bound.reference) != napi_ok) {
    return false;
  }
  try {
    setBound(StreamName(userName, streamType), bound);
  } catch (...) {
    release(bound);
    throw;
  }
  return true;
}

void VideoFrameStore::setBound(const StreamName& name, const BoundBuffer& bound) {
  const ScriptLock lock(mutex_);
  Stream& stream = streams_[name];
  if (stream.isBound()) release(stream.bound);
  stream.bound = bound;
}

void VideoFrameStore::unbind(napi_env /*env*/, const std::string& userName,
                             std::int32_t streamType) {
  const ScriptLock lock(mutex_);
  const auto found = streams_.find(StreamName(userName, streamType));
  if (found == streams_.end() || !found->second.isBound()) return;
  release(found->second.bound);
  found->second.bound = BoundBuffer();
  if (found->second.isUnused()) streams_.erase(found);
}

// Script may have detached or resized the memory since it was bound, so it is asked for anew. A
// detached buffer keeps its bound length with no data behind it.
VideoFrameStore::Memory VideoFrameStore::currentMemory(const BoundBuffer& bound) {
  napi_value buffer = nullptr;
  void* data = nullptr;
  Memory memory;
  if (napi_get_reference_value(bound.env, bound.reference, &buffer) != napi_ok ||
      buffer == nullptr ||
      napi_get_buffer_info(bound.env, buffer, &data, &memory.length) != napi_ok) {
    return {nullptr, bound.length};
  }
  memory.data = static_cast<unsigned char*>(data);
  if (memory.data == nullptr) memory.length = bound.length;
  return memory;
}

VideoFrameStore::Fetch VideoFrameStore::get(const StreamName& name, bool force) {
  const ScriptLock lock(mutex_);
  const auto found = streams_.find(name);
  if (found == streams_.end() || !found->second.isBound()) return {kNotBound};
  if (!found->second.hasPicture()) return {kNoPicture};
  Slot& slot = found->second.slot;
  if (!slot.fresh && !force) return {kNothingNew};
  const Memory memory = currentMemory(found->second.bound);
  const auto size = static_cast<std::size_t>(slot.size);
  if (size > memory.length) {
    notifyOverflow(name, slot, memory.length);
    return {kBufferTooSmall, slot.width, slot.height};
  }
  if (memory.data == nullptr) return {kNoData};
  std::memcpy(memory.data, slot.data.get(), size);
  slot.fresh = false;
  return {kCopied, slot.width, slot.height};
}

void VideoFrameStore::notifyOverflow(const StreamName& name, const Slot& slot,
                                     std::size_t currentSize) {
  if (notifier_ == nullptr) return;
  notifier_->onBufferOverflow(JsonObject()
                                  .number("needSize", slot.size)
                                  .number("curSize", static_cast<std::int64_t>(currentSize))
                                  .number("width", slot.width)
                                  .number("height", slot.height)
                                  .text("uid", name.userName())
                                  .number("type", name.type())
                                  .build());
}

// Made for every picture that script renders, hence without a JSON writer or printf; most polls
// find nothing new.
std::string fetchText(const VideoFrameStore::Fetch& fetch) {
  if (fetch.ret == VideoFrameStore::kNothingNew) return R"({"ret":1,"width":0,"height":0})";
  std::string text = R"({"ret":)";
  text += std::to_string(static_cast<std::int32_t>(fetch.ret));
  text += R"(,"width":)";
  text += std::to_string(fetch.width);
  text += R"(,"height":)";
  text += std::to_string(fetch.height);
  text += '}';
  return text;
}

}  // namespace kavrin
