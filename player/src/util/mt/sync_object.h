/* Sync objects and timed condition waits: the library's primitives for waiting across threads.
 *
 * A sync object is a mutex with one condition. A waiter locks it, calls
 * sync_object_wait_for_event and unlocks it; another thread fires the event to wake all
 * waiters. */
#ifndef VONAUTIL_SYNC_OBJECT_H
#define VONAUTIL_SYNC_OBJECT_H

#include <pthread.h>

#include "export.h"

VONA_BEGIN_DECLS

typedef struct sync_object {
  pthread_mutex_t mutex;
  pthread_cond_t condition;
  int monotonic; /* deadlines come from the monotonic clock when set, else the real-time clock */
} sync_object;

/* A new object, or null when memory is exhausted. Destroy it with sync_object_destroy. */
sync_object* sync_object_create(void);
/* Destroys the condition and the mutex and frees the object; null is accepted. */
void sync_object_destroy(sync_object* obj);

/* These return the result of the POSIX call, or -1 for a null object. */
int sync_object_lock(sync_object* obj);
int sync_object_unlock(sync_object* obj);
/* Wakes every waiter. */
int sync_object_fire_event(sync_object* obj);

/* Waits, with the object locked by the caller, until the event fires or `timeout_ms` passes:
 * 0 or ETIMEDOUT. The deadline is computed in 32 bits and carries at most one second, so
 * time-outs are exact up to 1000 ms only: beyond that the deadline comes early, or is invalid
 * and the wait fails at once (always so from 2148 ms on). Longer waits use
 * pthread_utils_cond_timedwait. */
int sync_object_wait_for_event(sync_object* obj, int timeout_ms);

/* Waits on the caller's condition (on the real-time clock) and locked mutex for up to
 * `timeout_ms` milliseconds and returns the POSIX result; results other than 0 and ETIMEDOUT
 * are logged. */
int pthread_utils_cond_timedwait(pthread_cond_t* cond, pthread_mutex_t* mutex, int timeout_ms);

VONA_END_DECLS

#endif
