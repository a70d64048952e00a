// Ways through the module on which memory runs out: on each way at the first allocation, then at
// the second, and so on until there is none left.
#include <optional>
#include <string>

#include "tests/unit/module/ways.h"
#include "tests/unit/support/expected_leaks.h"
#include "tests/unit/support/memory_shortage.h"

namespace kavrin {
namespace {

using testing::Shortage;

class ModuleMemoryTest : public ::testing::TestWithParam<Way> {
 protected:
  // False when there were fewer allocations.
  static bool walkShort(int nth) {
    Host host;
    GetParam().prepare(host);
    std::string outcome;
    const Shortage shortage = testing::runShort(nth, [&] { outcome = walk(host); });
    SCOPED_TRACE("allocation " + std::to_string(nth) + ", " + outcome);
    host.env.takeException();
    leave(host);
    return shortage != Shortage::None;
  }

  static bool isStart() { return std::string(GetParam().name).starts_with("login"); }

  static std::string walk(Host& host) {
    std::optional<testing::ExpectedLeaks> abandoned;
    if (isStart()) abandoned.emplace();
    return GetParam().walk(host);
  }

  // The module works on, and all it held goes with its handles.
  static void leave(Host& host) {
    napi_value other = host.create();
    EXPECT_EQ(host.outcome("loadNodeEvents", {other}), "[]");
    host.call("destroyConfEngine", {other});
    host.call("destroyConfEngine", {host.handle});
    host.settle();
    EXPECT_EQ(host.env.openThreadsafeFunctions(), 0);
    EXPECT_EQ(host.env.heldReferences(), 0);
    if (isStart()) host.abandoned = testing::liveEngines() - host.enginesBefore;
  }
};

TEST_P(ModuleMemoryTest, LeavesTheModuleWhole) {
  int nth = 0;
  while (walkShort(nth)) ++nth;
  EXPECT_GT(nth, 0);
}

INSTANTIATE_TEST_SUITE_P(Ways, ModuleMemoryTest, ::testing::ValuesIn(ways().begin(), ways().end()),
                         [](const auto& way) { return std::string(way.param.name); });

TEST(ModuleEntryMemory, AModuleThatFoundNoMemoryEndedTheProcessThatLoadedIt) {
  Shortage shortage = Shortage::Caught;
  for (int nth = 0; shortage == Shortage::Caught; ++nth) {
    fake::ScriptEnvironment env;
    napi_value exports = env.object();
    shortage = testing::runShort(nth, [&] { napi_register_module_v1(&env, exports); });
    EXPECT_NE(shortage, Shortage::Escaped) << nth;
    EXPECT_EQ(env.instanceData.data != nullptr, !exports->properties.empty()) << nth;
  }
}

}  // namespace
}  // namespace kavrin
