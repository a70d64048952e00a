// The module in a process that is not Node: its Node-API imports come from libnode.dll, or loading
// it fails.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <memory>
#include <string>

namespace {

struct FreeLibraryDeleter {
  void operator()(HMODULE library) const { FreeLibrary(library); }
};
using Library = std::unique_ptr<std::remove_pointer_t<HMODULE>, FreeLibraryDeleter>;

// Loads a file as Node does, with the libraries beside it.
Library load(const char* file) {
  const auto path = std::filesystem::absolute(file).make_preferred();
  return Library(LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
}

template <typename Function>
Function symbol(const Library& library, const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library.get(), name)));
}

TEST(HostBinding, WithoutNodeApiInTheProcessLoadingFails) {
  EXPECT_EQ(load(KAVRIN_MODULE), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DLL_INIT_FAILED));
}

TEST(HostBinding, ARuntimeWithoutANeededFunctionFailsTheLoadNotALaterCall) {
  const Library runtime = load(KAVRIN_INCOMPLETE_RUNTIME);
  ASSERT_NE(runtime, nullptr);
  EXPECT_EQ(load(KAVRIN_MODULE), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_DLL_INIT_FAILED));
}

TEST(HostBinding, ARuntimeLinkedAsALibraryIsUsed) {
  const Library runtime = load(KAVRIN_COMPLETE_RUNTIME);
  ASSERT_NE(runtime, nullptr);
  const Library module = load(KAVRIN_MODULE);
  ASSERT_NE(module, nullptr) << GetLastError();
  EXPECT_EQ(symbol<int (*)()>(module, "node_api_module_get_api_version_v1")(), 8);
  int environment = 0;
  int exports = 0;
  const auto registerModule = symbol<void* (*)(void*, void*)>(module, "napi_register_module_v1");
  EXPECT_EQ(registerModule(&environment, &exports), &exports);
  EXPECT_STREQ(symbol<const char* (*)()>(runtime, "definedFunctions")(),
               "createConfEngine destroyConfEngine execFun execJsonParamFun "
               "execJsonParamFunWithCallback loadNodeEvents on off ");
}

}  // namespace
