#pragma once

#include <memory>
#include <string>

#include "conference/room/in_process_home.h"

namespace kavrin::conference {

// One user's link to an in-process home. Threads: any.
class InProcessLink : public HomeLink {
 public:
  InProcessLink(std::shared_ptr<InProcessHome> home, AttendeePtr attendee)
      : home_(std::move(home)), self_(std::move(attendee)) {}
  ~InProcessLink() override { home_->logout(*self_); }

  void login() override { home_->login(self_); }
  void logout() override { home_->logout(*self_); }
  void join(const std::string& roomId, Stay stay, const MemberMedia& media) override {
    home_->join(self_, roomId, stay, media);
  }
  void leave() override;

  void setExtendedInfo(const std::string& info) override;
  void setMedia(const MemberMedia& media) override;
  void setSubscriptions(std::shared_ptr<const SubscriptionPolicy> policy) override;

  void kick(const std::string& userId) override;
  void muteMember(const std::string& userId, MediaKind kind, bool mute) override;
  void muteRoom(bool mute) override;
  void closeRoom() override;

  void sendMessage(std::uint64_t id, std::string text, const std::string& to) override;
  void openChannel() override;
  void closeChannel() override;
  void subscribeTopic(const std::string& topic) override;
  void unsubscribeTopic(const std::string& topic) override;

  void sendPicture(const PicturePtr& picture) override {
    self_->router.sendPicture(userId_, picture);
  }
  void sendSound(const SoundPtr& sound) override { self_->router.sendSound(userId_, sound); }

 private:
  // The room, when this member is its host; otherwise null, and the member hears of the refusal.
  Room* hosted(const char* request) KAVRIN_REQUIRES(home_->mutex_);
  Code send(std::string text, const std::string& to) KAVRIN_REQUIRES(home_->mutex_);

  const std::shared_ptr<InProcessHome> home_;
  const AttendeePtr self_;
  const std::string userId_ = self_->identity.userId;
};

}  // namespace kavrin::conference
