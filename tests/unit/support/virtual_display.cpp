#include "tests/unit/support/virtual_display.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/xcbext.h>

#include <cstdlib>

namespace kavrin::testing {
namespace {

constexpr const char* kServer = "/usr/bin/Xvfb";

}  // namespace

bool VirtualDisplay::isInstalled() { return access(kServer, X_OK) == 0; }

VirtualDisplay::VirtualDisplay() {
  if (!startServer()) return;
  connection_.reset(xcb_connect(nullptr, nullptr));
  if (xcb_connection_has_error(connection_.get()) != 0) {
    connection_.reset();
    return;
  }
  root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data->root;
}

VirtualDisplay::~VirtualDisplay() {
  connection_.reset();
  unsetenv("DISPLAY");
  if (server_ < 0) return;
  kill(server_, SIGTERM);
  waitpid(server_, nullptr, 0);
}

// The server chooses a free display number and writes it into the pipe when it is ready.
bool VirtualDisplay::startServer() {
  int ends[2];
  if (pipe(ends) != 0) return false;
  const std::string descriptor = std::to_string(ends[1]);
  server_ = fork();
  if (server_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    close(ends[0]);
    const int silent = open("/dev/null", O_RDWR);
    dup2(silent, STDOUT_FILENO);
    dup2(silent, STDERR_FILENO);
    execl(kServer, "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", "1600x900x24",
          "-nolisten", "tcp", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(ends[1]);
  std::string number;
  char digit = 0;
  while (read(ends[0], &digit, 1) == 1 && digit != '\n') number += digit;
  close(ends[0]);
  if (digit != '\n') return false;
  setenv("DISPLAY", (":" + number).c_str(), 1);
  return true;
}

void VirtualDisplay::finish() {
  xcb_connection_t* connection = connection_.get();
  std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

// xcb_randr_set_monitor() of libxcb 1.15 sums up an uninitialised length for a monitor without
// outputs, so the request is put together here.
void VirtualDisplay::setMonitor(const xcb_randr_monitor_info_t& info) {
  xcb_protocol_request_t request{2, &xcb_randr_id, XCB_RANDR_SET_MONITOR, 1};
  xcb_randr_set_monitor_request_t head{};
  head.window = root_;
  xcb_randr_monitor_info_t body = info;
  iovec parts[4] = {{nullptr, 0}, {nullptr, 0}, {&head, sizeof head}, {&body, sizeof body}};
  xcb_send_request(connection_.get(), 0, parts + 2, &request);
}

void VirtualDisplay::addMonitor(const std::string& name, int x, int y, int width, int height) {
  xcb_connection_t* connection = connection_.get();
  const auto cookie =
      xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
  xcb_intern_atom_reply_t* atom = xcb_intern_atom_reply(connection, cookie, nullptr);
  xcb_randr_monitor_info_t info{};
  info.name = atom->atom;
  info.x = static_cast<std::int16_t>(x);
  info.y = static_cast<std::int16_t>(y);
  info.width = static_cast<std::uint16_t>(width);
  info.height = static_cast<std::uint16_t>(height);
  info.width_in_millimeters = 300;
  info.height_in_millimeters = 200;
  std::free(atom);
  setMonitor(info);
  finish();
}

std::int32_t VirtualDisplay::createWindow(int x, int y, int width, int height) {
  const xcb_window_t window = xcb_generate_id(connection_.get());
  xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window, root_,
                    static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                    static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height), 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
  finish();
  return static_cast<std::int32_t>(window);
}

void VirtualDisplay::map(std::int32_t window) {
  xcb_map_window(connection_.get(), static_cast<xcb_window_t>(window));
  finish();
}

void VirtualDisplay::unmap(std::int32_t window) {
  xcb_unmap_window(connection_.get(), static_cast<xcb_window_t>(window));
  finish();
}

void VirtualDisplay::destroy(std::int32_t window) {
  xcb_destroy_window(connection_.get(), static_cast<xcb_window_t>(window));
  finish();
}

}  // namespace kavrin::testing
