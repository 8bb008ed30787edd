/* The progress heartbeat: long waits of the library (an IPC client waiting for its answer)
 * call progress_heartbeat on every poll, so that the thread's owner can keep a progress
 * indicator moving or a watchdog fed while the library blocks that thread.
 *
 * Each thread installs its own callback; a thread without one gets no calls. */
#ifndef VONAUTIL_PROGRESS_H
#define VONAUTIL_PROGRESS_H

#include "export.h"

VONA_BEGIN_DECLS

typedef void (*progress_heartbeat_func)(void);

/* Installs the calling thread's heartbeat callback; null removes it. */
void set_progress_heartbeat_func(progress_heartbeat_func func);
/* Calls the calling thread's callback; does nothing when the thread has none. */
void progress_heartbeat(void);

VONA_END_DECLS

#endif
