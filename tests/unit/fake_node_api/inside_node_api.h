// Tells whether this thread is inside a napi_* function, which lets no C++ exception out: tests
// that make allocations fail spare those of the script environment itself.
#pragma once

namespace kavrin::fake {

class InsideNodeApi {
 public:
  InsideNodeApi() { ++depth(); }
  ~InsideNodeApi() { --depth(); }
  InsideNodeApi(const InsideNodeApi&) = delete;
  InsideNodeApi& operator=(const InsideNodeApi&) = delete;

  static bool now() { return depth() > 0; }

 private:
  static int& depth() {
    thread_local int value = 0;
    return value;
  }
};

}  // namespace kavrin::fake
