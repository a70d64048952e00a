// Pictures: binding of script's buffers and fetching of the newest picture.
#include "engine/methods/method_support.h"

namespace kavrin::methods {
namespace {

// The handle behind an argument; null for values that were converted (texts and booleans).
napi_value handleOf(const Variant& value) {
  const bool held = value.is(Variant::Kind::ScriptValue) || value.is(Variant::Kind::PendingNumber);
  return held ? value.scriptValue : nullptr;
}

Variant bindingVideoFrame(Facade& facade, napi_env& env, int argc, Variant* argv) {
  const char* tag = kTag<"BindingVideoFrame">.text;
  if (!verifyArgsCount(facade.log(), argc, 3)) return Variant();
  return guarded(facade, tag, [&] {
    const napi_value buffer = handleOf(argv[2]);
    bool isBuffer = false;
    if (napi_is_buffer(env, buffer, &isBuffer) != napi_ok) {
      facade.log().write(kLogError, __LINE__, tag, "napi_is_buffer error.");
    } else if (!isBuffer) {
      facade.log().write(kLogError, __LINE__, tag, "is not buffer.");
    }
    const bool bound = facade.frameStore().bind(env, buffer, argv[0].toString(), argv[1].toInt32());
    return Variant::int32(bound ? 0 : kCallFailed);
  });
}

Variant unbindingVideoFrame(Facade& facade, napi_env env, const std::string& json) {
  if (json.empty()) return Variant::int32(kCallFailed);
  return guarded(facade, kTag<"UnbindingVideoFrame">.text, [&] {
    FrameParameters parameters;
    decodeJson(json, parameters);
    facade.frameStore().unbind(env, parameters.uid, parameters.videoSourceType);
    return Variant::int32(0);
  });
}

Variant getVideoFrame(Facade& facade, napi_env, const std::string& json) {
  if (json.empty()) return Variant::int32(kCallFailed);
  return guarded(facade, kTag<"GetVideoFrame">.text, [&] {
    const FrameRequest& request = facade.state.frameRequests.decode(json);
    return Variant(fetchText(facade.frameStore().get(request.stream, request.force)));
  });
}

constexpr Parameter kBindingParameters[] = {
    {"userName", "string"}, {"streamType", "integer"}, {"buffer", "Buffer"}};

constexpr MethodRecord kMethods[] = {
    jsonMethod<FrameParameters>(
        "GetVideoFrame", getVideoFrame,
        "string: JSON {\"ret\", \"width\", \"height\"}; -1 for an empty or bad text",
        "Copies the newest picture of a stream into the bound buffer."),
    argumentMethod("BindingVideoFrame", bindingVideoFrame, kBindingParameters,
                   "number: 0, or -1 when the buffer could not be bound",
                   "Binds a buffer to a member's stream."),
    jsonMethod<FrameParameters>("UnbindingVideoFrame", unbindingVideoFrame,
                                "number: 0; -1 for an empty or bad text",
                                "Ends the binding of a member's stream."),
};

}  // namespace
}  // namespace kavrin::methods

const kavrin::MethodGroup kavrin::kVideoFrameMethods{"Pictures", kavrin::methods::kMethods};
