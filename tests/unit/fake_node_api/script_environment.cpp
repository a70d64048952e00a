#include "tests/unit/fake_node_api/script_environment.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "tests/unit/fake_node_api/threadsafe_function.h"

using kavrin::fake::CallResult;

napi_env__::napi_env__() {
  undefined_ = make(napi_undefined);
  global_ = object();
  napi_value json = object();
  json->set("parse", function([this](napi_value, const std::vector<napi_value>& arguments) {
              return kavrin::fake::parseJson(this, arguments.at(0)->text);
            }));
  global_->set("JSON", json);
}

napi_env__::~napi_env__() {
  close();
  for (const std::string& text : misuse.take()) ADD_FAILURE() << "Node-API misuse: " << text;
}

napi_value napi_env__::make(napi_valuetype type) {
  values_.push_back(std::make_unique<napi_value__>());
  values_.back()->type = type;
  return values_.back().get();
}

napi_value napi_env__::boolean(bool value) {
  napi_value made = make(napi_boolean);
  made->boolean = value;
  return made;
}

napi_value napi_env__::number(double value) {
  napi_value made = make(napi_number);
  made->number = value;
  return made;
}

napi_value napi_env__::string(std::string text) {
  napi_value made = make(napi_string);
  made->text = std::move(text);
  return made;
}

napi_value napi_env__::array(std::vector<napi_value> elements) {
  napi_value made = object();
  made->isArray = true;
  made->elements = std::move(elements);
  return made;
}

napi_value napi_env__::buffer(std::vector<unsigned char> bytes) {
  napi_value made = object();
  made->isBuffer = true;
  made->bytes = std::move(bytes);
  return made;
}

napi_value napi_env__::external(void* pointer) {
  napi_value made = make(napi_external);
  made->external = pointer;
  return made;
}

napi_value napi_env__::function(kavrin::fake::ScriptFunction body) {
  napi_value made = make(napi_function);
  made->function = std::move(body);
  return made;
}

napi_value napi_env__::recorder(std::vector<std::string>& calls) {
  return function([&calls](napi_value, const std::vector<napi_value>& arguments) -> napi_value {
    std::string shown;
    for (const napi_value argument : arguments) {
      shown += (shown.empty() ? "" : ", ") + kavrin::fake::show(argument);
    }
    calls.push_back(shown);
    return nullptr;
  });
}

napi_value napi_env__::get(napi_value object, const std::string& key) {
  const kavrin::fake::Property* property = object->find(key);
  if (property == nullptr) return undefined_;
  if (!property->getter) return property->value;
  const auto getter = property->getter;  // it may define properties
  const napi_value value = getter();
  return value == nullptr ? undefined_ : value;
}

void napi_env__::defineGetter(napi_value object, const std::string& key,
                              std::function<napi_value()> getter) {
  object->set(key, nullptr);
  for (auto& property : object->properties) {
    if (property.key == key) property.getter = std::move(getter);
  }
}

CallResult napi_env__::call(napi_value function, std::vector<napi_value> arguments) {
  const std::size_t scopes = scopes_.size();
  CallResult result;
  result.value = invoke(function, undefined_, std::move(arguments));
  result.thrown = takeException();
  if (!result.thrown.empty()) result.value = nullptr;
  if (scopes_.size() != scopes) misuse.add("a handle scope was left open");
  return result;
}

napi_value napi_env__::invoke(napi_value function, napi_value receiver,
                              std::vector<napi_value> arguments) {
  const auto body = function->function;
  const napi_value value = body(receiver, arguments);
  return value == nullptr ? undefined_ : value;
}

napi_value napi_env__::throwError(const std::string& message, const std::string& name) {
  exception_ = object();
  exception_->set("name", string(name));
  exception_->set("message", string(message));
  return nullptr;
}

std::string napi_env__::takeException() {
  const napi_value exception = std::exchange(exception_, nullptr);
  if (exception == nullptr) return {};
  const auto* message = exception->find("message");
  if (message == nullptr) return "Uncaught " + kavrin::fake::show(exception);
  return exception->find("name")->value->text + ": " + message->value->text;
}

napi_status napi_env__::enter(const char* function, bool runsScript) {
  if (!onScriptThread()) misuse.add(std::string(function) + " called off the script thread");
  if (closed_) misuse.add(std::string(function) + " called after the environment's end");
  if (const auto fault = faults.enter(function)) return *fault;
  const bool blocked = runsScript && (exception_ != nullptr || !mayRunScript_);
  return blocked ? napi_pending_exception : napi_ok;
}

const napi_extended_error_info& napi_env__::lastError() {
  static constexpr const char* kMessages[] = {
      nullptr,
      "Invalid argument",
      "An object was expected",
      "A string was expected",
      "A string or symbol was expected",
      "A function was expected",
      "A number was expected",
      "A boolean was expected",
      "An array was expected",
      "Unknown failure",
      "An exception is pending",
      "The async work item was cancelled",
      "napi_escape_handle already called on scope",
      "Invalid handle scope usage",
      "Invalid callback scope usage",
      "Thread-safe function queue is full",
      "Thread-safe function handle is closing",
      "A bigint was expected",
      "A date was expected",
      "An arraybuffer was expected",
      "A detachable arraybuffer was expected",
      "Main thread would deadlock",
      "External buffers are not allowed",
      "Cannot run JavaScript",
  };
  lastError_.error_message = kMessages[lastError_.error_code];
  return lastError_;
}

napi_ref napi_env__::addReference(napi_value value, std::uint32_t count) {
  references_.push_back(std::make_unique<napi_ref__>(napi_ref__{value, count, false}));
  return references_.back().get();
}

int napi_env__::heldReferences() const {
  return static_cast<int>(std::count_if(references_.begin(), references_.end(),
                                        [](const auto& r) { return !r->deleted; }));
}

napi_handle_scope napi_env__::openScope() {
  scopes_.push_back(std::make_unique<napi_handle_scope__>());
  return scopes_.back().get();
}

bool napi_env__::closeScope(napi_handle_scope scope) {
  if (scopes_.empty() || scopes_.back().get() != scope) {
    misuse.add("a handle scope was closed out of order");
    return false;
  }
  scopes_.pop_back();
  return true;
}

void napi_env__::addHook(Hook hook) {
  const auto same = [&](const Hook& other) {
    return other.run == hook.run && other.argument == hook.argument;
  };
  // Node ends the process for this.
  if (std::any_of(hooks.begin(), hooks.end(), same)) misuse.add("a cleanup hook was added twice");
  hooks.push_back(hook);
}

void napi_env__::removeHook(Hook hook) {
  std::erase_if(hooks, [&](const Hook& other) {
    return other.run == hook.run && other.argument == hook.argument;
  });
}

void napi_env__::adopt(std::unique_ptr<napi_threadsafe_function__> function) {
  const auto end = [](void* ended) { static_cast<napi_threadsafe_function>(ended)->end(true); };
  addHook({end, function.get()});
  functions_.push_back(std::move(function));
}

void napi_env__::wake() {
  const std::lock_guard lock(wakeMutex_);
  woken_ = true;
  wakeUp_.notify_all();
}

int napi_env__::runLoop() {
  int delivered = 0;
  for (bool busy = true; busy;) {
    busy = false;
    // A delivery may create functions, which moves the vector's memory.
    for (std::size_t i = 0; i < functions_.size(); ++i) {
      if (functions_[i]->dispatch(delivered)) busy = true;
    }
  }
  return delivered;
}

bool napi_env__::runLoopUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  constexpr std::chrono::milliseconds kPause{5};
  while (true) {
    runLoop();
    if (done()) return true;
    if (Clock::now() > deadline) return false;
    std::unique_lock lock(wakeMutex_);
    wakeUp_.wait_for(lock, kPause, [this] { return woken_; });
    woken_ = false;
  }
}

int napi_env__::openThreadsafeFunctions() {
  return static_cast<int>(
      std::count_if(functions_.begin(), functions_.end(), [](auto& f) { return f->isOpen(); }));
}

void napi_env__::runHooks() {
  while (!hooks.empty()) {
    const Hook hook = hooks.back();
    hooks.pop_back();
    hook.run(hook.argument);
  }
}

void napi_env__::close() {
  if (closed_) return;
  faults.clear();
  mayRunScript_ = false;
  runHooks();
  const InstanceData data = std::exchange(instanceData, {});
  if (data.finalize != nullptr) data.finalize(this, data.data, data.hint);
  runHooks();
  closed_ = true;
  reportLeaks();
}

void napi_env__::reportLeaks() {
  for (const auto& reference : references_) {
    if (!reference->deleted) {
      misuse.add("leaked: a reference to " + kavrin::fake::show(reference->value));
    }
  }
}
