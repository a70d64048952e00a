// Named methods that run out of memory.
#include <string>

#include "engine/method_table.h"
#include "tests/unit/support/expected_leaks.h"
#include "tests/unit/support/facade_fixture.h"
#include "tests/unit/support/memory_shortage.h"

namespace kavrin {
namespace {

using testing::Shortage;

class MethodMemoryTest : public testing::FacadeTest {
 protected:
  static std::string sampleOf(const Parameter& parameter) {
    const std::string type = parameter.type;
    if (type == "integer") return "1";
    if (type == "boolean") return "true";
    return "\"a text that is no short one, in either library\"";
  }
  static std::string requestFor(const MethodRecord& method) {
    std::string text;
    for (const Parameter& parameter : method.parameters) {
      text += (text.empty() ? "{\"" : ",\"") + std::string(parameter.name) +
              "\":" + sampleOf(parameter);
    }
    return text.empty() ? "{}" : text + "}";
  }

  // What the method answers when nothing is short; with an engine, whatever was called before.
  std::string answer(const MethodRecord& method) {
    if (facade->engine() == nullptr) logIn();
    return json(method.name, requestFor(method)).toString();
  }

  // Returns how many allocations of the method failed in turn.
  int walk(const MethodRecord& method) {
    const std::string request = requestFor(method);
    const std::string name = method.name;
    const std::string untroubled = answer(method);
    for (int nth = 0;; ++nth) {
      if (facade->engine() == nullptr) logIn();
      Variant result;
      const Shortage shortage = testing::runShort(nth, [&] { result = json(name, request); });
      if (shortage == Shortage::None) return nth;
      if (shortage == Shortage::Caught) {
        const std::string text = result.toString();
        EXPECT_TRUE(text == "-1" || text == untroubled) << text << " at allocation " << nth;
      }
      EXPECT_EQ(answer(method), untroubled) << "after allocation " << nth;
    }
  }
};

TEST_F(MethodMemoryTest, AMethodOfOneTextSucceedsOrFailsAndWorksAfterwards) {
  int methods = 0;
  int allocations = 0;
  for (const MethodGroup* const group : methodGroups()) {
    for (const MethodRecord& method : group->methods) {
      if (!std::holds_alternative<JsonHandler>(method.handler)) continue;
      SCOPED_TRACE(method.name);
      ++methods;
      allocations += walk(method);
    }
  }
  EXPECT_EQ(methods, 50);
  EXPECT_GT(allocations, methods);
}

TEST_F(MethodMemoryTest, AMessageWithACompletionIsSentOrFailsAndTheNextOneIsAnswered) {
  logIn();
  const std::string request = R"({"msg":"a text that is no short one","toUser":""})";
  Shortage shortage = Shortage::Caught;
  int nth = 0;
  for (; shortage != Shortage::None; ++nth) {
    std::vector<std::string> answers;
    napi_value callback = env.recorder(answers);
    shortage =
        testing::runShort(nth, [&] { withCallback("AsyncSendCustomMessage", request, callback); });
    env.runLoop();
    const std::size_t before = answers.size();
    EXPECT_EQ(withCallback("AsyncSendCustomMessage", request, callback).toInt32(), 0) << nth;
    EXPECT_TRUE(env.runLoopUntil([&] { return answers.size() > before; })) << nth;
  }
  EXPECT_GT(nth, 1);
}

TEST_F(MethodMemoryTest, ALoginSucceedsOrFailsAndTheNextOneSucceeds) {
  const std::string request = R"({"rootHost":"a host","logPath":")" + folder.path() +
                              R"(","puid":"me","password":"p","name":"n"})";
  Shortage shortage = Shortage::Caught;
  int nth = 0;
  for (; shortage != Shortage::None; ++nth) {
    std::vector<std::string> answers;
    napi_value callback = env.recorder(answers);
    const int before = testing::liveEngines();
    shortage = testing::runShort(nth, [&] {
      const testing::ExpectedLeaks abandonedEngine;
      withCallback("Init", request, callback);
    });
    const bool leftBehind = facade->engine() == nullptr;  // an engine whose start failed is
    if (leftBehind) abandoned += testing::liveEngines() - before;
    json("UnInit", "{}");
    logIn();
    json("UnInit", "{}");
    env.runLoop();  // into `answers`, as long as there are any
  }
  EXPECT_GT(nth, 1);
}

}  // namespace
}  // namespace kavrin
