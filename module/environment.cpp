#include "module/environment.h"

#include <random>
#include <stdexcept>

namespace kavrin {
namespace {

// Externals hold what could be an address, so a number stays within the bits that addresses have.
Environment::HandleNumber randomNumber() {
  constexpr std::uint64_t kLowest = 1;
  constexpr std::uint64_t kHighest = std::uint64_t{1} << 46;
  std::random_device source;
  return std::uniform_int_distribution<std::uint64_t>(kLowest, kHighest)(source);
}

}  // namespace

Environment::Environment(napi_env env)
    : hook_(env, [this] { live_.clear(); }), firstNumber_(randomNumber()) {}

bool Environment::install(napi_env env) {
  const auto finalize = [](napi_env, void* data, void*) { delete static_cast<Environment*>(data); };
  auto environment = std::unique_ptr<Environment>(new Environment(env));
  if (!environment->hook_.isArmed()) return false;
  if (napi_set_instance_data(env, environment.get(), finalize, nullptr) != napi_ok) return false;
  static_cast<void>(environment.release());  // the finalizer frees it
  return true;
}

Environment& Environment::of(napi_env env) {
  void* data = nullptr;
  napi_get_instance_data(env, &data);
  if (data == nullptr) throw std::runtime_error("The module's data cannot be read");
  return *static_cast<Environment*>(data);
}

std::shared_ptr<Environment::Facade> Environment::find(HandleNumber number) const {
  const auto found = live_.find(number);
  return found == live_.end() ? nullptr : found->second;
}

bool Environment::wasDestroyed(HandleNumber number) const {
  return number >= firstNumber_ && number < nextNumber_ && !live_.contains(number);
}

}  // namespace kavrin
