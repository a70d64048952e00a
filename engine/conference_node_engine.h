// KavrinNodeConferenceEngine: the facade between the module's functions and the engine library.
//
// One facade stands behind each engine handle of script. It owns the engine object, the sink that
// the engine reports to, the queue of events that script polls, the callback registry, the frame
// store and the registries of named methods.
//
// Threads
//  * Script thread: construction, destruction, registerMethods(), the three run functions, `state`,
//    startSession()/endSession() and everything that handlers do.
//  * Any thread: LogE(), LogI(), log(), onEvent(), setUserId(), emitter() and frameStore() as their
//    own headers say.
//  * The registries of methods are filled before the handle reaches script and are read without a
//    lock; only runFunction() adds to them, for unknown names.
//
// Shutdown, in this order: the engine is stopped, so that no callback or completion is under way;
// late completions are shut out; the engine is destroyed; engines whose start failed are stopped;
// the sink is destroyed; then the rest in reverse order of declaration, the frame store's and the
// registry's holds on script values among it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "bridge/node_api.h"
#include "bridge/variant.h"
#include "engine/engine_interface.h"
#include "engine/engine_session.h"
#include "engine/frame_request_cache.h"
#include "engine/method_table.h"
#include "events/engine_event_sink.h"
#include "events/event_emitter.h"
#include "events/event_queue.h"
#include "events/log_sink.h"
#include "support/logger.h"
#include "support/run_down.h"
#include "support/thread_annotations.h"
#include "video/video_frame_store.h"

class KavrinNodeConferenceEngine final : public kavrin::LogSink, private kavrin::FrameNotifier {
 public:
  using Variant = kavrin::Variant;

  // What the handlers keep between calls. Script thread only.
  struct State {
    bool initialized = false;
    bool inRoom = false;
    KavrinConferenceEngine::AudioDevices audioCaptureDevices;  // lists as last enumerated
    KavrinConferenceEngine::AudioDevices speakerDevices;
    KavrinConferenceEngine::CameraDevices cameraDevices;
    KavrinConferenceEngine::Users attendees;  // as last counted
    std::string logTag;
    std::string rootHost;
    std::string logPath;  // in the system's code page
    std::string roomId;
    kavrin::FrameRequestCache frameRequests;
  };

  // The hook is borrowed and must outlive the facade.
  explicit KavrinNodeConferenceEngine(kavrin::EnvironmentHook& environmentHook);
  ~KavrinNodeConferenceEngine() override;
  KavrinNodeConferenceEngine(const KavrinNodeConferenceEngine&) = delete;
  KavrinNodeConferenceEngine& operator=(const KavrinNodeConferenceEngine&) = delete;

  void LogE(const std::string& message) override;
  void LogI(const std::string& message) override;

  // Fills the registries from the method table. Called once, right after construction.
  void registerMethods();

  // Dispatch of a named method, one function per form. An unknown name, or one of another form,
  // is logged and gives Int32 -1.
  Variant runFunction(napi_env& env, const std::string& name, int argc, Variant* argv);
  Variant runJsonParamFunction(napi_env env, const std::string& name, const std::string& json);
  Variant runJsonParamFunctionWithCallback(napi_env env, const std::string& name,
                                           const std::string& json, napi_value callback);

  // Queues an event for script's next poll.
  void onEvent(const char* name, std::vector<Variant> values);
  // All queued events, oldest first.
  kavrin::EventQueue::Events takePendingEvents() { return pendingEvents_.takeAll(); }

  kavrin::Logger& log() { return logger_; }
  kavrin::EventEmitter& emitter() { return emitter_; }
  kavrin::VideoFrameStore& frameStore() { return frameStore_; }

  // The engine; null until Init has started one.
  KavrinConferenceEngine* engine() { return session_ ? &session_->engine() : nullptr; }
  kavrin::EngineSession* session() { return session_.get(); }
  KavrinConferenceEngineEvent& eventSink() { return *eventSink_; }
  void startSession(std::unique_ptr<kavrin::EngineSession> session);
  // Stops and destroys the engine, if there is one.
  void endSession() { session_.reset(); }
  // An engine whose start failed is nobody's and is not destroyed. It knows the sink, though, so it
  // is stopped before the sink goes away.
  void leaveBehind(KavrinConferenceEngine& engine) { leftBehind_.push_back(&engine); }

  // The user whose login was answered last; empties it as well.
  void setUserId(const std::string& puid);

  // What completions enter before they touch this facade; closed by the destructor.
  const std::shared_ptr<kavrin::RunDown>& completions() const { return completions_; }

  State state;

 private:
  using Method = std::function<Variant(napi_env&, int, Variant*)>;
  using JsonMethod = std::function<Variant(napi_env, const std::string&)>;
  using JsonCallbackMethod = std::function<Variant(napi_env, const std::string&, napi_value)>;

  void onFrameSizeChanged(std::string json) override;
  void onBufferOverflow(std::string json) override;

  void add(const char* name, kavrin::ArgumentHandler handler);
  void add(const char* name, kavrin::JsonHandler handler);
  void add(const char* name, kavrin::JsonCallbackHandler handler);
  void stopLeftBehind();

  kavrin::Logger logger_;
  kavrin::EventEmitter emitter_;
  kavrin::VideoFrameStore frameStore_;
  kavrin::EventQueue pendingEvents_;
  template <typename Callable>
  using Registry = std::unordered_map<std::string, Callable>;

  Registry<Method> methods_;
  Registry<JsonMethod> jsonMethods_;
  Registry<JsonCallbackMethod> jsonCallbackMethods_;
  const std::shared_ptr<kavrin::RunDown> completions_;
  kavrin::Mutex puidMutex_;
  std::string puid_ KAVRIN_GUARDED_BY(puidMutex_);
  std::unique_ptr<KavrinConferenceEngineEventImpl> eventSink_;
  std::unique_ptr<kavrin::EngineSession> session_;
  std::vector<KavrinConferenceEngine*> leftBehind_;
};

namespace kavrin {

// True when the counts are equal; logs an error otherwise.
bool verifyArgsCount(Logger& logger, int actual, int expected);

}  // namespace kavrin
