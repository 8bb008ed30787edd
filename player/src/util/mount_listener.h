/* Mount listeners: callbacks that run after the caller has mounted or unmounted something.
 *
 * Whoever mounts or unmounts calls fire_mount_performed or fire_umount_performed with the
 * mount point; every callback of that kind registered so far runs, in registration order,
 * with that path. Callbacks cannot be removed.
 *
 * Single-threaded: the registry is process-wide and not locked; register at start-up,
 * before anything fires. */
#ifndef VONAUTIL_MOUNT_LISTENER_H
#define VONAUTIL_MOUNT_LISTENER_H

#include "mt/export.h"

VONA_BEGIN_DECLS

/* Most callbacks of each kind. */
#define MAX_MOUNT_LISTENERS 100

typedef void (*mount_listener_func)(const char* mount_point);

/* Append a callback. A null one or a full registry is an assertion failure ("mount_callback",
 * "num_mount_callbacks < MAX_MOUNT_LISTENERS"; "umount_callback", ...). */
void register_mount_callback(mount_listener_func mount_callback);
void register_umount_callback(mount_listener_func umount_callback);

/* Log "[MOUNT] Running fireMountPerformed('%s')" (respectively fireUmountPerformed) and call
 * every callback of that kind. */
void fire_mount_performed(const char* mount_point);
void fire_umount_performed(const char* mount_point);

VONA_END_DECLS

#endif
