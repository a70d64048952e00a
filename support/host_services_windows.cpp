#include <windows.h>
// Other Windows headers need the one above first.
#include <shlobj.h>
#include <shlwapi.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/host_services.h"

namespace kavrin::host {
namespace {

constexpr std::size_t kPathCapacity = 1024;
constexpr UINT kSimplifiedChinese = 936;
constexpr std::size_t kMonitorNameCapacity = 100;

using MonitorMap = std::map<std::string, Rectangle>;

Rectangle fromRect(const RECT& rect) { return {rect.left, rect.top, rect.right, rect.bottom}; }

BOOL CALLBACK addMonitor(HMONITOR monitor, HDC, LPRECT, LPARAM context) {
  MONITORINFOEXW info{};
  static_assert(sizeof info == 104);
  info.cbSize = sizeof info;
  if (!GetMonitorInfoW(monitor, &info)) return TRUE;
  char name[kMonitorNameCapacity + 1] = {};
  if (std::wcstombs(name, info.szDevice, kMonitorNameCapacity) == static_cast<std::size_t>(-1)) {
    return TRUE;  // a monitor whose name cannot be told is left out
  }
  reinterpret_cast<MonitorMap*>(context)->emplace(name, fromRect(info.rcMonitor));
  return TRUE;
}

std::wstring toWide(const std::string& utf8) {
  const int length = MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, nullptr, 0);
  std::vector<wchar_t> wide(static_cast<std::size_t>(length) + 1);
  MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, wide.data(), length);
  return wide.data();
}

std::string toSystemCodePage(const std::wstring& wide) {
  const int length = WideCharToMultiByte(CP_ACP, 0, wide.c_str(), -1, nullptr, 0, nullptr, nullptr);
  std::vector<char> narrow(static_cast<std::size_t>(length) + 1);
  WideCharToMultiByte(CP_ACP, 0, wide.c_str(), -1, narrow.data(), length, nullptr, nullptr);
  return narrow.data();
}

}  // namespace

const char kPathSeparator = '\\';

std::string documentsFolder() {
  char path[kPathCapacity] = {};
  SHGetSpecialFolderPathA(nullptr, path, CSIDL_PERSONAL, FALSE);
  return path;
}

std::string executablePath() {
  char path[kPathCapacity] = {};
  GetModuleFileNameA(nullptr, path, static_cast<DWORD>(kPathCapacity - 1));
  return path;
}

bool pathExists(const std::string& path) { return PathFileExistsA(path.c_str()) != FALSE; }

void createFolder(const std::string& path) { CreateDirectoryA(path.c_str(), nullptr); }

std::string componentFileName(const std::string& component) { return component + ".dll"; }

std::optional<FileVersion> fileVersion(const std::string& path) {
  DWORD ignored = 0;
  const DWORD size = GetFileVersionInfoSizeA(path.c_str(), &ignored);
  if (size == 0) return std::nullopt;
  std::vector<unsigned char> block(static_cast<std::size_t>(size) + 1);
  if (!GetFileVersionInfoA(path.c_str(), 0, size, block.data())) return std::nullopt;
  VS_FIXEDFILEINFO* record = nullptr;
  UINT length = 0;
  if (!VerQueryValueA(block.data(), "\\", reinterpret_cast<void**>(&record), &length) ||
      record == nullptr) {
    return std::nullopt;
  }
  return FileVersion{HIWORD(record->dwFileVersionMS), LOWORD(record->dwFileVersionMS),
                     HIWORD(record->dwFileVersionLS), LOWORD(record->dwFileVersionLS)};
}

std::string toLocalCodePage(const std::string& utf8) {
  return GetACP() == kSimplifiedChinese ? toSystemCodePage(toWide(utf8)) : utf8;
}

std::uint64_t currentThreadId() { return GetCurrentThreadId(); }

LocalTime localTime() {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  LocalTime result;
  result.calendar.tm_year = now.wYear - 1900;
  result.calendar.tm_mon = now.wMonth - 1;
  result.calendar.tm_mday = now.wDay;
  result.calendar.tm_wday = now.wDayOfWeek;
  result.calendar.tm_hour = now.wHour;
  result.calendar.tm_min = now.wMinute;
  result.calendar.tm_sec = now.wSecond;
  result.milliseconds = now.wMilliseconds;
  return result;
}

std::map<std::string, Rectangle> monitors() {
  MonitorMap result;
  EnumDisplayMonitors(nullptr, nullptr, addMonitor, reinterpret_cast<LPARAM>(&result));
  return result;
}

Rectangle windowRectangle(std::int32_t nativeWindow) {
  RECT rect{};
  // Window handles carry 32 significant bits, also in 64-bit processes.
  const auto handle = reinterpret_cast<HWND>(static_cast<std::intptr_t>(nativeWindow));
  if (IsIconic(handle) || !GetWindowRect(handle, &rect)) return {};
  return fromRect(rect);
}

}  // namespace kavrin::host
