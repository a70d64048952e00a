#include <iconv.h>
#include <langinfo.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>

#include <charconv>
#include <climits>
#include <clocale>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include "support/host_services.h"

namespace kavrin::host {
namespace {

// What C libraries allocate and leave to the caller.
struct FreeDeleter {
  void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using AllocatedPtr = std::unique_ptr<T, FreeDeleter>;

std::string environmentText(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

std::string homeFolder() {
  std::string home = environmentText("HOME");
  if (!home.empty()) return home;
  passwd entry{};
  passwd* found = nullptr;
  char texts[4096];
  if (getpwuid_r(getuid(), &entry, texts, sizeof texts, &found) == 0 && found != nullptr) {
    return found->pw_dir;
  }
  return "/";
}

// The value of a user-dirs.dirs line such as XDG_DOCUMENTS_DIR="$HOME/Documents".
std::string expandedUserFolder(std::string value, const std::string& home) {
  if (value.size() < 2 || value.front() != '"' || value.back() != '"') return {};
  value = value.substr(1, value.size() - 2);
  const std::string homeVariable = "$HOME";
  if (value.rfind(homeVariable, 0) == 0) value.replace(0, homeVariable.size(), home);
  while (value.size() > 1 && value.back() == '/') value.pop_back();
  return value.empty() || value.front() != '/' ? std::string() : value;
}

std::string documentsFromUserFolders(const std::string& home) {
  std::string configFolder = environmentText("XDG_CONFIG_HOME");
  if (configFolder.empty()) configFolder = joinPath(home, ".config");
  std::ifstream file(joinPath(configFolder, "user-dirs.dirs"));
  const std::string key = "XDG_DOCUMENTS_DIR=";
  std::string found;
  for (std::string line; std::getline(file, line);) {
    const auto start = line.find_first_not_of(" \t");
    if (start == std::string::npos || line.compare(start, key.size(), key) != 0) continue;
    const auto end = line.find_last_not_of(" \t\r");
    found = expandedUserFolder(line.substr(start + key.size(), end + 1 - start - key.size()), home);
  }
  return found;
}

// Numbers of "A.B.C.D", nothing when the text is anything else.
std::optional<FileVersion> parsedVersion(const std::string& text) {
  FileVersion version{};
  const char* next = text.data();
  const char* const end = next + text.size();
  for (std::uint32_t& number : version) {
    if (&number != version.data() && (next == end || *next++ != '.')) return std::nullopt;
    const auto [rest, error] = std::from_chars(next, end, number);
    if (error != std::errc()) return std::nullopt;
    next = rest;
  }
  return next == end ? std::optional(version) : std::nullopt;
}

// The charset of the locale that the environment asks for. The host's own locale is left alone.
std::string localeCharset() {
  const auto release = [](locale_t locale) { freelocale(locale); };
  const std::unique_ptr<std::remove_pointer_t<locale_t>, decltype(release)> locale(
      newlocale(LC_CTYPE_MASK, "", nullptr), release);
  return locale == nullptr ? std::string() : nl_langinfo_l(CODESET, locale.get());
}

bool isChineseCharset(const std::string& charset) {
  return charset == "GBK" || charset == "GB18030";
}

class Iconv {
 public:
  Iconv(const char* to, const char* from) : handle_(iconv_open(to, from)) {}
  ~Iconv() {
    if (valid()) iconv_close(handle_);
  }
  Iconv(const Iconv&) = delete;
  Iconv& operator=(const Iconv&) = delete;

  bool valid() const { return handle_ != reinterpret_cast<iconv_t>(-1); }

  // Converts `text`, writing "?" for bytes that have no counterpart.
  std::string convert(std::string text) {
    std::string result;
    char* input = text.data();
    std::size_t left = text.size();
    while (left > 0) {
      char chunk[256];
      char* output = chunk;
      std::size_t room = sizeof chunk;
      const std::size_t outcome = iconv(handle_, &input, &left, &output, &room);
      result.append(chunk, sizeof chunk - room);
      if (outcome == static_cast<std::size_t>(-1) && room == sizeof chunk) {
        result += '?';
        ++input;
        --left;
      }
    }
    return result;
  }

 private:
  iconv_t handle_;
};

struct DisconnectDeleter {
  void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};

// A connection to the display that the environment names, for the length of one question.
class Display {
 public:
  Display() {
    int screenNumber = 0;
    connection_.reset(xcb_connect(nullptr, &screenNumber));
    if (xcb_connection_has_error(connection_.get()) != 0) return;
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection_.get()));
    for (; screens.rem > 0 && screenNumber > 0; --screenNumber) xcb_screen_next(&screens);
    if (screens.rem > 0) root_ = screens.data->root;
  }

  bool present() const { return root_ != XCB_NONE; }
  xcb_connection_t* connection() const { return connection_.get(); }
  xcb_window_t root() const { return root_; }

 private:
  std::unique_ptr<xcb_connection_t, DisconnectDeleter> connection_;
  xcb_window_t root_ = XCB_NONE;
};

std::string atomName(const Display& display, xcb_atom_t atom) {
  const AllocatedPtr<xcb_get_atom_name_reply_t> reply(xcb_get_atom_name_reply(
      display.connection(), xcb_get_atom_name(display.connection(), atom), nullptr));
  if (reply == nullptr) return {};
  return {xcb_get_atom_name_name(reply.get()),
          static_cast<std::size_t>(xcb_get_atom_name_name_length(reply.get()))};
}

bool hasRandr(const Display& display) {
  const xcb_query_extension_reply_t* extension =
      xcb_get_extension_data(display.connection(), &xcb_randr_id);
  return extension != nullptr && extension->present != 0;
}

Rectangle rectangle(int left, int top, int width, int height) {
  return {left, top, left + width, top + height};
}

}  // namespace

const char kPathSeparator = '/';

std::string documentsFolder() {
  const std::string home = homeFolder();
  std::string folder = documentsFromUserFolders(home);
  return folder.empty() ? joinPath(home, "Documents") : folder;
}

std::string executablePath() {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  return length < 0 ? std::string() : std::string(path, static_cast<std::size_t>(length));
}

bool pathExists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

void createFolder(const std::string& path) { mkdir(path.c_str(), 0777); }

std::string componentFileName(const std::string& component) { return "lib" + component + ".so"; }

std::optional<FileVersion> fileVersion(const std::string& path) {
  const AllocatedPtr<char> real(realpath(path.c_str(), nullptr));
  if (real == nullptr) return std::nullopt;
  const std::string name = real.get();
  const std::string marker = ".so.";
  const auto found = name.rfind(marker);
  if (found == std::string::npos) return std::nullopt;
  return parsedVersion(name.substr(found + marker.size()));
}

std::string toLocalCodePage(const std::string& utf8) {
  const std::string charset = localeCharset();
  if (!isChineseCharset(charset)) return utf8;
  Iconv converter(charset.c_str(), "UTF-8");
  return converter.valid() ? converter.convert(utf8) : utf8;
}

// Asked for anew each time: a number that is kept would be the parent's in a forked child.
std::uint64_t currentThreadId() { return static_cast<std::uint64_t>(gettid()); }

LocalTime localTime() {
  timeval now{};
  gettimeofday(&now, nullptr);
  LocalTime result;
  localtime_r(&now.tv_sec, &result.calendar);
  result.milliseconds = static_cast<int>(now.tv_usec / 1000);
  return result;
}

std::map<std::string, Rectangle> monitors() {
  std::map<std::string, Rectangle> result;
  const Display display;
  if (!display.present() || !hasRandr(display)) return result;
  const AllocatedPtr<xcb_randr_get_monitors_reply_t> reply(xcb_randr_get_monitors_reply(
      display.connection(), xcb_randr_get_monitors(display.connection(), display.root(), 1),
      nullptr));
  if (reply == nullptr) return result;
  for (auto monitor = xcb_randr_get_monitors_monitors_iterator(reply.get()); monitor.rem > 0;
       xcb_randr_monitor_info_next(&monitor)) {
    const xcb_randr_monitor_info_t& info = *monitor.data;
    result.emplace(atomName(display, info.name),
                   rectangle(info.x, info.y, info.width, info.height));
  }
  return result;
}

Rectangle windowRectangle(std::int32_t nativeWindow) {
  const Display display;
  if (!display.present()) return {};
  xcb_connection_t* connection = display.connection();
  const auto window = static_cast<xcb_window_t>(nativeWindow);
  const auto attributesCookie = xcb_get_window_attributes(connection, window);
  const auto geometryCookie = xcb_get_geometry(connection, window);
  const auto originCookie = xcb_translate_coordinates(connection, window, display.root(), 0, 0);
  const AllocatedPtr<xcb_get_window_attributes_reply_t> attributes(
      xcb_get_window_attributes_reply(connection, attributesCookie, nullptr));
  const AllocatedPtr<xcb_get_geometry_reply_t> geometry(
      xcb_get_geometry_reply(connection, geometryCookie, nullptr));
  const AllocatedPtr<xcb_translate_coordinates_reply_t> origin(
      xcb_translate_coordinates_reply(connection, originCookie, nullptr));
  if (attributes == nullptr || geometry == nullptr || origin == nullptr) return {};
  if (attributes->map_state != XCB_MAP_STATE_VIEWABLE) return {};
  return rectangle(origin->dst_x, origin->dst_y, geometry->width, geometry->height);
}

}  // namespace kavrin::host
