// Demo of the reporting layer: a log line, a message list that fills up, a timed wait.
#include <errno.h>
#include <time.h>

#include <cstdio>
#include <cstring>

#include "command.hpp"
#include "vonautil.h"

namespace tool {

static double monotonic_ms() {
  struct timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1000.0 + now.tv_nsec / 1e6;
}

static void demo_reporting() {
  printf("log_print writes one line on standard error:\n");
  fflush(stdout);
  log_print("[demo] hello from %s", "vonautil");

  message_list* messages = ML_create_message_list();
  for (int i = 1; i <= 1005; i++) ML_add_message(messages, 0, 1, "message %d", i);
  printf("1005 quiet messages into a message list: %d stored, the last '%s', the one before it '%s'\n",
         messages->count, messages->entries[messages->count - 1].text, messages->entries[messages->count - 2].text);
  ML_free_message_list(messages);

  sync_object* obj = sync_object_create();
  sync_object_lock(obj);
  double start = monotonic_ms();
  int status = sync_object_wait_for_event(obj, 20);
  double waited = monotonic_ms() - start;
  sync_object_unlock(obj);
  sync_object_destroy(obj);
  printf("a 20 ms wait on a sync object nobody fires: %s after %.1f ms\n",
         status == ETIMEDOUT ? "ETIMEDOUT" : strerror(status), waited);
}

TOOL_DEMO_STEP(10, "Logging, message lists and sync objects", demo_reporting);

}  // namespace tool
