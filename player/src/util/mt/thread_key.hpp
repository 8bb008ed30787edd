// Per-thread state of the library's modules. Each module that keeps state per thread owns one
// ThreadKey: the pthread key is created on first use, once per process, under tss_global_mutex,
// and its destructor frees a thread's state when that thread exits.
#ifndef VONAUTIL_THREAD_KEY_HPP
#define VONAUTIL_THREAD_KEY_HPP

#include <pthread.h>

#include <atomic>

#include "player/src/util/mt/common.h"

namespace vona {

// The process-wide mutex under which every thread-specific key of the library is created.
inline pthread_mutex_t tss_global_mutex = PTHREAD_MUTEX_INITIALIZER;

// A thread-specific key created on first use. Declare it as a static object; it is constant-
// initialised, so it works during static construction of other objects as well:
//   static vona::ThreadKey state_key{free_state};
class ThreadKey {
 public:
  constexpr explicit ThreadKey(void (*destructor)(void*)) : destructor_(destructor) {}
  ThreadKey(const ThreadKey&) = delete;
  ThreadKey& operator=(const ThreadKey&) = delete;

  // The calling thread's value, null until the thread sets one.
  void* get() { return pthread_getspecific(key()); }
  void set(void* value) { pthread_setspecific(key(), value); }

 private:
  pthread_key_t key() {
    // Checked before taking the mutex (the common path takes no lock) and again under it
    // (two threads may both have seen the key missing).
    if (!created_.load(std::memory_order_acquire)) {
      pthread_mutex_lock(&tss_global_mutex);
      if (!created_.load(std::memory_order_relaxed)) {
        int error = pthread_key_create(&key_, destructor_);
        MY_ASSERT(error == 0);
        created_.store(true, std::memory_order_release);
      }
      pthread_mutex_unlock(&tss_global_mutex);
    }
    return key_;
  }

  void (*destructor_)(void*);
  std::atomic<bool> created_{false};
  pthread_key_t key_{};
};

}  // namespace vona

#endif
