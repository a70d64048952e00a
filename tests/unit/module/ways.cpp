#include "tests/unit/module/ways.h"

#include "tests/unit/support/scripted.h"

namespace kavrin {
namespace {

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

}  // namespace

std::span<const Way> ways() { return kWays; }

}  // namespace kavrin
