/* The progress heartbeat: long waits of the library (command output, IPC polls, mounts)
 * call progress_heartbeat() now and then, so that a thread can keep its progress display
 * or watchdog alive while it is blocked in the library. */
#ifndef VONAUTIL_PROGRESS_H
#define VONAUTIL_PROGRESS_H

#include "export.h"

VONA_BEGIN_DECLS

typedef void (*progress_heartbeat_func)(void* user);

/* Installs the calling thread's heartbeat callback and its user pointer; null removes it.
 * Other threads are not affected. */
void set_progress_heartbeat_func(progress_heartbeat_func func, void* user);

/* Calls the calling thread's heartbeat callback; does nothing when none is installed. */
void progress_heartbeat(void);

VONA_END_DECLS

#endif
