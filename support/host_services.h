// What the module needs of the machine it runs on, declared once for every platform.
//
// host_services_linux.cpp and host_services_windows.cpp implement these functions, host_paths.cpp
// the part of them that is the same everywhere. Texts are UTF-8 unless a function says otherwise.
//
// Threads: any thread; there is no state. None of the functions throws for a failing system call:
// each says what it returns instead.
#pragma once

#include <array>
#include <cstdint>
#include <ctime>
#include <map>
#include <optional>
#include <string>

namespace kavrin::host {

// Separator between the components of a path.
extern const char kPathSeparator;

// A rectangle on the desktop in pixels; right and bottom are exclusive. All zero when unknown.
struct Rectangle {
  std::int32_t left = 0;
  std::int32_t top = 0;
  std::int32_t right = 0;
  std::int32_t bottom = 0;
};

using FileVersion = std::array<std::uint32_t, 4>;

// Local time, to the millisecond.
struct LocalTime {
  std::tm calendar{};
  int milliseconds = 0;  // 0 to 999
};

// --- Implemented per platform ------------------------------------------------------------------

// The user's documents folder, without a trailing separator. In the system's code page.
std::string documentsFolder();

// Full path of the host process's executable file, empty when the system does not tell.
std::string executablePath();

bool pathExists(const std::string& path);

// Creates one folder level; a failure (it exists, its parent does not) is ignored.
void createFolder(const std::string& path);

// The file name of one of the engine's component libraries, such as "KavrinRTCEngine".
std::string componentFileName(const std::string& component);

// The version of a library file: of its version resource on Windows, of its fully versioned real
// name (lib<component>.so.A.B.C.D) on Linux. Nothing when it has none or does not exist.
std::optional<FileVersion> fileVersion(const std::string& path);

// Converts UTF-8 to the system's code page where that is the Simplified Chinese one (936, or a
// locale with the charset GBK or GB18030); returns the text unchanged everywhere else.
std::string toLocalCodePage(const std::string& utf8);

// The calling thread's number, as system tools show it.
std::uint64_t currentThreadId();

LocalTime localTime();

// Display device name to monitor rectangle; of several monitors with one name the first counts.
// Empty without a display.
std::map<std::string, Rectangle> monitors();

// Where a window is on the desktop; all zero when it is gone, minimised, or there is no display.
Rectangle windowRectangle(std::int32_t nativeWindow);

// --- The same everywhere -----------------------------------------------------------------------

// The name of the host process's executable without folder and extension.
std::string executableName();

std::string joinPath(const std::string& folder, const std::string& name);

// Writes the version of the file at `path` into `buffer` of `size` bytes as "%d.%d.%d.%d"; a file
// without a version leaves the buffer as it is.
void queryFileVersion(const std::string& path, char* buffer, std::size_t size);

// The folder "<documents>/<executable name>", created when it is missing.
std::string defaultAppFolder();

// The folder "<logPath>/<logTag>_<puid>", created when it is missing.
std::string makeUserLogFolder(const std::string& logPath, const std::string& logTag,
                              const std::string& puid);

}  // namespace kavrin::host
