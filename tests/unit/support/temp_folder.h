// A folder that goes away, with everything in it, when the object does.
#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <string>

namespace kavrin::testing {

class TempFolder {
 public:
  TempFolder() {
    std::random_device random;
    std::filesystem::path folder;
    do {
      folder = std::filesystem::temp_directory_path() / ("kavrin-test-" + std::to_string(random()));
    } while (!std::filesystem::create_directory(folder));
    path_ = folder.generic_string();  // goes into JSON texts as it is
  }
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string operator/(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

// A text file's content, with the line ends that the program wrote.
inline std::string readFile(const std::filesystem::path& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

inline void writeFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

}  // namespace kavrin::testing
