// Every Node-API call that the module makes on a way through it fails once: on each way the first
// call, then the second, and so on until none is left.
#include <algorithm>
#include <functional>
#include <ostream>
#include <set>

#include "tests/unit/module/module_fixture.h"

namespace kavrin {
namespace {

using Texts = std::vector<std::string>;

// Errors that the module tells script.
const std::set<std::string> kErrors = {
    "Error: Failed to create the external",
    "Error: Failed to set the engine",
    "Error: Failed to create reference",
    "Error: Failed to create threadsafe function",
    "Error: Invalid arguments to off()",
    "Error: Invalid event name",
    "Error: mine",  // script's own, when it cannot be taken away
    "Error: The module's data cannot be read",
    "Error: napi_create_object error!",
    "Error: setNObjectProperty:napi_create_buffer error!",
    "Error: setNObjectProperty:napi_create_int32 error!",
    "Error: setNObjectProperty:napi_set_property error!",
    "Error: strToNValue error!",
    "TypeError: Argument must be a Buffer",
    "TypeError: Expected an object as the first argument",
    "TypeError: Wrong number of arguments",
};

// A picture whose buffer cannot be asked for its memory.
const std::string kNoMemory = R"("{\"ret\":-4,\"width\":0,\"height\":0}")";

// Functions that give something back. One that failed would keep it.
const std::set<std::string> kGivingBack = {
    "napi_close_handle_scope",
    "napi_delete_reference",
    "napi_release_threadsafe_function",
    "napi_remove_env_cleanup_hook",
};

class Host : public ModuleHost {
 public:
  // Lets the engine answer and the answers reach script.
  void settle() {
    testing::steer("{\"command\":\"join\"}");
    env.runLoop();
  }
  void logIn() {
    init(handle, answers);
    settle();
  }
  std::string listen(napi_value context) {
    return outcome("on", {handle, text("onBufferOverflow"), env.recorder(notes), context});
  }
  std::string bind(std::size_t size) {
    napi_value buffer = env.buffer(std::vector<unsigned char>(size));
    return exec(handle, "BindingVideoFrame", env.array({text("me"), env.number(2), buffer}));
  }
  // Puts a picture of six bytes, for which a buffer of `size` bytes is bound, into the store.
  void showPicture(std::size_t size) {
    logIn();
    bind(size);
    fire("OnRoomMemberVideoFrame", R"(["me",{"width":2,"height":2,"streamType":2,"seed":5}])");
    settle();
  }
  std::string fetch() {
    const std::string result = json(handle, "GetVideoFrame", R"({"uid":"me","videoSourceType":2})");
    settle();
    return result;
  }
  std::string enumerate(const char* method) { return exec(handle, method, env.array()); }

  napi_value handle = create();
  Texts answers;
  Texts notes;
};

// One way through the module. `prepare` runs before the faults.
struct Way {
  const char* name;
  std::function<void(Host&)> prepare;
  std::function<std::string(Host&)> walk;
  bool buildsObjects = false;  // what cannot be created is left out of them
};

std::ostream& operator<<(std::ostream& out, const Way& way) { return out << way.name; }

void nothing(Host&) {}
void logIn(Host& host) { host.logIn(); }

// Logged in, with what the engine tells about itself.
void fillEngine(Host& host) {
  host.logIn();
  const std::string users = R"([{"id":"ann","name":"Ann"},{"id":"bob"}])";
  testing::setOutput("GetRoomAttendees", users);
  testing::setOutput("GetRoomInfo", R"({"roomId":"r","users":)" + users + "}");
  testing::setOutput("EnumCameraDevice", R"([{"id":1,"name":"c"},{"id":2}])");
  testing::setOutput("EnumAudioCaptureDevice", R"([{"id":1,"name":"m"}])");
  testing::setOutput("EnumScreenAndWindow",
                     R"([{"id":1,"type":2,"thumbnail":[1,2],"thumbnailWidth":1},{"id":2}])");
}

void queueEvents(Host& host) {
  host.logIn();
  host.call("loadNodeEvents", {host.handle});
  host.fire("OnCustomMessage", R"(["ann",null,"text"])");
  host.fire("OnAudioVolumeIndication", R"([[{"uid":"ann","volume":9},{"uid":"bob"}]])");
}

std::string joinRoom(Host& host) { return host.json(host.handle, "JoinRoom", R"({"roomId":"r"})"); }

std::string sendLongMessage(Host& host) {
  return host.json(host.handle, "SendCustomMessage",
                   R"({"msg":")" + std::string(600, 'x') + R"(","toUser":"ann"})");
}

std::string sendLater(Host& host) {
  const std::string result = host.outcome(
      "execJsonParamFunWithCallback", {host.handle, host.text("AsyncSendCustomMessage"),
                                       host.text(R"({"msg":"m"})"), host.env.recorder(host.notes)});
  host.settle();
  return result;
}

std::string start(Host& host) {
  const std::string result = host.init(host.handle, host.answers);
  host.settle();
  return result;
}

std::string version(Host& host) {
  napi_value given = host.env.array({host.env.boolean(true), host.text("1.0")});
  return host.exec(host.handle, "GetSDKVersion", given);
}

std::string attendee(Host& host) {
  return host.exec(host.handle, "GetAttendeeInfo", host.env.array({host.text("ann")}));
}

std::string unbind(Host& host) {
  return host.json(host.handle, "UnbindingVideoFrame", R"({"uid":"me","videoSourceType":2})");
}

std::string refuse(Host& host) {
  napi_value tricky = host.env.object();
  host.env.defineGetter(tricky, "__engine", [&] { return host.env.throwError("mine"); });
  return host.outcome("loadNodeEvents", {tricky});
}

const Way kWays[] = {
    {"create", nothing, [](Host& host) { return host.outcome("createConfEngine", {}); }},
    {"destroy",
     [](Host& host) {
       host.showPicture(6);
       host.listen(host.env.object());
       host.listen(host.env.number(1));
     },
     [](Host& host) { return host.outcome("destroyConfEngine", {host.handle}); }},
    {"destroyWithoutAHandle", nothing,
     [](Host& host) { return host.outcome("destroyConfEngine", {}); }},
    {"aHandleThatThrows", nothing, refuse},
    {"login", nothing, start},
    {"loginAnew", logIn, start},
    {"logout", [](Host& host) { host.showPicture(6); },
     [](Host& host) { return host.json(host.handle, "UnInit", ""); }},
    {"version", nothing, version},
    {"joinRoom", logIn, joinRoom},
    {"sendLongMessage", logIn, sendLongMessage},
    {"sendLater", logIn, sendLater},
    {"attendees", fillEngine, [](Host& host) { return host.enumerate("GetRoomAttendees"); }, true},
    {"attendee", fillEngine, attendee, true},
    {"roomInfo", fillEngine, [](Host& host) { return host.enumerate("GetRoomInfo"); }, true},
    {"cameras", fillEngine, [](Host& host) { return host.enumerate("EnumCameraDevice"); }, true},
    {"microphones", fillEngine, [](Host& host) { return host.enumerate("EnumAudioCaptureDevice"); },
     true},
    {"screens", fillEngine, [](Host& host) { return host.enumerate("EnumScreenAndWindow"); }, true},
    {"bind", nothing, [](Host& host) { return host.bind(6); }},
    {"bindAnew", [](Host& host) { host.bind(6); }, [](Host& host) { return host.bind(7); }},
    {"unbind", [](Host& host) { host.bind(6); }, unbind},
    {"fetch", [](Host& host) { host.showPicture(6); }, [](Host& host) { return host.fetch(); }},
    {"fetchIntoTooSmallABuffer",
     [](Host& host) {
       host.showPicture(5);
       host.listen(host.env.object());
     },
     [](Host& host) { return host.fetch(); }},
    {"fetchWithABoxedContext",
     [](Host& host) {
       host.showPicture(5);
       host.listen(host.env.number(7));
     },
     [](Host& host) { return host.fetch(); }},
    {"poll", queueEvents, [](Host& host) { return host.outcome("loadNodeEvents", {host.handle}); },
     true},
    {"on", nothing, [](Host& host) { return host.listen(host.env.object()); }},
    {"onWithABoxedContext", nothing, [](Host& host) { return host.listen(host.env.number(7)); }},
    {"onInPlaceOfAnother", [](Host& host) { host.listen(host.env.object()); },
     [](Host& host) { return host.listen(host.env.number(7)); }},
    {"off", [](Host& host) { host.listen(host.env.object()); },
     [](Host& host) {
       return host.outcome("off", {host.handle, host.text("onBufferOverflow")});
     }},
};

class FaultsTest : public ::testing::TestWithParam<Way> {
 protected:
  static std::string walk() {
    Host host;
    GetParam().prepare(host);
    return GetParam().walk(host);
  }

  // Walks with the `nth` call failing. The function that failed, "" when there were fewer calls.
  std::string walkWithFault(int nth) const {
    Host host;
    GetParam().prepare(host);
    host.env.faults.failAny(nth);
    const std::string outcome = GetParam().walk(host);
    const std::string failed = host.env.faults.failedOfAny();
    host.env.faults.clear();
    SCOPED_TRACE("call " + std::to_string(nth) + ", " + failed);
    if (!failed.empty()) checkOutcome(outcome);
    for (const std::string& error : host.env.uncaught) checkError(error);
    leave(host, failed);
    return failed;
  }

  // A failure takes away from a result and never makes another one of it.
  void checkOutcome(const std::string& outcome) const {
    constexpr std::string_view kThrows = "throws ";
    if (outcome.starts_with(kThrows)) return checkError(outcome.substr(kThrows.size()));
    if (outcome == "undefined" || outcome == "-1" || outcome == kNoMemory) return;
    if (GetParam().buildsObjects) {
      EXPECT_LE(outcome.size(), untroubled_.size() + 20) << outcome;
      EXPECT_EQ(outcome.front(), untroubled_.front()) << outcome;
    } else {
      EXPECT_EQ(outcome, untroubled_);
    }
  }

  static void checkError(const std::string& error) {
    EXPECT_TRUE(kErrors.contains(error)) << error;
  }

  // The module works on, and all it held goes with its handles.
  static void leave(Host& host, const std::string& failed) {
    napi_value other = host.create();
    EXPECT_EQ(host.outcome("loadNodeEvents", {other}), "[]");
    host.call("destroyConfEngine", {other});
    host.call("destroyConfEngine", {host.handle});
    host.settle();
    if (kGivingBack.contains(failed)) {
      host.env.close();
      host.env.misuse.take();
      return;
    }
    EXPECT_EQ(host.env.openThreadsafeFunctions(), 0);
    EXPECT_EQ(host.env.heldReferences(), 0);
  }

  const std::string untroubled_ = walk();
};

TEST_P(FaultsTest, LeaveTheModuleWhole) {
  int nth = 1;
  while (!walkWithFault(nth).empty()) ++nth;
  EXPECT_GT(nth, 1);
  RecordProperty("calls", nth - 1);
}

INSTANTIATE_TEST_SUITE_P(Ways, FaultsTest, ::testing::ValuesIn(kWays),
                         [](const auto& way) { return std::string(way.param.name); });

TEST(ModuleEntry, EveryCallOfTheRegistrationMayFail) {
  for (int nth = 1;; ++nth) {
    fake::ScriptEnvironment env;
    env.faults.failAny(nth);
    napi_value exports = env.object();
    EXPECT_EQ(napi_register_module_v1(&env, exports), exports);
    if (env.faults.failedOfAny().empty()) break;
    EXPECT_EQ(env.takeException(), "");
    env.faults.clear();
    const bool hasData = env.instanceData.data != nullptr;
    EXPECT_EQ(hasData, !exports->properties.empty());
    EXPECT_LE(exports->properties.size(), 7u);
  }
}

}  // namespace
}  // namespace kavrin
