// Where a home drops its events for one session.
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "conference/room/room_home.h"
#include "conference/session/session.h"

namespace kavrin::conference {

// Threads: any; nothing here blocks. Refers to its session weakly, so that a home may hold it for
// as long as it likes. At most kMaxMessages messages, of kMaxMessageBytes together, wait.
class Inbox : public HomeListener {
 public:
  static constexpr std::size_t kMaxMessages = 10000;
  static constexpr std::size_t kMaxMessageBytes = 64 * 1024 * 1024;

  Inbox(std::weak_ptr<Session> session, std::shared_ptr<TaskThread> loop,
        std::shared_ptr<RemoteMedia> media)
      : session_(std::move(session)), loop_(std::move(loop)), media_(std::move(media)) {}

  void onEvent(HomeEvent event) override;
  void onPicture(const std::string& from, const PicturePtr& picture) override {
    media_->onPicture(from, picture);
  }
  void onSound(const std::string& from, const SoundPtr& sound) override {
    media_->onSound(from, sound);
  }
  bool hasRoomFor(std::size_t messageBytes) const override;

 private:
  // Counts a message for as long as it waits.
  struct Backlog {
    std::atomic<std::size_t> messages{0};
    std::atomic<std::size_t> bytes{0};
  };

  const std::weak_ptr<Session> session_;
  const std::shared_ptr<TaskThread> loop_;
  const std::shared_ptr<RemoteMedia> media_;
  const std::shared_ptr<Backlog> backlog_ = std::make_shared<Backlog>();
};

}  // namespace kavrin::conference
