// The addon of the script-level benchmarks: floors that do the least work a path can do, and
// functions that play the engine's part.
//
// Floors stand for what any module would have to do: they read their arguments, copy the bytes,
// build the objects, and nothing else. They keep their state in plain statics; the addon is loaded
// in one environment only.
#include <rapidjson/document.h>
#include <unistd.h>

#include <sys/syscall.h>
#include <sys/time.h>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "bench/quiet_engine.h"
#include "bridge/node_api.h"

namespace {

using Kavrin::ConferenceEngine::ConfRoom;
using Kavrin::ConferenceEngine::VideoFrame;

constexpr std::size_t kMaxArguments = 8;

struct Arguments {
  napi_value values[kMaxArguments];
  std::size_t count = kMaxArguments;

  Arguments(napi_env env, napi_callback_info info) {
    napi_get_cb_info(env, info, &count, values, nullptr, nullptr);
  }
  std::int32_t number(napi_env env, std::size_t index) const {
    std::int32_t value = 0;
    napi_get_value_int32(env, values[index], &value);
    return value;
  }
  std::string text(napi_env env, std::size_t index) const {
    std::size_t length = 0;
    napi_get_value_string_utf8(env, values[index], nullptr, 0, &length);
    std::string result(length + 1, '\0');
    napi_get_value_string_utf8(env, values[index], result.data(), length + 1, nullptr);
    result.resize(length);
    return result;
  }
};

napi_value makeNumber(napi_env env, std::int32_t value) {
  napi_value made = nullptr;
  napi_create_int32(env, value, &made);
  return made;
}

// --- Pictures -----------------------------------------------------------------------------------

struct Pictures {
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::vector<std::vector<unsigned char>> sources;
  std::vector<std::unique_ptr<unsigned char[]>> between;  // the floor's counterpart of the store
  std::vector<char> spacer;  // of random size, so that others get other memory each time
  std::size_t size() const { return static_cast<std::size_t>(width) * height * 3 / 2; }
};
Pictures pictures;

// makePictures(width, height, streams): sources for that many streams, each time somewhere else.
napi_value makePictures(napi_env env, napi_callback_info info) {
  const Arguments arguments(env, info);
  constexpr std::size_t kLargestSpacer = 1 << 20;
  pictures = {};
  pictures.spacer.resize(std::random_device()() % kLargestSpacer);
  pictures.width = arguments.number(env, 0);
  pictures.height = arguments.number(env, 1);
  for (int i = 0; i < arguments.number(env, 2); ++i) {
    pictures.sources.emplace_back(pictures.size(), static_cast<unsigned char>(i));
    pictures.between.push_back(std::make_unique<unsigned char[]>(pictures.size()));
  }
  return nullptr;
}

// deliver(stream): the engine hands the stream's picture to the module's sink.
napi_value deliver(napi_env env, napi_callback_info info) {
  static const ConfRoom room{"room", "local"};
  const Arguments arguments(env, info);
  const std::int32_t stream = arguments.number(env, 0);
  const std::string user = "user" + std::to_string(stream);
  const VideoFrame frame{static_cast<std::uint16_t>(pictures.width),
                         static_cast<std::uint16_t>(pictures.height), 0,
                         pictures.sources[stream].data()};
  kavrin::bench::newestSink()->OnRoomMemberVideoFrame(room, user.c_str(), frame);
  return nullptr;
}

void reportState(std::int32_t stream, std::int32_t state) {
  const std::string user = "user" + std::to_string(stream);
  kavrin::bench::newestSink()->OnRoomMemberStateChange({"room", "local"}, user.c_str(), state);
}

// announce(stream): the stream's camera starts.
napi_value announce(napi_env env, napi_callback_info info) {
  constexpr std::int32_t kCameraStarted = 4;
  reportState(Arguments(env, info).number(env, 0), kCameraStarted);
  return nullptr;
}

// withdraw(stream): it stops, and the module gives the memory of its picture back.
napi_value withdraw(napi_env env, napi_callback_info info) {
  constexpr std::int32_t kCameraStopped = 7;
  reportState(Arguments(env, info).number(env, 0), kCameraStopped);
  return nullptr;
}

napi_value floorCopyIn(napi_env env, napi_callback_info info) {
  const std::int32_t stream = Arguments(env, info).number(env, 0);
  std::memcpy(pictures.between[stream].get(), pictures.sources[stream].data(), pictures.size());
  return nullptr;
}

napi_value floorCopyOut(napi_env env, napi_callback_info info) {
  const Arguments arguments(env, info);
  void* data = nullptr;
  napi_get_buffer_info(env, arguments.values[1], &data, nullptr);
  std::memcpy(data, pictures.between[arguments.number(env, 0)].get(), pictures.size());
  return nullptr;
}

// --- Calls --------------------------------------------------------------------------------------

std::int32_t parse(const std::string& json) {
  std::string copy = json;
  rapidjson::Document document;
  document.ParseInsitu(copy.data());
  const auto value = document.HasMember("isEnable") ? &document["isEnable"] : nullptr;
  return value != nullptr && value->IsBool() && value->GetBool() ? 1 : 0;
}

// floorCall(handle, name, json): reads two texts, parses one, answers a number.
napi_value floorCall(napi_env env, napi_callback_info info) {
  const Arguments arguments(env, info);
  const std::string name = arguments.text(env, 1);
  return makeNumber(env, parse(arguments.text(env, 2)) + static_cast<std::int32_t>(name.size()));
}

std::FILE* floorLog = nullptr;

void floorRecord(const char* level, const char* message) {
  timeval now{};
  gettimeofday(&now, nullptr);
  tm calendar{};
  localtime_r(&now.tv_sec, &calendar);
  char time[64];
  std::strftime(time, sizeof time, "%Y-%m-%d %H:%M:%S", &calendar);
  std::fprintf(floorLog, "%s.%d [%ld][:%s:%d][%s]", time, static_cast<int>(now.tv_usec / 1000),
               static_cast<long>(syscall(SYS_gettid)), "KavrinNodeConferenceEngine::MuteAudio", 100,
               level);
  std::fputs(message, floorLog);
  std::fputs(message, stdout);
  std::fputs("\n", floorLog);
  std::fflush(floorLog);
}

// floorLoggedCall(handle, name, json): the same with the four records of a method call.
napi_value floorLoggedCall(napi_env env, napi_callback_info info) {
  const Arguments arguments(env, info);
  const std::string name = arguments.text(env, 1);
  const std::string json = arguments.text(env, 2);
  floorRecord("INFO", ("call node api: " + name + ", param: " + json).c_str());
  const std::int32_t code = parse(json);
  floorRecord("INFO", "method enter...");
  floorRecord("INFO", "method return 0");
  floorRecord("INFO", ("call node api: " + name + " ret: 0").c_str());
  return makeNumber(env, code);
}

napi_value openFloorLog(napi_env env, napi_callback_info info) {
  floorLog = std::fopen(Arguments(env, info).text(env, 0).c_str(), "a");
  return nullptr;
}

// --- Events -------------------------------------------------------------------------------------

// fireEvents(count, threads): the engine reports member volumes from that many threads.
napi_value fireEvents(napi_env env, napi_callback_info info) {
  const Arguments arguments(env, info);
  const std::int32_t count = arguments.number(env, 0);
  const std::int32_t threadCount = arguments.number(env, 1);
  const auto fire = [count, threadCount] {
    const ConfRoom room{"room", "local"};
    KavrinConferenceEngineEvent* sink = kavrin::bench::newestSink();
    for (int i = 0; i < count / threadCount; ++i) sink->OnActiveSpeaker(room, "user1", i);
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < threadCount; ++i) threads.emplace_back(fire);
  for (std::thread& thread : threads) thread.join();
  return nullptr;
}

napi_value makeText(napi_env env, const char* text) {
  napi_value made = nullptr;
  napi_create_string_utf8(env, text, NAPI_AUTO_LENGTH, &made);
  return made;
}

// floorEvents(count): the objects that a poll of that many events hands to script.
napi_value floorEvents(napi_env env, napi_callback_info info) {
  const std::int32_t count = Arguments(env, info).number(env, 0);
  napi_value list = nullptr;
  napi_create_array(env, &list);
  for (std::int32_t i = 0; i < count; ++i) {
    napi_handle_scope scope = nullptr;
    napi_open_handle_scope(env, &scope);
    napi_value event = nullptr;
    napi_value parms = nullptr;
    napi_create_object(env, &event);
    napi_set_property(env, event, makeText(env, "key"), makeText(env, "OnActiveSpeaker"));
    napi_create_array(env, &parms);
    napi_set_element(env, parms, 0, makeText(env, "local"));
    napi_set_element(env, parms, 1, makeText(env, "room"));
    napi_set_element(env, parms, 2, makeText(env, "user1"));
    napi_set_element(env, parms, 3, makeNumber(env, i));
    napi_set_named_property(env, event, "parms", parms);
    napi_set_element(env, list, i, event);
    napi_close_handle_scope(env, scope);
  }
  return list;
}

// --- Posts --------------------------------------------------------------------------------------

// fireSizeChanges(count): pictures of turning sizes, each of which the module posts to a listener.
napi_value fireSizeChanges(napi_env env, napi_callback_info info) {
  static const ConfRoom room{"room", "local"};
  static const unsigned char pixels[4 * 4 * 3 / 2] = {};
  const std::int32_t count = Arguments(env, info).number(env, 0);
  for (std::int32_t i = 0; i < count; ++i) {
    const auto side = static_cast<std::uint16_t>(i % 2 == 0 ? 2 : 4);
    kavrin::bench::newestSink()->OnRoomMemberVideoFrame(room, "user0", {side, side, 0, pixels});
  }
  return nullptr;
}

void floorDeliver(napi_env env, napi_value callback, void*, void* data) {
  const std::unique_ptr<std::string> payload(static_cast<std::string*>(data));
  if (env == nullptr) return;
  napi_value global = nullptr;
  napi_value json = nullptr;
  napi_value parser = nullptr;
  napi_value parsed = nullptr;
  napi_get_global(env, &global);
  napi_get_named_property(env, global, "JSON", &json);
  napi_get_named_property(env, json, "parse", &parser);
  napi_value text = makeText(env, payload->c_str());
  napi_call_function(env, json, parser, 1, &text, &parsed);
  napi_call_function(env, global, callback, 1, &parsed, nullptr);
}

// floorPosts(count, callback): that many posts through a thread-safe function of their own.
napi_value floorPosts(napi_env env, napi_callback_info info) {
  const Arguments arguments(env, info);
  napi_threadsafe_function post = nullptr;
  napi_create_threadsafe_function(env, arguments.values[1], nullptr, makeText(env, "floor"), 0, 1,
                                  nullptr, nullptr, nullptr, floorDeliver, &post);
  constexpr const char* kPayload = R"({"uid":"user0","type":0,"width":4,"height":4,"needSize":24})";
  for (int i = 0; i < arguments.number(env, 0); ++i) {
    napi_call_threadsafe_function(post, new std::string(kPayload), napi_tsfn_nonblocking);
  }
  napi_release_threadsafe_function(post, napi_tsfn_release);
  return nullptr;
}

void define(napi_env env, napi_value exports, const char* name, napi_callback callback) {
  napi_value function = nullptr;
  napi_create_function(env, nullptr, 0, callback, nullptr, &function);
  napi_set_named_property(env, exports, name, function);
}

}  // namespace

extern "C" NAPI_MODULE_EXPORT napi_value napi_register_module_v1(napi_env env, napi_value exports) {
  define(env, exports, "makePictures", makePictures);
  define(env, exports, "deliver", deliver);
  define(env, exports, "announce", announce);
  define(env, exports, "withdraw", withdraw);
  define(env, exports, "floorCopyIn", floorCopyIn);
  define(env, exports, "floorCopyOut", floorCopyOut);
  define(env, exports, "floorCall", floorCall);
  define(env, exports, "floorLoggedCall", floorLoggedCall);
  define(env, exports, "openFloorLog", openFloorLog);
  define(env, exports, "fireEvents", fireEvents);
  define(env, exports, "floorEvents", floorEvents);
  define(env, exports, "fireSizeChanges", fireSizeChanges);
  define(env, exports, "floorPosts", floorPosts);
  return exports;
}
