#include "player/src/util/mt/sync_object.h"

#include <errno.h>
#include <time.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/log.h"

namespace {

constexpr long kNanosecondsPerSecond = 1000000000;
constexpr long kNanosecondsPerMillisecond = 1000000;

// Sets up the condition and reports whether its deadlines must be read from the monotonic
// clock. The monotonic attribute is only probed: when the platform accepts it, the condition
// is set up again with default attributes, so that the condition and the deadlines of
// sync_object_wait_for_event both stay on the real-time clock.
bool init_condition(pthread_cond_t* condition) {
  pthread_condattr_t monotonic;
  pthread_condattr_init(&monotonic);
  pthread_condattr_setclock(&monotonic, CLOCK_MONOTONIC);
  bool probed = pthread_cond_init(condition, &monotonic) == 0;
  pthread_condattr_destroy(&monotonic);
  if (!probed) return true;
  pthread_cond_destroy(condition);
  pthread_condattr_t plain;
  pthread_condattr_init(&plain);
  pthread_cond_init(condition, &plain);
  pthread_condattr_destroy(&plain);
  return false;
}

}  // namespace

sync_object* sync_object_create(void) {
  sync_object* obj = static_cast<sync_object*>(malloc(sizeof(sync_object)));
  if (obj == nullptr) return nullptr;
  pthread_mutex_init(&obj->mutex, nullptr);
  obj->monotonic = init_condition(&obj->condition) ? 1 : 0;
  return obj;
}

void sync_object_destroy(sync_object* obj) {
  if (obj == nullptr) return;
  pthread_cond_destroy(&obj->condition);
  pthread_mutex_destroy(&obj->mutex);
  free(obj);
}

int sync_object_lock(sync_object* obj) { return obj ? pthread_mutex_lock(&obj->mutex) : -1; }

int sync_object_unlock(sync_object* obj) { return obj ? pthread_mutex_unlock(&obj->mutex) : -1; }

int sync_object_fire_event(sync_object* obj) { return obj ? pthread_cond_broadcast(&obj->condition) : -1; }

int sync_object_wait_for_event(sync_object* obj, int timeout_ms) {
  if (obj == nullptr) return -1;
  struct timespec deadline;
  clock_gettime(obj->monotonic ? CLOCK_MONOTONIC : CLOCK_REALTIME, &deadline);
  // 32-bit sum, wrapping modulo 2^32, with a single second carried.
  int32_t nanoseconds = static_cast<int32_t>(static_cast<uint32_t>(deadline.tv_nsec) +
                                             static_cast<uint32_t>(timeout_ms) * 1000000u);
  if (nanoseconds > 999999999) {
    deadline.tv_sec += 1;
    nanoseconds %= kNanosecondsPerSecond;
  }
  deadline.tv_nsec = nanoseconds;
  return pthread_cond_timedwait(&obj->condition, &obj->mutex, &deadline);
}

int pthread_utils_cond_timedwait(pthread_cond_t* cond, pthread_mutex_t* mutex, int timeout_ms) {
  struct timespec deadline;
  clock_gettime(CLOCK_REALTIME, &deadline);
  int64_t nanoseconds = deadline.tv_nsec + static_cast<int64_t>(timeout_ms) * kNanosecondsPerMillisecond;
  deadline.tv_sec += nanoseconds / kNanosecondsPerSecond;
  deadline.tv_nsec = nanoseconds % kNanosecondsPerSecond;
  int status = pthread_cond_timedwait(cond, mutex, &deadline);
  if (status != 0 && status != ETIMEDOUT) {
    log_print("pthread_cond_timedwait() failed: status=%d (%s), timeout=%d", status, strerror(status), timeout_ms);
  }
  return status;
}
