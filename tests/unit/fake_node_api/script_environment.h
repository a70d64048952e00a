// A script environment for unit tests: what stands behind a napi_env there.
//
// The napi_* functions of this folder implement Node-API over it, in one process and without a
// script engine. They answer as Node 20 does: the same statuses, the same error texts, nothing that
// runs script while an exception is pending, cleanup hooks in reverse order, thread-safe functions
// that queue. And they watch: a function called on the wrong thread, a thread-safe function or a
// reference used after its end, or one that is still held when the environment ends, is noted as
// misuse and fails the test.
//
// Threads: the thread that creates the environment is its script thread; everything belongs to it
// except what says otherwise. Posting and releasing threads go through
// napi_call_threadsafe_function and its like. Shutdown: close(), or the destructor, ends the
// environment as Node does.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bridge/node_api.h"
#include "tests/unit/fake_node_api/fault_plan.h"
#include "tests/unit/fake_node_api/inside_node_api.h"
#include "tests/unit/fake_node_api/misuse_log.h"
#include "tests/unit/fake_node_api/script_value.h"

struct napi_ref__ {
  napi_value value = nullptr;
  std::uint32_t count = 0;
  bool deleted = false;
};

struct napi_handle_scope__ {
  bool open = true;
};

struct napi_callback_info__ {
  napi_value receiver = nullptr;
  std::vector<napi_value> arguments;
  void* data = nullptr;
};

namespace kavrin::fake {

// What a call from script came to.
struct CallResult {
  napi_value value = nullptr;  // undefined when nothing was returned; null when it threw
  std::string thrown;          // "TypeError: text"; empty when it returned
};

}  // namespace kavrin::fake

struct napi_env__ {
 public:
  using Clock = std::chrono::steady_clock;

  napi_env__();
  ~napi_env__();
  napi_env__(const napi_env__&) = delete;
  napi_env__& operator=(const napi_env__&) = delete;

  // --- Values --------------------------------------------------------------------------------

  napi_value undefined() { return undefined_; }
  napi_value global() { return global_; }
  napi_value make(napi_valuetype type);
  napi_value null() { return make(napi_null); }
  napi_value boolean(bool value);
  napi_value number(double value);
  napi_value string(std::string text);
  napi_value object() { return make(napi_object); }
  napi_value array(std::vector<napi_value> elements = {});
  napi_value buffer(std::vector<unsigned char> bytes);
  napi_value external(void* pointer);
  napi_value function(kavrin::fake::ScriptFunction body);
  // A function that notes the arguments of its calls, one shown list per call.
  napi_value recorder(std::vector<std::string>& calls);

  // Reads a property as script does; runs getters.
  napi_value get(napi_value object, const std::string& key);
  void defineGetter(napi_value object, const std::string& key, std::function<napi_value()> getter);
  // Runs before every property that native code sets: stands for a setter on Object.prototype.
  std::function<void(const std::string& key)> beforePropertySet;

  // --- Script running ------------------------------------------------------------------------

  // Calls a function as script at the top of the stack does.
  kavrin::fake::CallResult call(napi_value function, std::vector<napi_value> arguments = {});
  // From a script function: makes the call end with an exception.
  napi_value throwError(const std::string& message, const std::string& name = "Error");
  // The pending exception, which is cleared; "" when there is none.
  std::string takeException();
  // Exceptions that nobody caught, as Node would report them.
  std::vector<std::string> uncaught;

  // --- The event loop ------------------------------------------------------------------------

  // Delivers what thread-safe functions have queued, until nothing is left. The number of messages.
  int runLoop();
  // Runs the loop until `done` holds; false when that takes longer than `limit`.
  bool runLoopUntil(const std::function<bool()>& done,
                    std::chrono::milliseconds limit = std::chrono::seconds(20));
  // Ends the environment: cleanup hooks, thread-safe functions, instance data. What is still held
  // after that is a leak.
  void close();
  // Thread-safe functions that keep the environment alive. Any thread.
  int openThreadsafeFunctions();
  int heldReferences() const;

  kavrin::fake::FaultPlan faults;
  kavrin::fake::MisuseLog misuse;

  // --- For the napi_* functions --------------------------------------------------------------

  // The state behind a call of `function`: ok, or the status with which it fails.
  napi_status enter(const char* function, bool runsScript);
  napi_status leave(napi_status status) {
    lastError_.error_code = status;
    return status;
  }
  const napi_extended_error_info& lastError();
  bool onScriptThread() const { return std::this_thread::get_id() == scriptThread_; }

  napi_value pendingException() const { return exception_; }
  void setException(napi_value exception) { exception_ = exception; }
  napi_value invoke(napi_value function, napi_value receiver, std::vector<napi_value> arguments);

  napi_ref addReference(napi_value value, std::uint32_t count);
  napi_handle_scope openScope();
  bool closeScope(napi_handle_scope scope);

  struct Hook {
    void (*run)(void*);
    void* argument;
  };
  std::vector<Hook> hooks;  // in the order of their registration
  void addHook(Hook hook);
  void removeHook(Hook hook);

  struct InstanceData {
    void* data = nullptr;
    napi_finalize finalize = nullptr;
    void* hint = nullptr;
  };
  InstanceData instanceData;

  void adopt(std::unique_ptr<napi_threadsafe_function__> function);
  // Any thread: something was queued.
  void wake();

 private:
  void runHooks();
  void reportLeaks();

  const std::thread::id scriptThread_ = std::this_thread::get_id();
  std::deque<std::unique_ptr<napi_value__>> values_;
  napi_value undefined_ = nullptr;
  napi_value global_ = nullptr;
  napi_value exception_ = nullptr;
  napi_extended_error_info lastError_{};
  std::vector<std::unique_ptr<napi_ref__>> references_;
  std::vector<std::unique_ptr<napi_handle_scope__>> scopes_;
  std::vector<std::unique_ptr<napi_threadsafe_function__>> functions_;
  bool mayRunScript_ = true;
  bool closed_ = false;
  std::mutex wakeMutex_;  // guards woken_
  std::condition_variable wakeUp_;
  bool woken_ = false;
};

namespace kavrin::fake {

using ScriptEnvironment = ::napi_env__;

// JSON.parse: the value, or null with a SyntaxError pending.
napi_value parseJson(napi_env env, const std::string& text);

// The body of every napi_* function: checks, then `work`, whose status becomes the last error.
template <typename Work>
napi_status enter(napi_env env, const char* function, Work work) {
  const InsideNodeApi inside;
  if (env == nullptr) return napi_invalid_arg;
  const napi_status status = env->enter(function, false);
  return env->leave(status == napi_ok ? work() : status);
}

// The same for functions that may run script: they fail while an exception is pending.
template <typename Work>
napi_status enterScript(napi_env env, const char* function, Work work) {
  const InsideNodeApi inside;
  if (env == nullptr) return napi_invalid_arg;
  const napi_status status = env->enter(function, true);
  return env->leave(status == napi_ok ? work() : status);
}

// Native code that Node calls, which would end the process for a C++ exception from there.
template <typename Work>
void callNative(napi_env env, const char* what, Work work) {
  try {
    work();
  } catch (...) {
    const InsideNodeApi inside;
    env->misuse.add(std::string("a C++ exception left ") + what);
  }
}

}  // namespace kavrin::fake
