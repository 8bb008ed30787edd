#include "player/src/util/mt/progress.h"

#include "player/src/util/mt/thread_key.hpp"

namespace {
// The callback itself is the thread's value: nothing to free at thread exit.
vona::ThreadKey heartbeat_key{nullptr};
}  // namespace

void set_progress_heartbeat_func(progress_heartbeat_func func) { heartbeat_key.set(reinterpret_cast<void*>(func)); }

void progress_heartbeat(void) {
  auto func = reinterpret_cast<progress_heartbeat_func>(heartbeat_key.get());
  if (func != nullptr) func();
}
