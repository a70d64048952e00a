#include "conference/base/codes.h"

namespace kavrin::conference {

const char* codeText(Code code) {
  switch (code) {
    case Code::kOk:
      return "ok";
    case Code::kInvalidArgument:
      return "invalid argument";
    case Code::kNotLoggedIn:
      return "not logged in";
    case Code::kAlreadyLoggedIn:
      return "already logged in";
    case Code::kNotInRoom:
      return "not in a room";
    case Code::kAlreadyInRoom:
      return "already in a room";
    case Code::kNotHost:
      return "only the host may do this";
    case Code::kMutedByHost:
      return "muted by the host";
    case Code::kNoSuchMember:
      return "no such member";
    case Code::kNoSuchDevice:
      return "no such device";
    case Code::kNotRunning:
      return "not running";
    case Code::kAlreadyRunning:
      return "already running";
    case Code::kNoDataChannel:
      return "no data channel";
    case Code::kReservedTopic:
      return "the topic is reserved for the room";
    case Code::kTooLarge:
      return "too large";
    case Code::kBusy:
      return "busy";
    case Code::kFileError:
      return "file error";
    case Code::kNoPicture:
      return "no picture";
    case Code::kMediaFailed:
      return "media failed";
    case Code::kCancelled:
      return "cancelled";
    case Code::kStopped:
      return "the engine has been stopped";
    case Code::kInternal:
      return "internal error";
    case Code::kLoggedInElsewhere:
      return "logged in elsewhere";
  }
  return "unknown code";
}

}  // namespace kavrin::conference
