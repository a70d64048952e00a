// Ways through the module that tests walk with something failing: creation, login, calls, lists,
// pictures, polls, listeners, ends.
#pragma once

#include <functional>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "tests/unit/module/module_fixture.h"

namespace kavrin {

class Host : public ModuleHost {
 public:
  // Lets the engine answer and the answers reach script.
  void settle() {
    testing::steer("{\"command\":\"join\"}");
    env.runLoop();
  }
  void logIn() {
    init(handle, answers);
    settle();
  }
  std::string listen(napi_value context) {
    return outcome("on", {handle, text("onBufferOverflow"), env.recorder(notes), context});
  }
  std::string bind(std::size_t size) {
    napi_value buffer = env.buffer(std::vector<unsigned char>(size));
    return exec(handle, "BindingVideoFrame", env.array({text("me"), env.number(2), buffer}));
  }
  // Puts a picture of six bytes, for which a buffer of `size` bytes is bound, into the store.
  void showPicture(std::size_t size) {
    logIn();
    bind(size);
    fire("OnRoomMemberVideoFrame", R"(["me",{"width":2,"height":2,"streamType":2,"seed":5}])");
    settle();
  }
  std::string fetch() {
    const std::string result = json(handle, "GetVideoFrame", R"({"uid":"me","videoSourceType":2})");
    settle();
    return result;
  }
  std::string enumerate(const char* method) { return exec(handle, method, env.array()); }

  napi_value handle = create();
  std::vector<std::string> answers;
  std::vector<std::string> notes;
};

// One way through the module. `prepare` runs before the faults.
struct Way {
  const char* name;
  std::function<void(Host&)> prepare;
  std::function<std::string(Host&)> walk;
  bool buildsObjects = false;  // what cannot be created is left out of them
};

inline std::ostream& operator<<(std::ostream& out, const Way& way) { return out << way.name; }

std::span<const Way> ways();

}  // namespace kavrin
