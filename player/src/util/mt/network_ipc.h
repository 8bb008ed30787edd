/* Requests to the network daemon ("network_manager") and the client-side procedures that
 * drive a mount or an unmount to its end.
 *
 * The requests go over the file-based IPC (simple_ipc_client.h) through one process-wide
 * connection, opened with network_ipc_open; log lines carry the prefix "[network_ipc]":
 *
 *   "mount"   type, server, dir; user_name and password (smb) or proto (nfs); owner
 *             -> "id" of the mount, which now holds a lock of owner
 *   "umount"  id           -> "busy" while somebody holds a lock on it
 *   "unlock"  id, owner    -> drops owner's lock
 *   "touch"   id           (no answer awaited: the mount is still in use)
 *
 * A waiting sender removes the daemon's old answers, sends, and polls for its answer every
 * 50 ms for up to 10 seconds on the monotonic clock, calling progress_heartbeat on each poll.
 *
 * The senders take their turns with the storage client and every other daemon client (see
 * "Taking turns" in simple_ipc_client.h), so that removing old answers never takes another
 * client's answer.
 *
 * The procedures poll the published list (network_mount.h) through the calling thread's
 * current list, with every time-out measured from the call's start on the monotonic clock:
 *
 * try_ensure_network_mount, label "[ensure_mnt] TYPE://SERVER:DIR":
 *   reload the list and look for the share by source;
 *   "mounted" with a lock of owner: "%s: already mounted with id %lld", send "touch", return it;
 *   "unmounting": wait (poll every 40 ms, "%s: still waiting for unmounting" every tenth poll,
 *     "%s: timed out waiting for unmounting" after 10 s) and look again;
 *   "mounting": wait for that id (below), without a request: an owner that finds the share
 *     on its way gets it without a lock of its own (the daemon may unmount it under that
 *     owner once the others unlock; callers that need the lock ask again after it is mounted);
 *   anything else ("mounted" without owner's lock, "error", none): "%s: sending mount" and
 *     send "mount" (which adds owner's lock); "pending" looks again at once, another status
 *     but "ok" gives null;
 *   waiting for the id ("%s: waiting for mount on ID", polls every 20 ms): gone
 *     ("%s: mount %lld disappeared") or "error" ("%s: mount %lld failed") give null, "mounted"
 *     ("%s: mount %lld DONE") returns it, "unmounting" ("%s: mount %lld is now unmounting")
 *     looks again from the start, "mounting" waits on up to 10 s ("%s: timed out waiting for
 *     mount on ID").
 * The mount returned is an element of the calling thread's current list: valid until that
 * thread's next reload. A null owner counts as holding a lock on every mount.
 *
 * try_network_umount, label "[umount] ID": 0 when the mount is gone or in "error", 1 on a
 * failure or after 10 s, 2 when the daemon answered "busy" (somebody holds a lock).
 *
 * All functions may be called from any thread once the connection is open. */
#ifndef VONAUTIL_NETWORK_IPC_H
#define VONAUTIL_NETWORK_IPC_H

#include "export.h"
#include "network_mount.h"
#include "simple_ipc_client.h"

/* The daemon's server id. */
#define NETWORK_IPC_SERVER_ID "network_manager"

VONA_BEGIN_DECLS

/* Connects to "network_manager"; 1 when its directory exists. Opening twice asserts
 * "!network_ipc". */
int network_ipc_open(void);
/* Drops the connection (nothing happens when none is open). */
void network_ipc_close(void);

/* The status of the exchange. An "ok" answer whose "id" is missing or below 1 counts as
 * "error". *id is the mount's id for "ok", else 0. user_name and password may be null (sent
 * empty). */
simple_ipc_status network_ipc_send_and_wait_mount(int type, const char* server, const char* dir,
                                                  const char* user_name, const char* password, int protocol,
                                                  const char* owner, long long* id);
simple_ipc_status network_ipc_send_and_wait_umount(long long id);
simple_ipc_status network_ipc_send_and_wait_unlock(long long id, const char* owner);
/* Sends "touch" without waiting; 1 when the request file was written. */
int network_ipc_send_touch(long long id);

/* The mount of that share once it is mounted and owner holds a lock on it, or null. */
network_mount* try_ensure_network_mount(int type, const char* server, const char* dir, const char* user_name,
                                        const char* password, int protocol, const char* owner);
/* 0, 1 or 2 as above. */
int try_network_umount(long long id);
/* Asks the daemon to drop owner's lock: "[unlock] owner '%s' from %lld: disappeared" when the
 * id is not in the list, ": got error state" for a mount in error; else sends "unlock". */
void unlock_network_mount(long long id, const char* owner);
/* Sends "touch" for the mount. */
void touch_network_mount(long long id);

VONA_END_DECLS

#endif
