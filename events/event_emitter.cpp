#include "events/event_emitter.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "bridge/convert.h"

namespace kavrin {

// Shared by the registry, its records and their messages. Script thread only.
struct EventEmitter::DeliveryGate {
  LogSink* logSink;  // null once the registry is gone: nothing is delivered any more
};

struct EventEmitter::ListenerRecord {
  ListenerRecord() = default;
  ~ListenerRecord() { release(*this); }  // of one that could not be kept; others are released
  ListenerRecord(const ListenerRecord&) = delete;
  ListenerRecord& operator=(const ListenerRecord&) = delete;

  napi_threadsafe_function tsfn = nullptr;
  napi_env env = nullptr;
  napi_ref contextRef = nullptr;  // empty for completions; script thread only
  bool contextBoxed = false;      // the reference is to an array that holds the context
  bool dropped = false;           // a listener that was removed; script thread only
  std::shared_ptr<DeliveryGate> gate;
};

struct EventEmitter::DispatchMessage {
  bool isEvent = false;
  bool isApiCallback = false;
  std::int32_t code = -1;
  std::string payload;
  RecordPtr record;
};

// One message on the script thread.
class EventEmitter::Delivery {
 public:
  Delivery(napi_env env, napi_value callback, const DispatchMessage& message)
      : env_(env), callback_(callback), message_(message) {}

  void run() {
    if (!succeeded(napi_get_global(env_, &global_), "napi_get_global failed.")) return;
    if (message_.isApiCallback) {
      deliverCompletion();
    } else {
      deliverEvent();
    }
  }

 private:
  void deliverEvent() {
    napi_value arguments[2] = {nullptr, nullptr};
    if (message_.payload.empty()) {
      napi_get_undefined(env_, &arguments[0]);
    } else if (!parsePayload(arguments[0])) {
      return;
    }
    // The parse may have run script, which may have removed this listener.
    if (message_.record->dropped) return;
    if (!succeeded(readContext(arguments[1]), "Failed to get context_ref")) return;
    call(2, arguments);
  }

  napi_status readContext(napi_value& context) {
    const ListenerRecord& record = *message_.record;
    const napi_status held = napi_get_reference_value(env_, record.contextRef, &context);
    if (held != napi_ok || !record.contextBoxed) return held;
    return napi_get_element(env_, context, 0, &context);
  }

  void deliverCompletion() {
    napi_value code = nullptr;
    if (!isFunction()) return;
    if (!succeeded(napi_create_int32(env_, message_.code, &code), "napi_create_int32 failed.")) {
      return;
    }
    callFunction(1, &code);
  }

  bool parsePayload(napi_value& parsed) {
    napi_value text = nullptr;
    napi_value json = nullptr;
    napi_value parse = nullptr;
    return succeeded(napi_create_string_utf8(env_, message_.payload.data(), message_.payload.size(),
                                             &text),
                     "napi_create_string_utf8 failed.") &&
           succeeded(napi_get_named_property(env_, global_, "JSON", &json),
                     "napi_get_named_property JSON failed.") &&
           succeeded(napi_get_named_property(env_, json, "parse", &parse),
                     "napi_get_named_property parse failed.") &&
           succeeded(napi_call_function(env_, json, parse, 1, &text, &parsed),
                     "napi_call_function failed.");
  }

  bool isFunction() {
    napi_valuetype type = napi_undefined;
    if (napi_typeof(env_, callback_, &type) == napi_ok && type == napi_function) return true;
    log("js_cb is not a function");
    return false;
  }

  void call(std::size_t argc, const napi_value* argv) {
    if (isFunction()) callFunction(argc, argv);
  }

  // An exception of the callback stays pending: Node reports it when this delivery returns.
  void callFunction(std::size_t argc, const napi_value* argv) {
    succeeded(napi_call_function(env_, global_, callback_, argc, argv, nullptr),
              "napi_call_function failed.");
  }

  bool succeeded(napi_status status, const char* message) {
    if (status != napi_ok) log(message);
    return status == napi_ok;
  }

  void log(const char* message) {
    LogSink* const logSink = message_.record->gate->logSink;
    if (logSink != nullptr) logSink->LogE(message);
  }

  napi_env env_;
  napi_value callback_;
  napi_value global_ = nullptr;
  const DispatchMessage& message_;
};

std::size_t NameHash::operator()(std::string_view name) const noexcept {
  std::uint64_t hash = 14695981039346656037ULL;
  for (const char byte : name) {
    hash ^= static_cast<unsigned char>(byte);
    hash *= 1099511628211ULL;
  }
  return static_cast<std::size_t>(hash);
}

EventEmitter::EventEmitter(LogSink& logSink, EnvironmentHook& environmentHook)
    : logSink_(logSink),
      environmentHook_(environmentHook),
      gate_(std::make_shared<DeliveryGate>(DeliveryGate{&logSink})) {}

EventEmitter::~EventEmitter() {
  releaseAll();
  gate_->logSink = nullptr;
}

void EventEmitter::callJs(napi_env env, napi_value jsCallback, void* /*context*/, void* data) {
  const std::unique_ptr<DispatchMessage> message(static_cast<DispatchMessage*>(data));
  if (message == nullptr || env == nullptr) return;
  const ListenerRecord& record = *message->record;
  if (record.gate->logSink == nullptr || record.dropped) return;
  try {
    Delivery(env, jsCallback, *message).run();
  } catch (...) {
    // Too little memory to say so; Node would not survive the exception.
  }
}

bool EventEmitter::createFunction(napi_env env, napi_value callback, const std::string& name,
                                  ListenerRecord& record) {
  record.env = env;
  record.gate = gate_;
  napi_value resourceName = nullptr;
  napi_create_string_utf8(env, name.data(), name.size(), &resourceName);
  constexpr std::size_t kUnboundedQueue = 0;
  constexpr std::size_t kInitialThreads = 1;
  if (napi_create_threadsafe_function(env, callback, nullptr, resourceName, kUnboundedQueue,
                                      kInitialThreads, nullptr, nullptr, &record, callJs,
                                      &record.tsfn) != napi_ok) {
    return false;
  }
  return environmentHook_.rearm();
}

void EventEmitter::release(ListenerRecord& record) {
  if (record.tsfn == nullptr) return;
  napi_release_threadsafe_function(record.tsfn, napi_tsfn_release);
  record.tsfn = nullptr;
}

void EventEmitter::dropListener(ListenerRecord& record) {
  if (record.contextRef == nullptr) return;
  record.dropped = true;
  napi_delete_reference(record.env, record.contextRef);
  record.contextRef = nullptr;
}

napi_value EventEmitter::throwLogged(napi_env env, const char* message) {
  logSink_.LogE(message);
  napi_throw_error(env, nullptr, message);
  return nullptr;
}

// Node-API holds references to objects and functions only, so any other context goes into a box.
napi_status EventEmitter::holdContext(napi_env env, napi_value context, ListenerRecord& record) {
  napi_valuetype type = napi_undefined;
  napi_status status = napi_typeof(env, context, &type);
  if (status != napi_ok) return status;
  record.contextBoxed = type != napi_object && type != napi_function;
  if (!record.contextBoxed) return napi_create_reference(env, context, 1, &record.contextRef);
  napi_value box = nullptr;
  status = napi_create_array_with_length(env, 1, &box);
  if (status == napi_ok) status = napi_set_element(env, box, 0, context);
  return status == napi_ok ? napi_create_reference(env, box, 1, &record.contextRef) : status;
}

napi_value EventEmitter::on(napi_env env, std::size_t argc, const napi_value* argv) {
  if (argc < 3) return throwLogged(env, "Invalid arguments to on()");
  const std::string name = node_napi::readText(env, argv[0]).value_or("");
  if (name.empty()) return throwLogged(env, "Invalid event name");
  auto record = std::make_shared<ListenerRecord>();
  if (holdContext(env, argv[2], *record) != napi_ok) {
    napi_throw_error(env, nullptr, "Failed to create reference");
    return nullptr;
  }
  try {
    if (createFunction(env, argv[1], name, *record)) {
      store(name, record);
      return nullptr;
    }
  } catch (...) {
    dropListener(*record);
    throw;
  }
  dropListener(*record);
  return throwLogged(env, "Failed to create threadsafe function");
}

void EventEmitter::store(const std::string& name, const RecordPtr& record) {
  MutexLock lock(mutex_);
  RecordPtr& place = listeners_[name];
  if (place != nullptr) {
    leftovers_.push_back(place);
    if (place->contextRef != nullptr) place->dropped = true;
  }
  place = record;
}

EventEmitter::RecordPtr EventEmitter::take(const std::string& name) {
  const auto found = listeners_.find(name);
  if (found == listeners_.end()) return nullptr;
  RecordPtr record = std::move(found->second);
  listeners_.erase(found);
  return record;
}

napi_value EventEmitter::off(napi_env env, std::size_t argc, const napi_value* argv) {
  if (argc < 1) return throwLogged(env, "Invalid arguments to off()");
  const std::string name = node_napi::readText(env, argv[0]).value_or("");
  if (name.empty()) return throwLogged(env, "Invalid event name");
  MutexLock lock(mutex_);
  const RecordPtr record = take(name);
  if (record == nullptr) {
    logSink_.LogI("not find event.");
    return nullptr;
  }
  release(*record);
  dropListener(*record);
  return nullptr;
}

std::string EventEmitter::registerApiCallback(napi_env env, napi_value callback,
                                              const std::string& name) {
  auto record = std::make_shared<ListenerRecord>();
  if (!createFunction(env, callback, name, *record)) {
    throwLogged(env, "Failed to create threadsafe function");
    return {};
  }
  std::string used = name;
  {
    MutexLock lock(mutex_);
    while (listeners_.contains(used)) used = name + "_" + std::to_string(nextStamp());
    listeners_.emplace(used, std::move(record));
  }
  return used;
}

std::int64_t EventEmitter::nextStamp() {
  using namespace std::chrono;
  const auto now = duration_cast<milliseconds>(system_clock::now().time_since_epoch());
  lastStamp_ = std::max<std::int64_t>(now.count(), lastStamp_ + 1);
  return lastStamp_;
}

void EventEmitter::unregister(const std::string& name) {
  MutexLock lock(mutex_);
  const auto found = listeners_.find(name);
  if (found == listeners_.end()) {
    logSink_.LogI("Event not found: " + name);
    return;
  }
  // A listener that script registered over a completion: its reference waits for the script thread.
  const RecordPtr record = found->second;
  if (record->contextRef != nullptr) leftovers_.push_back(record);
  listeners_.erase(found);
  release(*record);
}

void EventEmitter::post(std::string_view name, std::unique_ptr<DispatchMessage> message,
                        const char* failureText, const char* unknownText) {
  MutexLock lock(mutex_);
  const auto found = listeners_.find(name);
  if (found == listeners_.end()) {
    logSink_.LogI(std::string(unknownText).append(name));
    return;
  }
  message->record = found->second;
  const napi_status status =
      napi_call_threadsafe_function(found->second->tsfn, message.get(), napi_tsfn_nonblocking);
  if (status == napi_ok) {
    static_cast<void>(message.release());  // delivery frees it
  } else {
    logSink_.LogE(std::string(failureText).append(name));
  }
}

void EventEmitter::emit(std::string_view name, std::string jsonPayload) {
  auto message = std::make_unique<DispatchMessage>();
  message->isEvent = true;
  message->payload = std::move(jsonPayload);
  post(name, std::move(message),
       "Failed to call threadsafe function for event: ", "Emit event: not find event: ");
}

void EventEmitter::emitApiCallback(const std::string& name, std::int32_t code) {
  emitApiCallback(name, code, {});
}

void EventEmitter::emitApiCallback(const std::string& name, std::int32_t code,
                                   std::string payload) {
  auto message = std::make_unique<DispatchMessage>();
  message->isApiCallback = true;
  message->code = code;
  message->payload = std::move(payload);
  post(name, std::move(message),
       "Failed to call threadsafe function for API event: ", "EmitApiCallback: not find event: ");
}

void EventEmitter::releaseAll() {
  MutexLock lock(mutex_);
  for (auto& [name, record] : listeners_) {
    release(*record);
    dropListener(*record);
  }
  for (const RecordPtr& record : leftovers_) {
    release(*record);
    dropListener(*record);
  }
  listeners_.clear();
  leftovers_.clear();
}

}  // namespace kavrin
