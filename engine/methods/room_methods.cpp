// Rooms: joining and leaving, what a host may do, members and messages.
#include <atomic>
#include <exception>
#include <future>
#include <memory>

#include "bridge/records.h"
#include "engine/completion_ticket.h"
#include "engine/methods/method_support.h"
#include "support/host_services.h"

namespace kavrin::methods {
namespace {

Variant joinRoom(Facade& facade, napi_env, const std::string& json) {
  const char* tag = kTag<"JoinRoom">.text;
  if (json.empty()) return Variant::int32(kCallFailed);
  if (facade.state.inRoom) {
    facade.log().write(kLogDebug, __LINE__, tag, "cur is in room");
    return Variant::int32(0);
  }
  return withEngine(facade, tag, [&] {
    Logger& log = facade.log();
    Engine& engine = *facade.engine();
    log.write(kLogInfo, __LINE__, tag, "EnableExternalRender args: true");
    engine.EnableExternalRender(true);
    JoinParameters parameters;
    decodeJson(json, parameters);
    if (!parameters.userExtendedInfo.empty()) {
      const char* info = parameters.userExtendedInfo.c_str();
      log.write(kLogInfo, __LINE__, tag, "SetUserExtendedInfo : %s", info);
      const std::int32_t code = engine.SetUserExtendedInfo(info);
      log.write(kLogInfo, __LINE__, tag, "SetUserExtendedInfo return %d", code);
    }
    const std::int32_t code = tracedCall(
        facade, tag, [&](Engine& joined) { return joined.JoinRoom(parameters.roomId.c_str()); });
    if (code == 0) {
      facade.state.inRoom = true;
      facade.state.roomId = parameters.roomId;
    }
    return Variant::int32(code);
  });
}

Variant leaveRoom(Facade& facade, napi_env, const std::string&) {
  const char* tag = kTag<"LeaveRoom">.text;
  return withEngine(facade, tag, [&] {
    const std::int32_t code = tracedCall(facade, tag, [&](Engine& engine) {
      const std::int32_t left = engine.LeaveRoom();
      if (left == 0) {
        facade.emitter().releaseAll();
        facade.state.roomId.clear();
        facade.state.inRoom = false;
      }
      return left;
    });
    return Variant::int32(code);
  });
}

// A null receiver means the whole room.
const char* receiver(const MessageParameters& parameters) {
  return parameters.toUser.empty() ? nullptr : parameters.toUser.c_str();
}

// What the script thread waits for: the engine's first answer, on any thread, or the error that the
// engine has dropped the completion. Everything that either takes is there from the start, so that
// neither fails when memory is short.
class MessageAnswer {
 public:
  MessageAnswer() = default;
  ~MessageAnswer() {
    if (!given_.test_and_set()) promise_.set_exception(dropped_);
  }
  MessageAnswer(const MessageAnswer&) = delete;
  MessageAnswer& operator=(const MessageAnswer&) = delete;

  void give(std::int32_t code) {
    if (!given_.test_and_set()) promise_.set_value(code);
  }
  std::future<std::int32_t> future() { return promise_.get_future(); }

 private:
  std::atomic_flag given_;
  std::promise<std::int32_t> promise_;
  const std::exception_ptr dropped_ =
      std::make_exception_ptr(std::future_error(std::future_errc::broken_promise));
};

Variant sendCustomMessage(Facade& facade, napi_env, const std::string& json) {
  const char* tag = kTag<"SendCustomMessage">.text;
  return withParameters<MessageParameters>(facade, tag, json, [&](const auto& parameters) {
    auto answer = std::make_shared<MessageAnswer>();
    std::future<std::int32_t> code = answer->future();
    // The completion alone keeps the answer, so that the engine may drop it.
    auto completion = [answer = std::move(answer)](std::int32_t given, const char*) {
      answer->give(given);
    };
    return Variant::int32(tracedCall(facade, tag, [&](Engine& engine) {
      engine.SendCustomMessage(parameters.msg.c_str(), receiver(parameters), std::move(completion));
      return code.get();
    }));
  });
}

void answerMessage(Facade& facade, const std::string& key, std::int32_t code, const char* text) {
  facade.emitter().emitApiCallback(key, code, text == nullptr ? "" : text);
  facade.log().write(kLogInfo, __LINE__,
                     "KavrinNodeConferenceEngine::AsyncSendCustomMessage::<lambda_1>::operator ()",
                     "method return %d", code);
  facade.emitter().unregister(key);
}

Variant asyncSendCustomMessage(Facade& facade, napi_env env, const std::string& json,
                               napi_value callback) {
  const char* tag = kTag<"AsyncSendCustomMessage">.text;
  return withParameters<MessageParameters>(facade, tag, json, [&](const auto& parameters) {
    const std::string key =
        facade.emitter().registerApiCallback(env, callback, "SendCustomMessage");
    facade.log().write(kLogInfo, __LINE__, tag, "method enter...");
    const auto completion = [&facade, key, ticket = CompletionTicket(facade.completions())](
                                std::int32_t code, const char* text) {
      ticket.redeem([&] { answerMessage(facade, key, code, text); });
    };
    facade.engine()->SendCustomMessage(parameters.msg.c_str(), receiver(parameters), completion);
    return Variant::int32(0);
  });
}

Variant getRoomAttendees(Facade& facade, napi_env& env, int argc, Variant*) {
  const char* tag = kTag<"GetRoomAttendees">.text;
  if (!verifyArgsCount(facade.log(), argc, 0)) return Variant();
  facade.log().write(kLogInfo, __LINE__, tag, "args:");
  return withEngine(facade, tag, [&] {
    const Engine::Users users = facade.engine()->GetRoomAttendees();
    facade.log().write(kLogInfo, __LINE__, tag, "method return vector size:%d",
                       static_cast<int>(users.size()));
    return Variant::scriptHandle(kv_engine::convertList(env, users, kv_engine::convertUser));
  });
}

Variant getRoomInfo(Facade& facade, napi_env& env, int argc, Variant*) {
  const char* tag = kTag<"GetRoomInfo">.text;
  if (!verifyArgsCount(facade.log(), argc, 0)) return Variant();
  facade.log().write(kLogInfo, __LINE__, tag, "args:");
  return withEngine(facade, tag, [&] {
    KavrinConferenceEngineInfo info;
    facade.engine()->GetRoomInfo(info);
    facade.log().write(kLogInfo, __LINE__, tag, "method return vector size:%d", info.UserCount());
    return Variant::scriptHandle(kv_engine::convertRoomState(env, info));
  });
}

const KavrinConferenceEngineUser* findUser(const KavrinConferenceEngineInfo& info,
                                           const std::string& userId) {
  for (std::int32_t i = 0; i < info.UserCount(); ++i) {
    const KavrinConferenceEngineUser& user = info.UserAt(i);
    if (user.m_pUserId != nullptr && userId == user.m_pUserId) return &user;
  }
  return nullptr;
}

Variant getAttendeeInfo(Facade& facade, napi_env& env, int argc, Variant* argv) {
  const char* tag = kTag<"GetAttendeeInfo">.text;
  if (!verifyArgsCount(facade.log(), argc, 1)) return Variant();
  const std::string userId = argv[0].toString();
  facade.log().write(kLogInfo, __LINE__, tag, "args:%s", userId.c_str());
  return withEngine(facade, tag, [&] {
    KavrinConferenceEngineInfo info;
    facade.engine()->GetRoomInfo(info);
    facade.log().write(kLogInfo, __LINE__, tag, "method return user size:%d", info.UserCount());
    const KavrinConferenceEngineUser* user = findUser(info, userId);
    if (user == nullptr) return Variant::int32(kCallFailed);
    return Variant::scriptHandle(kv_engine::convertUser(env, *user));
  });
}

Variant getRoomAttendeeCount(Facade& facade, napi_env, const std::string&) {
  const char* tag = kTag<"GetRoomAttendeeCount">.text;
  return withEngine(facade, tag, [&] {
    facade.log().write(kLogInfo, __LINE__, tag, "method enter...");
    facade.state.attendees = facade.engine()->GetRoomAttendees();
    const std::size_t count = facade.state.attendees.size();
    facade.log().write(kLogInfo, __LINE__, tag, "method return user size:%d",
                       static_cast<int>(count));
    return Variant::uint64(count);
  });
}

Variant getLogPath(Facade& facade, napi_env, const std::string&) {
  const char* tag = kTag<"GetLogPath">.text;
  return guarded(facade, tag, [&] {
    const std::string folder = host::defaultAppFolder();
    facade.log().write(kLogInfo, __LINE__, tag, "method return: %s", folder.c_str());
    return Variant(folder);
  });
}

constexpr Parameter kUserIdParameter[] = {{"userId", "string"}};

constexpr MethodRecord kMethods[] = {
    jsonMethod<JoinParameters>("JoinRoom", joinRoom,
                               "number: the engine's code; 0 when in a room already",
                               "Joins a room, creating it when it does not exist."),
    plainMethod("LeaveRoom", leaveRoom, kEngineCode,
                "Leaves the room; on success all listeners are dropped."),
    forward<"KickOut", &Engine::KickOut, &UserParameters::userId>("Removes a member (host)."),
    forward<"MuteRoom", &Engine::MuteRoom, &SwitchParameters::isEnable>(
        "Mutes or unmutes everybody (host)."),
    forwardPlain<"CloseRoom", &Engine::CloseRoom>("Closes the room for everybody (host)."),
    jsonMethod<MessageParameters>(
        "SendCustomMessage", sendCustomMessage, kEngineCode,
        "Sends a message to a member, or to the room when toUser is empty, and waits for the "
        "outcome."),
    callbackMethod<MessageParameters>(
        "AsyncSendCustomMessage", asyncSendCustomMessage, "number: 0 when sent, else -1",
        "Sends a message without waiting; the callback gets the engine's code."),
    argumentMethod("GetRoomAttendees", getRoomAttendees, {}, "array of user objects",
                   "Lists the members of the room."),
    argumentMethod("GetRoomInfo", getRoomInfo, {}, "room object", "Tells the state of the room."),
    argumentMethod("GetAttendeeInfo", getAttendeeInfo, kUserIdParameter,
                   "user object; -1 when there is none", "Tells about one member."),
    plainMethod("GetRoomAttendeeCount", getRoomAttendeeCount, "number: members in the room",
                "Counts the members of the room."),
    plainMethod("GetLogPath", getLogPath, "string: a folder",
                "Tells the default log folder, creating it when it is missing."),
    forward<"SetReconnectResumedMediaType", &Engine::SetReconnectResumedMediaType,
            &ResumedMediaParameters::audio, &ResumedMediaParameters::video,
            &ResumedMediaParameters::share>("Chooses the media that resume after a reconnection."),
};

}  // namespace
}  // namespace kavrin::methods

const kavrin::MethodGroup kavrin::kRoomMethods{"Rooms", kavrin::methods::kMethods};
