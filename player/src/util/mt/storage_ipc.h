/* Requests to the storage daemon, server "storage_manager", over the file-based IPC of
 * simple_ipc_client.h.
 *
 * The process has one connection, opened once with storage_ipc_open. The waiting senders
 * (storage_ipc_send_and_wait_*) remove the server's old answers, send, and poll every 50 ms
 * with a progress heartbeat until the answer or a 10-second deadline; they return 1 only for
 * the status "ok". The others remove the old answers and send; they return 1 when the
 * request file was written. Without an open connection every sender logs
 * "[storage_ipc] command 'NAME' failed: ipc not opened" and returns 0. All log lines carry
 * the tag "[storage_ipc]". Every sender takes its turn with the other daemon clients of the
 * server ("Taking turns" in simple_ipc_client.h), so that removing old answers never takes
 * another client's answer. */
#ifndef VONAUTIL_STORAGE_IPC_H
#define VONAUTIL_STORAGE_IPC_H

#include "export.h"

VONA_BEGIN_DECLS

/* Connects to "storage_manager": 1 when its directory exists. Opening an open connection is
 * an assertion failure ("!storage_ipc"). */
int storage_ipc_open(void);
/* Closes the connection (nothing when none is open). */
void storage_ipc_close(void);

/* "suspend_update": the daemon stops looking for new disks until "resume_update". */
int storage_ipc_send_and_wait_suspend_update(void);
int storage_ipc_send_suspend_update(void);
/* "resume_update"; the form without wait sends the parameter "timeout". */
int storage_ipc_send_and_wait_resume_update(void);
int storage_ipc_send_resume_update(int timeout);
/* "eject" */
int storage_ipc_send_and_wait_eject(void);
int storage_ipc_send_eject(void);
/* "reset_names" */
int storage_ipc_send_and_wait_reset_names(void);
/* "eject_close_tray", "power_off_disks", "power_on_disks", "power_off_eject_device" */
int storage_ipc_send_eject_close_tray(void);
int storage_ipc_send_power_off_disks(void);
int storage_ipc_send_power_on_disks(void);
int storage_ipc_send_power_off_eject_device(void);
/* "disk_space_usage" with the parameter "path". The three outputs are set to -1 first; when
 * the answer is "ok" they get its "total_bytes", "used_bytes" and "avail_bytes" (-1 for a
 * missing one) and the result is 1. */
int storage_ipc_send_and_wait_disk_space_usage(const char* path, long long* total, long long* used, long long* avail);

VONA_END_DECLS

#endif
