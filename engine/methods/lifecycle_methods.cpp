// Start, description and end of the engine.
#include <cstdio>
#include <stdexcept>

#include "engine/completion_ticket.h"
#include "engine/methods/method_support.h"
#include "support/host_services.h"

namespace kavrin::methods {
namespace {

// Source lines under which support knows these records.
enum Line : std::int32_t {
  kVersionCalled = 58,
  kVersionFiles = 79,
  kVersionReturned = 82,
  kLogTagError = 168,
  kInitLogPath = 212,
  kInitRootHost = 214,
  kInitName = 216,
  kInitAnswered = 230,
  kInitError = 237,
  kUnInitEnter = 250,
  kUnInitReturned = 252,
  kEngineDestroyed = 254,
};

constexpr std::size_t kVersionCapacity = 256;
constexpr std::size_t kFileVersionCapacity = 260;
constexpr std::size_t kLogFolderCapacity = 300;

Variant setLogTag(Facade& facade, napi_env, const std::string& json) {
  if (json.empty()) return Variant::int32(0);
  const auto work = [&] {
    LogTagParameters parameters;
    decodeJson(json, parameters);
    facade.state.logTag = parameters.tag;
    return Variant::int32(0);
  };
  return guarded(facade, kTag<"SetLogTag">.text, work, kLogTagError);
}

// The version of a component beside the engine, empty when the file does not tell one.
template <std::size_t Size>
void readComponentVersion(const std::string& folder, const char* component, char (&version)[Size]) {
  const std::string path = host::joinPath(folder, host::componentFileName(component));
  host::queryFileVersion(path, version, Size);
}

Variant getSDKVersion(Facade& facade, napi_env&, int argc, Variant* argv) {
  const char* tag = kTag<"GetSDKVersion">.text;
  return guarded(facade, tag, [&] {
    Logger& log = facade.log();
    log.write(kLogDebug, kVersionCalled, tag, "call node api method GetSDKVersion");
    if (!verifyArgsCount(log, argc, 2)) return Variant::int32(kCallFailed);
    const std::string folder = argv[0].toString();
    const std::string packageVersion = argv[1].toString();
    char engineVersion[kVersionCapacity] = {};
    Engine::GetSDKVersion(engineVersion, sizeof engineVersion);
    engineVersion[kVersionCapacity - 1] = '\0';
    if (engineVersion[0] == '\0') {
      char mediaVersion[kFileVersionCapacity] = {};
      char roomVersion[kFileVersionCapacity] = {};
      readComponentVersion(folder, "KavrinConferenceEngine", engineVersion);
      readComponentVersion(folder, "KavrinRTCEngine", mediaVersion);
      readComponentVersion(folder, "KavrinRoomClient", roomVersion);
      log.write(kLogDebug, kVersionFiles, tag,
                "method return electronSdkVersion %s confSDKVersion %s RTCEngineVerion %s "
                "roomclientVersion %s",
                packageVersion.c_str(), engineVersion, mediaVersion, roomVersion);
    }
    log.write(kLogDebug, kVersionReturned, tag, "method return confSDKVersion %s", engineVersion);
    return Variant(static_cast<const char*>(engineVersion));
  });
}

// Creates the folders of this user's logs, opens the log in them and returns the user's folder.
std::string prepareLogFolder(Facade& facade, const std::string& puid) {
  const std::string folder =
      host::makeUserLogFolder(facade.state.logPath, facade.state.logTag, puid);
  char moduleFolder[kLogFolderCapacity];
  std::snprintf(moduleFolder, sizeof moduleFolder, "%s%cKavrinConferenceNodeExt", folder.c_str(),
                host::kPathSeparator);
  facade.log().open(moduleFolder);
  return folder;
}

// What the engine's login answers to, on an engine thread and perhaps late.
struct LoginCompletion {
  Facade* facade;
  Engine* engine;
  CompletionTicket ticket;
  std::shared_ptr<RunDown> engineCalls;
  std::string puid;
  std::string callbackKey;

  void operator()(std::int32_t code) const {
    ticket.redeem([&] { answer(code); });
  }

 private:
  void answer(std::int32_t code) const {
    takeOver(code);
    facade->emitter().emitApiCallback(callbackKey, code);
    facade->log().write(kLogInfo, kInitAnswered,
                        "KavrinNodeConferenceEngine::Init::<lambda_1>::operator ()",
                        "method return %d", code);
    facade->emitter().unregister(callbackKey);
  }

  // An engine that has been replaced meanwhile no longer speaks for the user.
  void takeOver(std::int32_t code) const {
    const RunDown::Pass enginePass(*engineCalls);
    if (!enginePass) return;
    guarded(*facade, kTag<"Init">.text, [&] {
      if (code == 0) engine->EnableExternalRender(true);
      return Variant();
    });
    facade->setUserId(puid);
    facade->frameStore().setExemptUser(puid);
  }
};

// Starts the engine's login. What the engine throws goes on to the caller.
std::unique_ptr<EngineSession> logIn(Facade& facade, napi_env env, Engine& engine,
                                     const InitParameters& parameters, napi_value callback,
                                     const std::string& logFolder) {
  const char* tag = kTag<"Init">.text;
  Logger& log = facade.log();
  log.write(kLogInfo, kInitLogPath, tag, "SetLogFilePath:%s", logFolder.c_str());
  engine.SetLogFilePath(logFolder.c_str());
  log.write(kLogInfo, kInitRootHost, tag, "SetRootHost:%s", parameters.rootHost.c_str());
  engine.SetRootHost(parameters.rootHost.c_str());
  log.write(kLogInfo, kInitName, tag, "Init name:%s", parameters.name.c_str());
  const std::string key = facade.emitter().registerApiCallback(env, callback, "Init");
  const auto engineCalls = std::make_shared<RunDown>();
  engine.Init(parameters.puid.c_str(), parameters.name.c_str(), parameters.password.c_str(),
              LoginCompletion{&facade, &engine, CompletionTicket(facade.completions()), engineCalls,
                              parameters.puid, key});
  return std::make_unique<EngineSession>(engine, engineCalls);
}

void startEngine(Facade& facade, napi_env env, const InitParameters& parameters,
                 napi_value callback) {
  facade.state.initialized = true;
  facade.endSession();
  facade.state.rootHost = parameters.rootHost;
  facade.state.logPath = host::toLocalCodePage(parameters.logPath);
  const std::string logFolder = prepareLogFolder(facade, parameters.puid);
  Engine* engine = Engine::CreateConfEngine(&facade.eventSink());
  if (engine == nullptr) throw std::runtime_error("the engine library created no engine");
  try {
    facade.startSession(logIn(facade, env, *engine, parameters, callback, logFolder));
  } catch (...) {
    facade.leaveBehind(*engine);
    throw;
  }
}

Variant init(Facade& facade, napi_env env, const std::string& json, napi_value callback) {
  if (json.empty()) return Variant::int32(kCallFailed);
  const auto work = [&] {
    InitParameters parameters;
    decodeJson(json, parameters);
    startEngine(facade, env, parameters, callback);
    return Variant::int32(0);
  };
  return guarded(facade, kTag<"Init">.text, work, kInitError);
}

Variant unInit(Facade& facade, napi_env, const std::string&) {
  const char* tag = kTag<"UnInit">.text;
  facade.takePendingEvents();  // whatever script has not polled is dropped
  if (!facade.state.initialized) return Variant::int32(kCallFailed);
  return guarded(facade, tag, [&] {
    Logger& log = facade.log();
    if (EngineSession* session = facade.session()) {
      log.write(kLogInfo, kUnInitEnter, tag, "method enter...");
      const std::int32_t code = session->unInit();
      log.write(kLogInfo, kUnInitReturned, tag, "method return %d", code);
      facade.endSession();
      log.write(kLogInfo, kEngineDestroyed, tag, "DestroyConfEngine.");
    }
    facade.emitter().releaseAll();
    facade.state.initialized = false;
    facade.state.roomId.clear();
    facade.setUserId("");
    // inRoom stays as it is: only LeaveRoom ends a stay in a room.
    return Variant::int32(0);
  });
}

constexpr Parameter kVersionParameters[] = {{"libraryFolder", "string"},
                                            {"packageVersion", "string"}};

constexpr MethodRecord kMethods[] = {
    jsonMethod<LogTagParameters>("SetLogTag", setLogTag, "number: 0, or -1 for a bad text",
                                 "Sets the word that begins the names of later log folders."),
    argumentMethod("GetSDKVersion", getSDKVersion, kVersionParameters,
                   "string: the engine's version; -1 for a wrong argument count",
                   "Tells the engine's version, from the library or from its files."),
    callbackMethod<InitParameters>(
        "Init", init, "number: 0 when the login has begun, else -1",
        "Creates the engine and logs in; the callback gets the engine's code."),
    plainMethod("UnInit", unInit, "number: 0, or -1 when not initialised",
                "Logs out, destroys the engine and drops listeners and events."),
};

}  // namespace
}  // namespace kavrin::methods

const kavrin::MethodGroup kavrin::kLifecycleMethods{"Lifecycle", kavrin::methods::kMethods};
