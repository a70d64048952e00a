// Binds a Node addon to the process that loads it.
//
// The addon's Node-API imports name "node.exe", but the host may be an executable of any name, or
// an executable that has the runtime in "libnode.dll". So the imports are delay-loaded, and when
// the addon is loaded all of them are bound to whichever of the two offers Node-API. Where neither
// does, or a function is missing, loading the addon fails; no call can fail later.
//
// Threads: runs under the loader's lock, once, before anything else of the addon is called.
#include <windows.h>
// Needs the header above first.
#include <delayimp.h>

#include <cstdint>
#include <initializer_list>

namespace {

// The module of this process that offers Node-API; null when there is none.
HMODULE hostRuntime() {
  for (HMODULE candidate : {GetModuleHandleW(nullptr), GetModuleHandleW(L"libnode.dll")}) {
    if (candidate != nullptr && GetProcAddress(candidate, "napi_create_function") != nullptr) {
      return candidate;
    }
  }
  return nullptr;
}

bool bindImports();

}  // namespace

#if defined(_MSC_VER)

namespace {

FARPROC WINAPI giveHostRuntime(unsigned event, DelayLoadInfo* info) {
  const bool asksForHost =
      event == dliNotePreLoadLibrary && lstrcmpiA(info->szDll, "node.exe") == 0;
  return asksForHost ? reinterpret_cast<FARPROC>(hostRuntime()) : nullptr;
}

bool bindImports() {
  if (hostRuntime() == nullptr) return false;
  __try {
    return SUCCEEDED(__HrLoadAllImportsForDll("node.exe"));
  } __except (EXCEPTION_EXECUTE_HANDLER) {
    return false;  // a function is missing
  }
}

}  // namespace

extern "C" const PfnDliHook __pfnDliNotifyHook2 = giveHostRuntime;

#else  // MinGW: its import libraries come without the helper that does the binding

extern "C" {

// Where this addon's image begins, and what the linker noted about its delayed imports.
extern const IMAGE_DOS_HEADER __ImageBase;
extern const ImgDelayDescr __DELAY_IMPORT_DESCRIPTOR_libnode_imports_a;

// What an unbound import would call. The linker's code in front of it does not keep floating-point
// arguments, which is one more reason why no import stays unbound.
FARPROC WINAPI __delayLoadHelper2(const ImgDelayDescr*, FARPROC*) {
  RaiseException(VcppException(ERROR_SEVERITY_ERROR, ERROR_PROC_NOT_FOUND), 0, 0, nullptr);
  return nullptr;
}

}  // extern "C"

namespace {

template <typename T>
T* atImageOffset(RVA offset) {
  const auto base = reinterpret_cast<std::uintptr_t>(&__ImageBase);
  return reinterpret_cast<T*>(base + offset);
}

bool bindImports() {
  const HMODULE runtime = hostRuntime();
  if (runtime == nullptr) return false;
  const ImgDelayDescr& imports = __DELAY_IMPORT_DESCRIPTOR_libnode_imports_a;
  auto* slot = atImageOffset<FARPROC>(imports.rvaIAT);
  for (auto* name = atImageOffset<const IMAGE_THUNK_DATA>(imports.rvaINT);
       name->u1.AddressOfData != 0; ++name, ++slot) {
    const auto offset = static_cast<RVA>(name->u1.AddressOfData);
    const auto* import = atImageOffset<const IMAGE_IMPORT_BY_NAME>(offset);
    *slot = GetProcAddress(runtime, reinterpret_cast<const char*>(import->Name));
    if (*slot == nullptr) return false;
  }
  return true;
}

}  // namespace

#endif

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID) {
  return reason != DLL_PROCESS_ATTACH || bindImports() ? TRUE : FALSE;
}
