// The callback registry: script functions that native code calls by name.
//
// Two kinds of script functions live here under one mechanism: listeners that script registers with
// on() and removes with off(), and one-shot completion callbacks of asynchronous methods. Any
// thread may post to a name; the post is queued by the record's thread-safe function and delivered
// on the script thread, where the payload becomes a script value and the function is called.
// Posting never waits for the script thread.
//
// Lifetime rules of thread-safe functions. Each of them stands for a crash or a process that would
// not end:
//
//  1. A thread-safe function is created, and a reference to a script value is made or deleted, on
//     the script thread only. Releasing and posting may happen on any thread.
//  2. Whoever posts holds the registry's mutex, and whoever releases holds it too, having taken the
//     record out of the map. So nobody posts to a function that was released.
//  3. Each function is released exactly once, in release mode: posts that were accepted before are
//     still handed over by Node.
//  4. A message owns a share of its record. The record may be gone from the map, and the registry
//     gone altogether, when the message is delivered; delivery touches nothing but the message, its
//     record and the DeliveryGate.
//  5. After off(), replacement or releaseAll(), messages of a listener are dropped on delivery: its
//     context value is no longer held. Messages of a completion survive unregister() and
//     releaseAll(), because a completion is unregistered right after its only post.
//  6. When the registry is destroyed the gate closes: whatever is delivered after that is dropped.
//  7. A listener that is replaced under its own name stays registered with Node, and so keeps the
//     environment alive, until releaseAll() or the end of the registry.
//  8. Node frees every thread-safe function when its environment ends. The registry must be gone by
//     then; EnvironmentHook sees to that and is re-armed after every creation. A function for which
//     that fails, or whose record cannot be kept for want of memory, is released at once and counts
//     as one that could not be created.
//  9. Every message is freed by delivery, also when Node delivers it without an environment.
//
// Threads: on(), off(), registerApiCallback(), releaseAll(), construction and destruction belong to
// the script thread; unregister(), emit() and emitApiCallback() may be called from any thread.
// `mutex_` guards the members below it and the handles inside the records; nothing is called under
// it that takes another lock but the logger's stream locks and Node's queue lock. Shutdown: the
// owner stops the engine first, so that nobody posts, then destroys the registry.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bridge/node_api.h"
#include "events/environment_hook.h"
#include "events/log_sink.h"
#include "support/thread_annotations.h"

namespace kavrin {

// FNV-1a, 64 bits.
struct NameHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view name) const noexcept;
};

class EventEmitter {
 public:
  // Both are borrowed and must outlive the registry.
  EventEmitter(LogSink& logSink, EnvironmentHook& environmentHook);
  ~EventEmitter();
  EventEmitter(const EventEmitter&) = delete;
  EventEmitter& operator=(const EventEmitter&) = delete;

  // Registers a listener: argv[0] its name, argv[1] the function, argv[2] a value that is handed
  // back on each call. Throws "Invalid arguments to on()", "Invalid event name", "Failed to create
  // reference" or "Failed to create threadsafe function" to script. Returns undefined.
  napi_value on(napi_env env, std::size_t argc, const napi_value* argv);

  // Removes the listener named argv[0]; an unknown name is only logged. Throws "Invalid arguments
  // to off()" or "Invalid event name" to script. Returns undefined.
  napi_value off(napi_env env, std::size_t argc, const napi_value* argv);

  // Registers a completion callback under `name`, made unique when it is taken, and returns the
  // name used; returns an empty text, with a script error pending, on failure.
  std::string registerApiCallback(napi_env env, napi_value callback, const std::string& name);

  // Removes the record under `name`. Posts that were accepted before are still delivered.
  void unregister(const std::string& name);

  // Posts JSON text to a listener, which is called with the parsed value and its context.
  void emit(std::string_view name, std::string jsonPayload);

  // Posts a result code to a completion callback, which is called with the code alone; the payload
  // is carried along but never handed over.
  void emitApiCallback(const std::string& name, std::int32_t code);
  void emitApiCallback(const std::string& name, std::int32_t code, std::string payload);

  // Removes every record, the replaced ones included.
  void releaseAll();

 private:
  struct DeliveryGate;
  struct ListenerRecord;
  struct DispatchMessage;
  class Delivery;
  using RecordPtr = std::shared_ptr<ListenerRecord>;

  static void callJs(napi_env env, napi_value jsCallback, void* context, void* data);
  static napi_status holdContext(napi_env env, napi_value context, ListenerRecord& record);
  static void release(ListenerRecord& record);
  static void dropListener(ListenerRecord& record);

  bool createFunction(napi_env env, napi_value callback, const std::string& name,
                      ListenerRecord& record);
  void store(const std::string& name, const RecordPtr& record);
  RecordPtr take(const std::string& name) KAVRIN_REQUIRES(mutex_);
  // Wall-clock milliseconds, made strictly increasing so that a burst of registrations need not
  // wait for the clock.
  std::int64_t nextStamp() KAVRIN_REQUIRES(mutex_);
  napi_value throwLogged(napi_env env, const char* message);
  void post(std::string_view name, std::unique_ptr<DispatchMessage> message,
            const char* failureText, const char* unknownText);

  LogSink& logSink_;
  EnvironmentHook& environmentHook_;
  const std::shared_ptr<DeliveryGate> gate_;
  Mutex mutex_{"callback registry"};
  std::unordered_map<std::string, RecordPtr, NameHash, std::equal_to<>> listeners_
      KAVRIN_GUARDED_BY(mutex_);
  // Records that are out of the map and still hold something of the script host.
  std::vector<RecordPtr> leftovers_ KAVRIN_GUARDED_BY(mutex_);
  std::int64_t lastStamp_ KAVRIN_GUARDED_BY(mutex_) = 0;
};

}  // namespace kavrin
