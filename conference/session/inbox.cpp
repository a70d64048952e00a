#include "conference/session/inbox.h"

#include <utility>

namespace kavrin::conference {
namespace {

// Bytes of a message event; 0 for other events.
std::size_t messageBytes(const HomeEvent& event) {
  if (const auto* message = std::get_if<home_event::Message>(&event.body)) {
    return message->text->size() + 1;
  }
  if (const auto* message = std::get_if<home_event::TopicMessage>(&event.body)) {
    return message->text->size() + 1;
  }
  return 0;
}

}  // namespace

void Inbox::onEvent(HomeEvent event) {
  const std::size_t bytes = messageBytes(event);
  if (bytes > 0) {
    ++backlog_->messages;
    backlog_->bytes += bytes;
  }
  auto task = [session = session_, backlog = backlog_, bytes,
               shared = std::make_shared<const HomeEvent>(std::move(event))] {
    if (bytes > 0) {
      --backlog->messages;
      backlog->bytes -= bytes;
    }
    if (const auto alive = session.lock()) alive->handle(*shared);
  };
  loop_->post(std::move(task));
}

bool Inbox::hasRoomFor(std::size_t bytes) const {
  return backlog_->messages < kMaxMessages && backlog_->bytes + bytes <= kMaxMessageBytes;
}

}  // namespace kavrin::conference
