// The newest picture of every stream, from the engine's threads to script's buffers.
//
// Script binds a buffer of its own per user and stream type, the engine delivers pictures, and
// script fetches the newest one into the bound buffer. A picture is I420, planes Y, U, V one after
// the other without padding, width * height * 3 / 2 bytes.
//
// Pictures are accepted for streams that were announced and for all streams of the exempt user, who
// is the local one.
//
// Threads: deliver(), announce(), withdraw(), removeMember() and setExemptUser() may be called from
// any engine thread; bind(), unbind(), get() and destruction belong to the script thread. `mutex_`
// guards everything and is held for one picture's copy at most, which is also the longest that the
// script thread waits, for it comes before all engine threads but the one that holds the mutex.
// Memory for a larger picture is got, filled and freed without it. Under it the notifier is called,
// which must not call back into the store.
// Shutdown: the engine is stopped first, so that no more pictures arrive; the destructor gives the
// references to script's buffers back and so needs a live script environment.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include "bridge/node_api.h"
#include "engine/engine_interface.h"
#include "support/script_first_mutex.h"
#include "support/thread_annotations.h"
#include "video/stream_name.h"

namespace kavrin {

// Takes the store's notifications, each a JSON text. Called on any thread; must not block.
class FrameNotifier {
 public:
  // {"uid", "type", "width", "height", "needSize"}: the pictures of a stream have a new size.
  virtual void onFrameSizeChanged(std::string json) = 0;
  // {"needSize", "curSize", "width", "height", "uid", "type"}: a bound buffer is too small.
  virtual void onBufferOverflow(std::string json) = 0;

 protected:
  ~FrameNotifier() = default;
};

class VideoFrameStore {
 public:
  using VideoFrame = Kavrin::ConferenceEngine::VideoFrame;

  enum Result : std::int32_t {
    kCopied = 0,      // a picture was copied into the bound buffer
    kNothingNew = 1,  // the newest picture was copied before
    kNotBound = -1,   // no buffer is bound to the stream
    kNoPicture = -2,  // no picture of the stream was received
    kBufferTooSmall = -3,
    kNoData = -4,  // the bound buffer has no memory; it was detached, say
  };

  // Outcome of a fetch; width and height (pixels) are set for kCopied and kBufferTooSmall.
  struct Fetch {
    Result ret = kNotBound;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
  };

  // The notifier is borrowed, may be null, and must outlive the store.
  explicit VideoFrameStore(FrameNotifier* notifier) : notifier_(notifier) {}
  ~VideoFrameStore();
  VideoFrameStore(const VideoFrameStore&) = delete;
  VideoFrameStore& operator=(const VideoFrameStore&) = delete;

  // Keeps a copy of the picture as the newest of its stream; drops it when the stream was not
  // announced, or when the frame has no data or no representable size.
  void deliver(std::string userName, std::uint32_t streamType, const VideoFrame& frame);

  // A stream starts and may deliver from now on. Mode 0 is the camera, 2 the screen share.
  void announce(const std::string& userName, std::int32_t mode);
  // A stream ends: it is not accepted any more and its picture is dropped.
  void withdraw(const std::string& userName, std::int32_t mode);
  // A member leaves: the same for all streams of that member.
  void removeMember(const std::string& userName);
  // The user whose pictures need no announcement.
  void setExemptUser(const std::string& userName);

  // Binds a script buffer, held by a strong reference until it is replaced or unbound. False, with
  // the type error "Argument must be a Buffer" pending, when `buffer` is none.
  bool bind(napi_env env, napi_value buffer, const std::string& userName, std::int32_t streamType);
  void unbind(napi_env env, const std::string& userName, std::int32_t streamType);

  // Copies the newest picture into the bound buffer; with `force` also one that was copied before.
  Fetch get(const StreamName& name, bool force);

 private:
  using Block = std::unique_ptr<unsigned char[]>;

  struct Slot {
    bool fresh = true;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    Block data;                 // null when there is no picture
    std::int32_t size = 0;      // bytes of the current picture
    std::int32_t capacity = 0;  // bytes of the block; grows, never shrinks
  };

  struct BoundBuffer {
    napi_env env = nullptr;
    napi_ref reference = nullptr;  // null when no buffer is bound
    std::size_t length = 0;        // bytes when it was bound
  };

  // What is known of a stream; one of the three at least.
  struct Stream {
    bool announced = false;
    Slot slot;
    BoundBuffer bound;
    bool hasPicture() const { return slot.data != nullptr; }
    bool isBound() const { return bound.reference != nullptr; }
    bool isUnused() const { return !announced && !hasPicture() && !isBound(); }
    // Leaves the binding; returns the picture's memory.
    Block end() {
      announced = false;
      return std::exchange(slot, Slot()).data;
    }
  };

  struct Memory {
    unsigned char* data = nullptr;
    std::size_t length = 0;
  };

  static Memory currentMemory(const BoundBuffer& bound);
  static void release(const BoundBuffer& bound);
  void setBound(const StreamName& name, const BoundBuffer& bound) KAVRIN_EXCLUDES(mutex_);
  Stream* accepting(const StreamName& name) KAVRIN_REQUIRES(mutex_);
  bool store(const StreamName& name, const VideoFrame& frame, std::int32_t size, Block& block)
      KAVRIN_EXCLUDES(mutex_);
  void notifySize(const StreamName& name, const Slot& slot) KAVRIN_REQUIRES(mutex_);
  void notifyOverflow(const StreamName& name, const Slot& slot, std::size_t currentSize)
      KAVRIN_REQUIRES(mutex_);

  FrameNotifier* const notifier_;
  ScriptFirstMutex mutex_{"frame store"};
  std::unordered_map<StreamName, Stream, StreamName::Hash> streams_ KAVRIN_GUARDED_BY(mutex_);
  std::string exemptUser_ KAVRIN_GUARDED_BY(mutex_);
};

// A fetch as script sees it: {"ret": …, "width": …, "height": …}.
std::string fetchText(const VideoFrameStore::Fetch& fetch);

}  // namespace kavrin
