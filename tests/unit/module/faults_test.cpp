// Every Node-API call that the module makes on a way through it fails once: on each way the first
// call, then the second, and so on until none is left.
#include <algorithm>
#include <set>

#include "tests/unit/module/ways.h"

namespace kavrin {
namespace {

// Errors that the module tells script.
const std::set<std::string> kErrors = {
    "Error: Failed to create the external",
    "Error: Failed to set the engine",
    "Error: Failed to create reference",
    "Error: Failed to create threadsafe function",
    "Error: Invalid arguments to off()",
    "Error: Invalid event name",
    "Error: mine",  // script's own, when it cannot be taken away
    "Error: The module's data cannot be read",
    "Error: napi_create_object error!",
    "Error: setNObjectProperty:napi_create_buffer error!",
    "Error: setNObjectProperty:napi_create_int32 error!",
    "Error: setNObjectProperty:napi_set_property error!",
    "Error: strToNValue error!",
    "TypeError: Argument must be a Buffer",
    "TypeError: Expected an object as the first argument",
    "TypeError: Wrong number of arguments",
};

// A picture whose buffer cannot be asked for its memory.
const std::string kNoMemory = R"("{\"ret\":-4,\"width\":0,\"height\":0}")";

// Functions that give something back. One that failed would keep it.
const std::set<std::string> kGivingBack = {
    "napi_close_handle_scope",
    "napi_delete_reference",
    "napi_release_threadsafe_function",
    "napi_remove_env_cleanup_hook",
};

class FaultsTest : public ::testing::TestWithParam<Way> {
 protected:
  static std::string walk() {
    Host host;
    GetParam().prepare(host);
    return GetParam().walk(host);
  }

  // Walks with the `nth` call failing. The function that failed, "" when there were fewer calls.
  std::string walkWithFault(int nth) const {
    Host host;
    GetParam().prepare(host);
    host.env.faults.failAny(nth);
    const std::string outcome = GetParam().walk(host);
    const std::string failed = host.env.faults.failedOfAny();
    host.env.faults.clear();
    SCOPED_TRACE("call " + std::to_string(nth) + ", " + failed);
    if (!failed.empty()) checkOutcome(outcome);
    for (const std::string& error : host.env.uncaught) checkError(error);
    leave(host, failed);
    return failed;
  }

  // A failure takes away from a result and never makes another one of it.
  void checkOutcome(const std::string& outcome) const {
    constexpr std::string_view kThrows = "throws ";
    if (outcome.starts_with(kThrows)) return checkError(outcome.substr(kThrows.size()));
    if (outcome == "undefined" || outcome == "-1" || outcome == kNoMemory) return;
    if (GetParam().buildsObjects) {
      EXPECT_LE(outcome.size(), untroubled_.size() + 20) << outcome;
      EXPECT_EQ(outcome.front(), untroubled_.front()) << outcome;
    } else {
      EXPECT_EQ(outcome, untroubled_);
    }
  }

  static void checkError(const std::string& error) {
    EXPECT_TRUE(kErrors.contains(error)) << error;
  }

  // The module works on, and all it held goes with its handles.
  static void leave(Host& host, const std::string& failed) {
    napi_value other = host.create();
    EXPECT_EQ(host.outcome("loadNodeEvents", {other}), "[]");
    host.call("destroyConfEngine", {other});
    host.call("destroyConfEngine", {host.handle});
    host.settle();
    if (kGivingBack.contains(failed)) {
      host.env.close();
      host.env.misuse.take();
      return;
    }
    EXPECT_EQ(host.env.openThreadsafeFunctions(), 0);
    EXPECT_EQ(host.env.heldReferences(), 0);
  }

  const std::string untroubled_ = walk();
};

TEST_P(FaultsTest, LeaveTheModuleWhole) {
  int nth = 1;
  while (!walkWithFault(nth).empty()) ++nth;
  EXPECT_GT(nth, 1);
  RecordProperty("calls", nth - 1);
}

INSTANTIATE_TEST_SUITE_P(Ways, FaultsTest, ::testing::ValuesIn(ways().begin(), ways().end()),
                         [](const auto& way) { return std::string(way.param.name); });

TEST(ModuleEntry, EveryCallOfTheRegistrationMayFail) {
  for (int nth = 1;; ++nth) {
    fake::ScriptEnvironment env;
    env.faults.failAny(nth);
    napi_value exports = env.object();
    EXPECT_EQ(napi_register_module_v1(&env, exports), exports);
    if (env.faults.failedOfAny().empty()) break;
    EXPECT_EQ(env.takeException(), "");
    env.faults.clear();
    const bool hasData = env.instanceData.data != nullptr;
    EXPECT_EQ(hasData, !exports->properties.empty());
    EXPECT_LE(exports->properties.size(), 7u);
  }
}

}  // namespace
}  // namespace kavrin
