#include "module/event_polling.h"

#include <utility>

#include "bridge/convert.h"
#include "bridge/records.h"
#include "module/call_arguments.h"
#include "module/engine_handle.h"

namespace kavrin::ConferenceEngineWrapper {
namespace {

// Keeps the handles of one event from piling up until the poll returns.
class HandleScope {
 public:
  explicit HandleScope(napi_env env) : env_(env) { napi_open_handle_scope(env, &scope_); }
  ~HandleScope() { napi_close_handle_scope(env_, scope_); }
  HandleScope(const HandleScope&) = delete;
  HandleScope& operator=(const HandleScope&) = delete;

 private:
  napi_env env_;
  napi_handle_scope scope_ = nullptr;
};

class EventListBuilder {
 public:
  EventListBuilder(napi_env env, Logger& logger) : env_(env), logger_(logger) {}

  bool begin() {
    return succeeded(napi_create_array(env_, &list_),
                     "loadNodeEvents dataEventList napi_create_array error..");
  }

  bool append(const NodeEvent& event) {
    const HandleScope scope(env_);
    napi_value object = nullptr;
    napi_value parms = nullptr;
    if (!succeeded(napi_create_object(env_, &object),
                   "loadNodeEvents dataEvent napi_create_object error..")) {
      return false;
    }
    node_napi::setText(env_, object, "key", event.key.data(), event.key.size());
    return makeParms(event, parms) &&
           succeeded(napi_set_named_property(env_, object, "parms", parms),
                     "loadNodeEvents dataParms napi_set_named_property error..") &&
           succeeded(napi_set_element(env_, list_, next_++, object),
                     "loadNodeEvents dataEvent napi_set_element error..");
  }

  napi_value list() const { return list_; }

 private:
  bool makeParms(const NodeEvent& event, napi_value& parms) {
    if (!succeeded(napi_create_array(env_, &parms),
                   "loadNodeEvents dataParms napi_create_array error..")) {
      return false;
    }
    std::uint32_t index = 0;
    for (const Variant& value : event.parms) {
      napi_value converted = node_napi::makeNValue(logger_, env_, value);
      if (converted == nullptr) napi_get_undefined(env_, &converted);
      if (!succeeded(napi_set_element(env_, parms, index++, converted),
                     "loadNodeEvents nParm napi_set_element error..")) {
        return false;
      }
    }
    return true;
  }

  bool succeeded(napi_status status, const char* message) {
    if (status == napi_ok) return true;
    logger_.writeText(kLogError, __LINE__, "kavrin::ConferenceEngineWrapper::LoadNodeEvents",
                      node_napi::errorText(env_, message));
    return false;
  }

  napi_env env_;
  Logger& logger_;
  napi_value list_ = nullptr;
  std::uint32_t next_ = 0;
};

}  // namespace

napi_value loadNodeEvents(napi_env env, napi_callback_info info) {
  const CallArguments<1> arguments(env, info);
  if (!arguments.complete()) return nullptr;
  const auto facade = requireFacade(env, arguments[0]);
  if (facade == nullptr) return nullptr;
  EventListBuilder builder(env, facade->log());
  if (!builder.begin()) return nullptr;
  auto events = facade->takePendingEvents();
  for (auto& event : events) {
    if (!builder.append(*event)) return nullptr;
    event.reset();  // while its memory is warm
  }
  return builder.list();
}

}  // namespace kavrin::ConferenceEngineWrapper
