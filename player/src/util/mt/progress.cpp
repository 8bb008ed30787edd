#include "player/src/util/mt/progress.h"

#include <cstdlib>

#include "player/src/util/mt/thread_key.hpp"

namespace {

struct Heartbeat {
  progress_heartbeat_func func;
  void* user;
};

vona::ThreadKey heartbeat_key{free};

}  // namespace

void set_progress_heartbeat_func(progress_heartbeat_func func, void* user) {
  Heartbeat* heartbeat = static_cast<Heartbeat*>(heartbeat_key.get());
  if (heartbeat == nullptr) {
    if (func == nullptr) return;
    heartbeat = static_cast<Heartbeat*>(malloc(sizeof *heartbeat));
    heartbeat_key.set(heartbeat);
  }
  heartbeat->func = func;
  heartbeat->user = user;
}

void progress_heartbeat(void) {
  const Heartbeat* heartbeat = static_cast<const Heartbeat*>(heartbeat_key.get());
  if (heartbeat && heartbeat->func) heartbeat->func(heartbeat->user);
}
