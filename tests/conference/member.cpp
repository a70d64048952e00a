#include "tests/conference/member.h"

#include <atomic>
#include <future>
#include <utility>

namespace kavrin::conference_tests {

std::string uniqueHost() {
  static std::atomic<int> number{0};
  return "host-" + std::to_string(++number);
}

Member::Member(std::string userId, std::string rootHost)
    : userId_(std::move(userId)), engine_(KavrinConferenceEngine::CreateConfEngine(&sink)) {
  engine_->SetRootHost(rootHost.c_str());
}

Member::~Member() { destroy(); }

void Member::destroy() {
  if (engine_ == nullptr) return;
  engine_->UnInit();
  KavrinConferenceEngine::DestroyConfEngine(std::exchange(engine_, nullptr));
}

int Member::login() {
  auto promise = std::make_shared<std::promise<int>>();
  auto future = promise->get_future();
  engine_->Init(userId_.c_str(), ("Name of " + userId_).c_str(), "secret",
                [promise](std::int32_t result) { promise->set_value(result); });
  if (future.wait_for(kPatience) != std::future_status::ready) return -1;
  const int result = future.get();
  loggedIn_ = loggedIn_ || result == 0;
  return result;
}

void Member::join(const std::string& roomId) {
  if (!loggedIn_) {
    ASSERT_EQ(login(), code::kOk);
  }
  const std::size_t from = sink.events().size();
  ASSERT_EQ(engine_->JoinRoom(roomId.c_str()), code::kOk);
  ASSERT_TRUE(sink.waitRoomState(room_state::kJoined, from));
}

int Member::send(const std::string& text, const char* to) {
  auto promise = std::make_shared<std::promise<int>>();
  auto future = promise->get_future();
  engine_->SendCustomMessage(text.c_str(), to, [promise](std::int32_t result, const char*) {
    promise->set_value(result);
  });
  return future.wait_for(kPatience) == std::future_status::ready ? future.get() : -1;
}

std::vector<std::string> Member::attendeeIds() {
  std::vector<std::string> ids;
  for (const auto& user : engine_->GetRoomAttendees()) ids.push_back(user.m_pUserId);
  return ids;
}

std::vector<int> Member::attendeeStates(const std::string& userId) {
  for (const auto& user : engine_->GetRoomAttendees()) {
    if (userId == user.m_pUserId) {
      return {user.m_audioState, user.m_cameraState, user.m_screenShareState};
    }
  }
  return {-1, -1, -1};
}

Member& RoomTest::add(const std::string& userId, const std::string& roomId) {
  members.push_back(std::make_unique<Member>(userId, host));
  Member& added = *members.back();
  added.join(roomId);
  for (const auto& other : members) {
    if (other.get() == &added) continue;
    EXPECT_TRUE(other->sink.waitUserState(userId, user_state::kJoined));
    EXPECT_TRUE(added.sink.waitUserState(other->id(), user_state::kJoined));
  }
  return added;
}

Member& RoomTest::operator[](const std::string& userId) {
  for (const auto& member : members) {
    if (member->id() == userId) return *member;
  }
  ADD_FAILURE() << "no member " << userId;
  return *members.front();
}

}  // namespace kavrin::conference_tests
