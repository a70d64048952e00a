// Turns any script value into a Variant and back, and any Variant into a script value, with
// Node-API functions failing on the way where the input says so.
#include <cstdint>
#include <string>
#include <utility>

#include "bridge/convert.h"
#include "support/logger.h"
#include "tests/hardening/coverage/any_value.h"
#include "tests/hardening/coverage/conversion_rules.h"
#include "tests/hardening/coverage/require.h"

namespace kavrin {
namespace {

using Kind = Variant::Kind;
using fake::ScriptEnvironment;

class Conversion {
 public:
  explicit Conversion(Input& input) : input_(input) {}

  void run() {
    const auto body = [this](napi_value, const auto&) -> napi_value {
      fromScript();
      toScript();
      return nullptr;
    };
    env_.call(env_.function(body));  // notes scopes that are left open
    env_.faults.clear();
    require(env_.heldReferences() == 0, "conversion keeps no reference");
    require(env_.openThreadsafeFunctions() == 0, "conversion creates no thread-safe function");
    env_.close();
    require(env_.misuse.take().empty(), "Node-API is used by its rules");
  }

 private:
  // A failure loses the value; it never makes another one of it.
  void fromScript() {
    const napi_value value = anyScriptValue(env_, input_);
    planFaults(env_.faults, input_);
    Variant read = node_napi::convertNValueToVariant(logger_, napiEnv_, given(value));
    const bool failed = faultHappened(env_.faults);
    require(failed && read.is(Kind::Null) ? true : isReadingOf(read, value),
            "a script value is read as it is");
    checkReads(read, value);
    env_.faults.clear();
    if (read.is(Kind::Null)) return;
    read.resolvePending(Kind::Double);
    checkRoundTrip(read, value);
  }

  void checkRoundTrip(const Variant& read, napi_value value) {
    const napi_value back = node_napi::convertVariantToNValue(logger_, napiEnv_, read);
    require(matches(read, back, Exactness::kWhole), "what was read is written alike");
    if (value->type == napi_number || value->type == napi_boolean) {
      require(fake::show(back) == fake::show(value), "a value survives the way there and back");
    }
    const Variant again = node_napi::convertNValueToVariant(logger_, napiEnv_, given(back));
    require(isReadingOf(again, back), "what was written can be read");
  }

  // Typed reads resolve a number by the first of them and agree on texts and numbers.
  void checkReads(const Variant& read, napi_value value) {
    Variant asInt32 = read;
    Variant asInt64 = read;
    Variant asDouble = read;
    Variant asBool = read;
    const std::int32_t small = asInt32.toInt32();
    const std::int64_t large = asInt64.toInt64();
    const double real = asDouble.toDouble();
    const bool truth = asBool.toBool();
    require(asInt32.toInt32() == small && asInt64.toInt64() == large && asBool.toBool() == truth,
            "a second read gives the same");
    if (!read.is(Kind::PendingNumber) || faultHappened(env_.faults)) return;
    require(!truth, "a number is never read as true at first");
    require(fake::show(env_.number(real)) == fake::show(value), "a number is read whole");
    require(real != small || large == small, "a small whole number is the same in both widths");
  }

  void toScript() {
    const Variant value = anyVariant(env_, input_);
    checkCopies(value);
    checkText(value);
    planFaults(env_.faults, input_);
    const napi_value made = node_napi::convertVariantToNValue(logger_, napiEnv_, value);
    const bool failed = faultHappened(env_.faults);
    require(matches(value, made, failed ? Exactness::kPartial : Exactness::kWhole),
            "a Variant is written as it is");
  }

  void checkCopies(const Variant& value) {
    Variant copy(value);
    require(same(copy, value), "a copy is the same");
    Variant moved(std::move(copy));
    require(same(moved, value), "a moved value is the same");
    copy = value;
    const Variant& itself = copy;
    copy = itself;
    require(same(copy, value), "a value assigned to itself stays");
    if (!value.is(Kind::Array) || value.arrayValue.empty()) return;
    copy = copy.arrayValue.back();
    require(same(copy, value.arrayValue.back()), "an element can take the place of its array");
  }

  static void checkText(const Variant& value) {
    const std::string text = value.toString();
    switch (value.kind) {
      case Kind::Int16:
      case Kind::UInt16:
      case Kind::Int32:
      case Kind::UInt32:
      case Kind::Long:
      case Kind::Int64:
        require(textToInt64(text) == Variant(value).toInt64(), "a number's text is the number");
        break;
      case Kind::ULong:
        require(textToInt64(text) == value.ulongValue, "a number's text is the number");
        break;
      case Kind::UInt64:
        require(text == std::to_string(value.uint64Value), "a number's text is the number");
        break;
      default:
        break;
    }
  }

  // Conversion takes its handle by reference and must leave it alone.
  napi_value& given(napi_value value) { return given_ = value; }

  Input& input_;
  ScriptEnvironment env_;
  napi_env napiEnv_ = &env_;
  napi_value given_ = nullptr;
  Logger logger_;
};

}  // namespace
}  // namespace kavrin

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  kavrin::Input input(data, size);
  kavrin::Conversion(input).run();
  return 0;
}
