#include "tests/scripted_engine/control.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <map>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "tests/scripted_engine/callbacks.h"
#include "tests/scripted_engine/json.h"
#include "tests/scripted_engine/live_objects.h"
#include "tests/scripted_engine/scenario.h"
#include "tests/scripted_engine/start_line.h"

namespace kavrin::scripted {
namespace {

using Handler = void (*)(const JsonValue& in, JsonWriter& out);

Scenario& scenario() { return Scenario::instance(); }

std::string jsonText(const JsonValue& value) {
  rapidjson::StringBuffer buffer;
  JsonWriter out(buffer);
  value.Accept(out);
  return {buffer.GetString(), buffer.GetSize()};
}

// The member as a text; none when it is null or no text.
std::optional<std::string> optionalText(const JsonValue& in, const char* key) {
  const JsonValue* value = member(in, key);
  if (value == nullptr || !value->IsString()) return std::nullopt;
  return std::string(value->GetString(), value->GetStringLength());
}

void reset(const JsonValue& /*in*/, JsonWriter& out) {
  scenario().reset();
  out.Null();
}

void calls(const JsonValue& in, JsonWriter& out) {
  out.StartArray();
  for (const std::string& call :
       scenario().calls(static_cast<std::size_t>(integerOf(in, "from", 0)))) {
    out.RawValue(call.data(), call.size(), rapidjson::kObjectType);
  }
  out.EndArray();
}

void clearCalls(const JsonValue& /*in*/, JsonWriter& out) {
  scenario().clearCalls();
  out.Null();
}

void setResult(const JsonValue& in, JsonWriter& out) {
  scenario().setResult(textOf(in, "operation"),
                       static_cast<std::int32_t>(integerOf(in, "result", 0)));
  out.Null();
}

void setThrow(const JsonValue& in, JsonWriter& out) {
  scenario().setThrow(textOf(in, "operation"), optionalText(in, "text"));
  out.Null();
}

void setOutput(const JsonValue& in, JsonWriter& out) {
  const JsonValue* value = member(in, "output");
  scenario().setOutput(textOf(in, "operation"), value == nullptr ? "" : jsonText(*value));
  out.Null();
}

CompletionPlan::Mode modeNamed(const std::string& name) {
  if (name == "automatic") return CompletionPlan::Mode::kAutomatic;
  if (name == "inline") return CompletionPlan::Mode::kInline;
  if (name == "hold") return CompletionPlan::Mode::kHold;
  if (name == "drop") return CompletionPlan::Mode::kDrop;
  throw std::runtime_error("no such mode: " + name);
}

void setPlan(const JsonValue& in, JsonWriter& out) {
  CompletionPlan plan;
  plan.mode = modeNamed(textOf(in, "mode"));
  plan.code = static_cast<std::int32_t>(integerOf(in, "code", 0));
  plan.text = optionalText(in, "text");
  plan.delayMs = static_cast<int>(integerOf(in, "delayMs", 0));
  plan.late = flagOf(in, "late");
  scenario().setPlan(textOf(in, "operation"), std::move(plan));
  out.Null();
}

void addHook(const JsonValue& in, JsonWriter& out) {
  const JsonValue* run = member(in, "run");
  if (run == nullptr) throw std::runtime_error("a hook needs a command to run");
  scenario().addHook(textOf(in, "operation"),
                     {jsonText(*run), flagOf(in, "ownThread"), flagOf(in, "afterGate"),
                      static_cast<int>(integerOf(in, "times", 1))});
  out.Null();
}

void block(const JsonValue& in, JsonWriter& out) {
  scenario().block(textOf(in, "operation"));
  out.Null();
}

void release(const JsonValue& in, JsonWriter& out) {
  scenario().release(textOf(in, "operation"));
  out.Null();
}

void waiting(const JsonValue& /*in*/, JsonWriter& out) {
  out.StartArray();
  for (const std::string& operation : scenario().waiting()) writeText(out, operation);
  out.EndArray();
}

void fire(const JsonValue& in, JsonWriter& out) {
  fireCallbacks(in);
  out.Null();
}

void completions(const JsonValue& /*in*/, JsonWriter& out) {
  out.StartArray();
  for (const std::shared_ptr<Completion>& completion : scenario().heldCompletions()) {
    out.StartObject();
    out.Key("id");
    out.Int(completion->id);
    out.Key("engine");
    out.Int(completion->engine);
    out.Key("operation");
    writeText(out, completion->operation);
    out.EndObject();
  }
  out.EndArray();
}

// Calls a held completion from `threads` threads at once, `times` times from each; from the
// caller's thread when `threads` is 0.
void complete(const JsonValue& in, JsonWriter& out) {
  std::shared_ptr<Completion> completion =
      scenario().takeCompletion(static_cast<int>(integerOf(in, "id", 0)), flagOf(in, "keep"));
  if (completion == nullptr) throw std::runtime_error("no such completion");
  const auto code = static_cast<std::int32_t>(integerOf(in, "code", 0));
  const std::optional<std::string> text = optionalText(in, "text");
  const std::int64_t times = integerOf(in, "times", 1);
  const std::int64_t threadCount = integerOf(in, "threads", 1);
  const auto run = [&] {
    for (std::int64_t i = 0; i < times; ++i) completion->run(code, text ? text->c_str() : nullptr);
  };
  StartLine start(threadCount);
  std::vector<std::thread> threads;
  for (std::int64_t i = 0; i < threadCount; ++i) {
    threads.emplace_back([&] {
      start.arriveAndWait();
      run();
    });
  }
  for (std::thread& thread : threads) thread.join();
  if (threadCount == 0) run();
  out.Null();
}

// The first held completion of an operation; null after five seconds without one.
std::shared_ptr<Completion> awaitHeld(const std::string& operation) {
  for (int i = 0; i < 5000; ++i) {
    for (std::shared_ptr<Completion>& completion : scenario().heldCompletions()) {
      if (completion->operation == operation) return completion;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return nullptr;
}

void completeSoon(const JsonValue& in, JsonWriter& out) {
  const auto code = static_cast<std::int32_t>(integerOf(in, "code", 0));
  scenario().jobs().start([operation = textOf(in, "operation"), code] {
    const std::shared_ptr<Completion> completion = awaitHeld(operation);
    if (completion != nullptr) completion->run(code, "");
  });
  out.Null();
}

void pause(const JsonValue& in, JsonWriter& out) {
  std::this_thread::sleep_for(std::chrono::milliseconds(integerOf(in, "ms", 0)));
  out.Null();
}

// Two threads write the same bytes without a lock: the thread sanitizer must report it.
void race(const JsonValue& in, JsonWriter& out) {
  std::vector<char> bytes(static_cast<std::size_t>(integerOf(in, "size", 1)));
  std::thread other([&] { std::fill(bytes.begin(), bytes.end(), 'a'); });
  std::fill(bytes.begin(), bytes.end(), 'b');
  other.join();
  out.Null();
}

void join(const JsonValue& /*in*/, JsonWriter& out) {
  scenario().jobs().joinAll();
  out.Null();
}

void live(const JsonValue& /*in*/, JsonWriter& out) {
  const std::pair<const char*, std::int64_t> counts[] = {
      {"engines", liveObjects().engines},
      {"options", liveObjects().options},
      {"users", liveObjects().users},
      {"infos", liveObjects().infos},
      {"completions", liveObjects().completions},
  };
  out.StartObject();
  for (const auto& [name, count] : counts) {
    out.Key(name);
    out.Int64(count);
  }
  out.EndObject();
}

void newestEngine(const JsonValue& /*in*/, JsonWriter& out) {
  const std::shared_ptr<EngineSlot> slot = scenario().engine(0);
  out.Int(slot == nullptr ? 0 : slot->number);
}

const std::map<std::string, Handler>& commandTable() {
  static const std::map<std::string, Handler> table = {
      {"reset", reset},
      {"calls", calls},
      {"clearCalls", clearCalls},
      {"setResult", setResult},
      {"setThrow", setThrow},
      {"setOutput", setOutput},
      {"setPlan", setPlan},
      {"addHook", addHook},
      {"block", block},
      {"release", release},
      {"waiting", waiting},
      {"fire", fire},
      {"completions", completions},
      {"complete", complete},
      {"completeSoon", completeSoon},
      {"pause", pause},
      {"race", race},
      {"join", join},
      {"live", live},
      {"newestEngine", newestEngine},
  };
  return table;
}

std::string errorAnswer(const char* text) {
  rapidjson::StringBuffer buffer;
  JsonWriter out(buffer);
  out.StartObject();
  out.Key("error");
  out.String(text);
  out.EndObject();
  return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace

std::string execute(const std::string& command) try {
  rapidjson::Document in;
  in.Parse(command.data(), command.size());
  if (in.HasParseError()) throw std::runtime_error("not JSON");
  const auto found = commandTable().find(textOf(in, "command"));
  if (found == commandTable().end()) throw std::runtime_error("no such command");
  rapidjson::StringBuffer buffer;
  JsonWriter out(buffer);
  out.StartObject();
  out.Key("value");
  found->second(in, out);
  out.EndObject();
  return {buffer.GetString(), buffer.GetSize()};
} catch (const std::exception& error) {
  return errorAnswer(error.what());
}

}  // namespace kavrin::scripted
