#include "engine/conference_node_engine.h"

#include <cstring>
#include <utility>

using kavrin::Variant;

namespace {

constexpr std::int32_t kCallFailed = -1;

// Script polls this one for every rendered picture; the log would hold nothing else.
bool isTraced(const std::string& name) { return name != "GetVideoFrame"; }

}  // namespace

KavrinNodeConferenceEngine::KavrinNodeConferenceEngine(kavrin::EnvironmentHook& environmentHook)
    : emitter_(*this, environmentHook),
      frameStore_(this),
      completions_(std::make_shared<kavrin::RunDown>()),
      eventSink_(std::make_unique<KavrinConferenceEngineEventImpl>(*this)) {}

KavrinNodeConferenceEngine::~KavrinNodeConferenceEngine() {
  endSession();
  stopLeftBehind();
  completions_->close();
  eventSink_.reset();
}

void KavrinNodeConferenceEngine::stopLeftBehind() {
  for (KavrinConferenceEngine* engine : leftBehind_) {
    try {
      engine->UnInit();
    } catch (...) {
      // The start of this engine failed, too; there is nobody left to tell.
    }
  }
}

void KavrinNodeConferenceEngine::LogE(const std::string& message) {
  constexpr std::int32_t kLine = 1793;
  logger_.writeText(kavrin::kLogError, kLine, "KavrinNodeConferenceEngine::LogE",
                    kavrin::formatWithoutArguments(message));
}

void KavrinNodeConferenceEngine::LogI(const std::string& message) {
  constexpr std::int32_t kLine = 1798;
  logger_.writeText(kavrin::kLogInfo, kLine, "KavrinNodeConferenceEngine::LogI",
                    kavrin::formatWithoutArguments(message));
}

void KavrinNodeConferenceEngine::registerMethods() {
  for (const kavrin::MethodGroup* group : kavrin::methodGroups()) {
    for (const kavrin::MethodRecord& record : group->methods) {
      std::visit([&](auto handler) { add(record.name, handler); }, record.handler);
    }
  }
}

void KavrinNodeConferenceEngine::add(const char* name, kavrin::ArgumentHandler handler) {
  methods_[name] = [this, handler](napi_env& env, int argc, Variant* argv) {
    return handler(*this, env, argc, argv);
  };
}

void KavrinNodeConferenceEngine::add(const char* name, kavrin::JsonHandler handler) {
  jsonMethods_[name] = [this, handler](napi_env env, const std::string& json) {
    return handler(*this, env, json);
  };
}

void KavrinNodeConferenceEngine::add(const char* name, kavrin::JsonCallbackHandler handler) {
  jsonCallbackMethods_[name] = [this, handler](napi_env env, const std::string& json,
                                               napi_value callback) {
    return handler(*this, env, json, callback);
  };
}

Variant KavrinNodeConferenceEngine::runFunction(napi_env& env, const std::string& name, int argc,
                                                Variant* argv) {
  constexpr const char* kTag = "KavrinNodeConferenceEngine::runFunction";
  const Method method = methods_[name];
  if (!method) {
    logger_.write(kavrin::kLogError, __LINE__, kTag, "node api method not found:%s", name.c_str());
    return Variant::int32(kCallFailed);
  }
  const bool traced = isTraced(name);
  if (traced) {
    logger_.write(kavrin::kLogDebug, __LINE__, kTag,
                  "enter node api method:%s==============================>", name.c_str());
  }
  Variant result = method(env, argc, argv);
  if (traced) {
    logger_.write(kavrin::kLogDebug, __LINE__, kTag,
                  "<==============================leave node api method:%s", name.c_str());
  }
  return result;
}

Variant KavrinNodeConferenceEngine::runJsonParamFunction(napi_env env, const std::string& name,
                                                         const std::string& json) {
  constexpr const char* kTag = "KavrinNodeConferenceEngine::runJsonParamFunction";
  const bool traced = isTraced(name);
  if (traced) {
    logger_.write(kavrin::kLogInfo, __LINE__, kTag, "call node api: %s, param: %s", name.c_str(),
                  json.c_str());
  }
  const auto found = jsonMethods_.find(name);
  if (found == jsonMethods_.end()) {
    logger_.write(kavrin::kLogError, __LINE__, kTag, "call npde api: %s failed! not found method.",
                  name.c_str());
    return Variant::int32(kCallFailed);
  }
  const JsonMethod method = found->second;
  Variant result = method(env, json);
  if (traced && logger_.isOpen()) {
    logger_.write(kavrin::kLogInfo, __LINE__, kTag, "call node api: %s ret: %s", name.c_str(),
                  result.toString().c_str());
  }
  return result;
}

Variant KavrinNodeConferenceEngine::runJsonParamFunctionWithCallback(napi_env env,
                                                                     const std::string& name,
                                                                     const std::string& json,
                                                                     napi_value callback) {
  constexpr const char* kTag = "KavrinNodeConferenceEngine::runJsonParamFunctionWithCallback";
  logger_.write(kavrin::kLogInfo, __LINE__, kTag, "call node api: %s, param: %s", name.c_str(),
                json.c_str());
  const auto found = jsonCallbackMethods_.find(name);
  if (found == jsonCallbackMethods_.end()) {
    logger_.write(kavrin::kLogError, __LINE__, kTag, "call npde api: %s failed! not found method.",
                  name.c_str());
    return Variant::int32(kCallFailed);
  }
  const JsonCallbackMethod method = found->second;
  Variant result = method(env, json, callback);
  logger_.write(kavrin::kLogInfo, __LINE__, kTag, "call node api: %s ret: %s", name.c_str(),
                result.toString().c_str());
  return result;
}

void KavrinNodeConferenceEngine::onEvent(const char* name, std::vector<Variant> values) {
  auto event = std::make_shared<kavrin::NodeEvent>();
  event->key = name;
  event->parms = std::move(values);
  pendingEvents_.append(std::move(event));
  if (logger_.isOpen() && std::strcmp(name, "OnRoomMemberVideoFrame") != 0) {
    logger_.write(kavrin::kLogDebug, __LINE__, "KavrinNodeConferenceEngine::onEvent",
                  "onEvent end:%s", name);
  }
}

void KavrinNodeConferenceEngine::startSession(std::unique_ptr<kavrin::EngineSession> session) {
  session_ = std::move(session);
}

void KavrinNodeConferenceEngine::setUserId(const std::string& puid) {
  kavrin::MutexLock lock(puidMutex_);
  puid_ = puid;
}

void KavrinNodeConferenceEngine::onFrameSizeChanged(std::string json) {
  emitter_.emit("onFrameSizeChanged", std::move(json));
}

void KavrinNodeConferenceEngine::onBufferOverflow(std::string json) {
  emitter_.emit("onBufferOverflow", std::move(json));
}

namespace kavrin {

bool verifyArgsCount(Logger& logger, int actual, int expected) {
  if (actual == expected) return true;
  logger.write(kLogError, __LINE__, "verifyArgsCount",
               "args count error:need args count %d,but real get args count %d", expected, actual);
  return false;
}

}  // namespace kavrin
