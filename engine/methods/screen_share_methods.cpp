// Screen share: sources, start, change and end, scene mode.
#include "bridge/records.h"
#include "engine/methods/method_support.h"

namespace kavrin::methods {

void fillOption(Engine::VideoOption& option, const DeviceParameters& parameters) {
  option.deviceId = parameters.deviceId;
  option.deviceType = parameters.deviceType;
  option.left = parameters.left;
  option.top = parameters.top;
  option.width = parameters.width;
  option.height = parameters.height;
  option.resolution = parameters.resolution;
  option.frameRate = parameters.frameRate;
  option.bitRate = parameters.bitRate;
  option.excludedWindows = parameters.excludedWindows;
}

namespace {

// The sources of one call. The thumbnails are the engine's allocation and this module's to free.
class SourceList {
 public:
  SourceList() = default;
  ~SourceList() {
    for (auto& source : sources) delete[] source.thumbnailData;
  }
  SourceList(const SourceList&) = delete;
  SourceList& operator=(const SourceList&) = delete;

  Engine::ShareSources sources;
};

Variant enumScreenAndWindow(Facade& facade, napi_env& env, int argc, Variant*) {
  const char* tag = kTag<"EnumScreenAndWindow">.text;
  Logger& log = facade.log();
  if (!verifyArgsCount(log, argc, 0)) return Variant();
  log.write(kLogInfo, __LINE__, tag, "args:");
  if (facade.engine() == nullptr) return Variant();
  Variant result = guarded(facade, tag, [&] {
    SourceList list;
    const std::int32_t code = facade.engine()->EnumScreenAndWindow(list.sources);
    log.write(kLogInfo, __LINE__, tag, "method return list size:%d",
              static_cast<int>(list.sources.size()));
    if (code != 0) return Variant();
    return Variant::scriptHandle(
        kv_engine::convertScreenShareDeviceInfoVerctor(env, log, list.sources));
  });
  return result.is(Variant::Kind::Int32) ? Variant() : result;
}

constexpr MethodRecord kMethods[] = {
    argumentMethod("EnumScreenAndWindow", enumScreenAndWindow, {},
                   "array of source objects; undefined when the engine fails",
                   "Lists the screens and windows that can be shared."),
    forwardOption<"StartScreenShare", &Engine::StartScreenShare>("Shares a screen or window."),
    forwardOption<"UpdateScreenShareSrcInfo", &Engine::UpdateScreenShareSrcInfo>(
        "Changes the source of the running share."),
    forwardPlain<"StopScreenShare", &Engine::StopScreenShare, kLogDebug>("Ends the share."),
    forward<"SetScreenShareSceneMode", &Engine::SetScreenShareSceneMode,
            &SceneModeParameters::sceneMode>("Chooses between detail and motion."),
};

}  // namespace
}  // namespace kavrin::methods

const kavrin::MethodGroup kavrin::kScreenShareMethods{"Screen share", kavrin::methods::kMethods};
