#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>

#include "tests/scripted_engine/control_host.h"

namespace kavrin::scripted {

std::optional<std::int32_t> moduleApiVersion(const std::string& path) {
  void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return std::nullopt;
  using GetApiVersion = std::int32_t (*)();
  const auto getApiVersion =
      reinterpret_cast<GetApiVersion>(dlsym(library, "node_api_module_get_api_version_v1"));
  if (getApiVersion == nullptr) return std::nullopt;
  return getApiVersion();
}

std::uint32_t currentThread() { return static_cast<std::uint32_t>(::gettid()); }

bool captureStdout(const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "a");
  if (file == nullptr) return false;
  std::fflush(stdout);
  stdout = file;
  return true;
}

}  // namespace kavrin::scripted
