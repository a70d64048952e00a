#include <cstdio>

#include "support/host_services.h"

namespace kavrin::host {

std::string joinPath(const std::string& folder, const std::string& name) {
  return folder + kPathSeparator + name;
}

std::string executableName() {
  std::string name = executablePath();
  const auto separator = name.find_last_of(kPathSeparator);
  if (separator != std::string::npos) name.erase(0, separator + 1);
  const auto dot = name.find_last_of('.');
  if (dot != std::string::npos) name.erase(dot);
  return name;
}

void queryFileVersion(const std::string& path, char* buffer, std::size_t size) {
  const auto version = fileVersion(path);
  if (!version) return;
  std::snprintf(buffer, size, "%u.%u.%u.%u", (*version)[0], (*version)[1], (*version)[2],
                (*version)[3]);
}

std::string defaultAppFolder() {
  const std::string folder = joinPath(documentsFolder(), executableName());
  if (!pathExists(folder)) createFolder(folder);
  return folder;
}

std::string makeUserLogFolder(const std::string& logPath, const std::string& logTag,
                              const std::string& puid) {
  const std::string folder = joinPath(logPath, logTag + "_" + puid);
  createFolder(folder);
  return folder;
}

}  // namespace kavrin::host
