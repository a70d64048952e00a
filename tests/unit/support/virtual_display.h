// An X server without a screen, as a child process, and a client that arranges things on it.
#pragma once

#include <sys/types.h>
#include <xcb/randr.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>

namespace kavrin::testing {

class VirtualDisplay {
 public:
  // True when the X server program is installed; tests skip visibly when it is not.
  static bool isInstalled();

  // Starts the server and makes it the display of this process.
  VirtualDisplay();
  ~VirtualDisplay();
  VirtualDisplay(const VirtualDisplay&) = delete;
  VirtualDisplay& operator=(const VirtualDisplay&) = delete;

  bool ready() const { return connection_ != nullptr; }

  void addMonitor(const std::string& name, int x, int y, int width, int height);
  std::int32_t createWindow(int x, int y, int width, int height);
  void map(std::int32_t window);
  void unmap(std::int32_t window);
  void destroy(std::int32_t window);

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  bool startServer();
  void setMonitor(const xcb_randr_monitor_info_t& info);
  // Waits until the server has carried out what was asked.
  void finish();

  pid_t server_ = -1;
  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  xcb_window_t root_ = XCB_NONE;
};

}  // namespace kavrin::testing
