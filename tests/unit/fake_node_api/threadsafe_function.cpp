#include "tests/unit/fake_node_api/threadsafe_function.h"

#include <utility>

#include "tests/unit/fake_node_api/script_environment.h"

using kavrin::MutexLock;

void napi_threadsafe_function__::misuse(const char* what) {
  setup_.env->misuse.add("thread-safe function \"" + setup_.name + "\" " + what);
}

napi_status napi_threadsafe_function__::call(void* data) {
  {
    MutexLock lock(mutex_);
    if (freed_) {
      misuse("called after its end");
      return napi_closing;
    }
    if (threads_ == 0) misuse("called after its release");
    if (closing_) {
      if (threads_ == 0) return napi_invalid_arg;
      --threads_;
      return napi_closing;
    }
    if (setup_.queueLimit != 0 && queue_.size() >= setup_.queueLimit) return napi_queue_full;
    queue_.push_back(data);
  }
  setup_.env->wake();
  return napi_ok;
}

napi_status napi_threadsafe_function__::acquire() {
  MutexLock lock(mutex_);
  if (freed_) misuse("acquired after its end");
  if (freed_ || closing_) return napi_closing;
  ++threads_;
  return napi_ok;
}

napi_status napi_threadsafe_function__::release(bool abort) {
  {
    MutexLock lock(mutex_);
    if (freed_) {
      misuse("released after its end");
      return napi_invalid_arg;
    }
    if (threads_ == 0) {
      misuse("released twice");
      return napi_invalid_arg;
    }
    --threads_;
    if (abort) closing_ = true;
  }
  setup_.env->wake();
  return napi_ok;
}

bool napi_threadsafe_function__::isOpen() {
  MutexLock lock(mutex_);
  return !freed_;
}

void napi_threadsafe_function__::deliver(void* data) {
  napi_env env = setup_.env;
  kavrin::fake::callNative(env, "the delivery of a post",
                           [&] { setup_.callJs(env, setup_.callback, setup_.context, data); });
  if (env->pendingException() != nullptr) env->uncaught.push_back(env->takeException());
}

bool napi_threadsafe_function__::dispatch(int& delivered) {
  void* data = nullptr;
  bool ended = false;
  {
    MutexLock lock(mutex_);
    if (freed_) return false;
    ended = closing_ || (queue_.empty() && threads_ == 0);
    if (!ended && queue_.empty()) return false;
    if (!ended) {
      data = queue_.front();
      queue_.pop_front();
    }
  }
  if (ended) {
    end(false);
  } else {
    deliver(data);
    ++delivered;
  }
  return true;
}

void napi_threadsafe_function__::end(bool environmentEnds) {
  std::deque<void*> leftovers;
  {
    MutexLock lock(mutex_);
    if (freed_) return;
    if (environmentEnds && threads_ > 0) misuse("leaked: still held when its environment ended");
    freed_ = true;
    closing_ = true;
    leftovers.swap(queue_);
  }
  if (setup_.finalize != nullptr) {
    setup_.finalize(setup_.env, setup_.finalizeData, setup_.context);
  }
  for (void* data : leftovers) setup_.callJs(nullptr, nullptr, setup_.context, data);
}

napi_status napi_create_threadsafe_function(napi_env env, napi_value func,
                                            napi_value async_resource,
                                            napi_value async_resource_name, size_t max_queue_size,
                                            size_t initial_thread_count, void* thread_finalize_data,
                                            napi_finalize thread_finalize_cb, void* context,
                                            napi_threadsafe_function_call_js call_js_cb,
                                            napi_threadsafe_function* result) {
  return kavrin::fake::enter(env, __func__, [&] {
    const bool callable = func != nullptr ? func->type == napi_function : call_js_cb != nullptr;
    const bool named = async_resource_name != nullptr && async_resource_name->type == napi_string;
    if (!callable || !named || initial_thread_count == 0) return napi_invalid_arg;
    if (async_resource != nullptr && async_resource->type != napi_object) return napi_invalid_arg;
    auto function = std::make_unique<napi_threadsafe_function__>(napi_threadsafe_function__::Setup{
        env, func, async_resource_name->text, max_queue_size, initial_thread_count,
        thread_finalize_data, thread_finalize_cb, context, call_js_cb});
    *result = function.get();
    env->adopt(std::move(function));
    return napi_ok;
  });
}

// The following run on any thread and leave the environment's last error alone.

napi_status napi_call_threadsafe_function(napi_threadsafe_function func, void* data,
                                          napi_threadsafe_function_call_mode) {
  const kavrin::fake::InsideNodeApi inside;
  const auto fault = func->setup().env->faults.enter(__func__);
  return fault ? *fault : func->call(data);
}

napi_status napi_acquire_threadsafe_function(napi_threadsafe_function func) {
  const kavrin::fake::InsideNodeApi inside;
  const auto fault = func->setup().env->faults.enter(__func__);
  return fault ? *fault : func->acquire();
}

napi_status napi_release_threadsafe_function(napi_threadsafe_function func,
                                             napi_threadsafe_function_release_mode mode) {
  const kavrin::fake::InsideNodeApi inside;
  const auto fault = func->setup().env->faults.enter(__func__);
  return fault ? *fault : func->release(mode == napi_tsfn_abort);
}
