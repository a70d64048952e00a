// A frame store in a script environment of its own, with its notifications kept.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/fake_node_api/script_environment.h"
#include "video/video_frame_store.h"

namespace kavrin {

using Texts = std::vector<std::string>;
using Bytes = std::vector<unsigned char>;

// Threads: any thread writes; the test reads when the others are done.
class RecordedNotes final : public FrameNotifier {
 public:
  void onFrameSizeChanged(std::string json) override { add("size " + json); }
  void onBufferOverflow(std::string json) override { add("overflow " + json); }

  Texts take() {
    MutexLock lock(mutex_);
    return std::exchange(notes_, {});
  }

 private:
  void add(std::string note) {
    MutexLock lock(mutex_);
    notes_.push_back(std::move(note));
  }

  Mutex mutex_;
  Texts notes_ KAVRIN_GUARDED_BY(mutex_);
};

inline Bytes picture(int width, int height, unsigned char first = 0) {
  Bytes bytes(static_cast<std::size_t>(width * height * 3 / 2));
  std::iota(bytes.begin(), bytes.end(), first);
  return bytes;
}

class FrameStoreTest : public ::testing::Test {
 protected:
  using Store = VideoFrameStore;

  void deliver(const std::string& user, std::uint32_t type, int width, int height,
               unsigned char first = 0) {
    const Bytes bytes = picture(width, height, first);
    const Store::VideoFrame frame{static_cast<std::uint16_t>(width),
                                  static_cast<std::uint16_t>(height), type, bytes.data()};
    store->deliver(user, type, frame);
  }
  napi_value bind(const std::string& user, int type, std::size_t size) {
    napi_value buffer = env.buffer(Bytes(size, 0xEE));
    EXPECT_TRUE(store->bind(&env, buffer, user, type));
    return buffer;
  }
  std::string get(const std::string& user, int type, bool force = false) {
    return fetchText(store->get(StreamName(user, type), force));
  }

  RecordedNotes notes;
  fake::ScriptEnvironment env;
  std::unique_ptr<Store> store = std::make_unique<Store>(&notes);
};

}  // namespace kavrin
