#include <windows.h>

#include <cstdio>

#include "tests/scripted_engine/control_host.h"

namespace kavrin::scripted {

std::optional<std::int32_t> moduleApiVersion(const std::string& path) {
  // As Node loads it: with the libraries beside it.
  const HMODULE library = LoadLibraryExA(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (library == nullptr) return std::nullopt;
  using GetApiVersion = std::int32_t (*)();
  const auto getApiVersion = reinterpret_cast<GetApiVersion>(
      reinterpret_cast<void*>(GetProcAddress(library, "node_api_module_get_api_version_v1")));
  if (getApiVersion == nullptr) return std::nullopt;
  return getApiVersion();
}

std::uint32_t currentThread() { return GetCurrentThreadId(); }

// The C run time of the addons and the one inside Node share the system's handle behind standard
// output. Reopening the stream closes that handle, which Node still needs: it is protected
// meanwhile.
bool captureStdout(const std::string& path) {
  std::fflush(stdout);
  const HANDLE shared = GetStdHandle(STD_OUTPUT_HANDLE);
  SetHandleInformation(shared, HANDLE_FLAG_PROTECT_FROM_CLOSE, HANDLE_FLAG_PROTECT_FROM_CLOSE);
  const bool opened = std::freopen(path.c_str(), "ab", stdout) != nullptr;
  SetHandleInformation(shared, HANDLE_FLAG_PROTECT_FROM_CLOSE, 0);
  SetStdHandle(STD_OUTPUT_HANDLE, shared);
  return opened;
}

}  // namespace kavrin::scripted
