// What the control addon needs of the system it runs on.
//
// Threads: script thread only.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kavrin::scripted {

// The Node-API version that the module in a file asks for; nothing when the file cannot be loaded
// or names none. The file stays loaded.
std::optional<std::int32_t> moduleApiVersion(const std::string& path);

// The calling thread's number, as system tools show it.
std::uint32_t currentThread();

// Appends what native code prints through C stdio to a file from now on. Script's own output goes
// past C stdio and stays where it was, so that the test runner's reports are not mixed with log
// texts. False when the file cannot be opened.
bool captureStdout(const std::string& path);

}  // namespace kavrin::scripted
