// The data channel: creation, topics, deletion. What arrives on a topic comes as an event.
#include "engine/methods/method_support.h"

namespace kavrin::methods {
namespace {

constexpr MethodRecord kMethods[] = {
    forwardPlain<"CreateDataChannel", &Engine::CreateDataChannel>("Opens the data channel."),
    forward<"SubscribeData", &Engine::SubscribeData, &TopicParameters::topic>(
        "Starts receiving a topic."),
    forwardPlain<"DeleteDataChannel", &Engine::DeleteDataChannel>("Closes the data channel."),
    forward<"UnsubscribeData", &Engine::UnsubscribeData, &TopicParameters::topic>(
        "Stops receiving a topic."),
};

}  // namespace
}  // namespace kavrin::methods

const kavrin::MethodGroup kavrin::kDataChannelMethods{"Data channel", kavrin::methods::kMethods};
