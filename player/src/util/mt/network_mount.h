/* Network mounts: the SMB shares and NFS exports that the network daemon ("network_manager")
 * has mounted, and the list file in which it publishes them,
 * "/tmp/run/network_mount_list.xml" (below VONAUTIL_ROOT when that is set).
 *
 * Several programs may use one mount at a time. Each holds a lock on it under an owner name
 * (the shell, a player, ...), and the daemon unmounts a share only when no lock is left. A
 * mount moves "mounting" -> "mounted" -> "unmounting" -> gone, or to "error"; only the daemon
 * changes states and writes the file (through network_mount_list_save_to_file), everybody
 * else reads it back (network_mount_list_reload_current) and never keeps a view older than
 * one poll. network_ipc.h holds the requests to the daemon and the waits built on them.
 *
 * The list file, two blanks of indentation per level and one attribute per line:
 *
 *   <network_mounts>
 *     <max_mount_id value="7"/>
 *     <mount
 *       id="7"
 *       path="/tmp/mnt/network/7"
 *       type="smb"
 *       server="nas"
 *       dir="music"
 *       user_name="guest"           (smb only)
 *       password="secret"           (smb only)
 *       proto="tcp"                 (nfs only, instead of the two above)
 *       server_ipaddr="10.0.0.2"    (only when known)
 *       status="mounted"
 *       mount_tm="1700000000"
 *     >
 *       <locks>                     (only when somebody holds a lock)
 *         <lock owner="shell"/>
 *       </locks>
 *     </mount>
 *   </network_mounts>
 *
 * The values are written as they are, without XML escaping, and the password in clear text
 * (the file lives only in the run-time directory). A value holding a double quote ends its
 * attribute early: `password="a"b"` leaves `b"` where the parser expects the next attribute
 * name, so the whole file fails to parse and every reader sees no mount at all until the
 * daemon writes it again. A "&" is taken as the start of an entity: "&amp;" and "&lt;" come
 * back as "&" and "<", and a "&" that starts no entity is lost ("R&B" reads as "RB"). A "<"
 * or ">" comes back as it stands. Directories and credentials with '"' or '&' therefore do
 * not survive the file.
 *
 * Every thread has its own current list (created empty on first use, freed when the thread
 * ends), so polling threads share no list memory; the file is the only thing shared. */
#ifndef VONAUTIL_NETWORK_MOUNT_H
#define VONAUTIL_NETWORK_MOUNT_H

#include <stddef.h>

#include "basic_string_array.h"
#include "export.h"
#include "network_folder.h"
#include "typed_list.h"

/* Mount states, kept in the file by their words. */
#define NETWORK_MOUNT_STATUS_MOUNTING 0   /* "mounting" */
#define NETWORK_MOUNT_STATUS_MOUNTED 1    /* "mounted" */
#define NETWORK_MOUNT_STATUS_UNMOUNTING 2 /* "unmounting" */
#define NETWORK_MOUNT_STATUS_ERROR 3      /* "error" */

/* The list file, below VONAUTIL_ROOT when that is set. */
#define NETWORK_MOUNT_LIST_PATH "/tmp/run/network_mount_list.xml"
/* At most this many bytes of the list file are read. */
#define NETWORK_MOUNT_LIST_MAX_SIZE 65536

VONA_BEGIN_DECLS

typedef struct network_mount {
  long long id;         /* given by the daemon, at least 1 */
  char* path;           /* owned: the local mount point */
  int type;             /* NETWORK_FOLDER_TYPE_* */
  char* server;         /* owned */
  char* dir;            /* owned: share name or exported directory */
  char* user_name;      /* owned or null (smb) */
  char* password;       /* owned or null (smb) */
  int protocol;         /* NETWORK_PROTOCOL_* (nfs) */
  char* server_ipaddr;  /* owned or null */
  int status;           /* NETWORK_MOUNT_STATUS_*; "mounting" when created */
  int mount_tm;         /* seconds since the epoch; the time of creation */
  string_array* locks;  /* owned: the owners holding a lock, or null */
} network_mount;

TYPED_LIST_DECLARE(network_mount_list, network_mount);

/* ---- Record ---------------------------------------------------------------------------- */

/* A mount with copies of the texts, status "mounting", created now, without locks. path,
 * server and dir are required (asserts "path", "server", "dir"); the others may be null. */
network_mount* network_mount_create(long long id, const char* path, int type, const char* server, const char* dir,
                                    const char* user_name, const char* password, int protocol,
                                    const char* server_ipaddr);
/* Null is ignored. */
void network_mount_free(network_mount* mount);

/* 1 for a null owner; 0 when the mount has no locks; else whether owner holds one. */
int network_mount_has_owner(const network_mount* mount, const char* owner);
/* Adds owner's lock unless it holds one already; 1 when it was added. Asserts "owner". */
int network_mount_add_lock(network_mount* mount, const char* owner);
/* Drops owner's lock (the array goes back to null with the last one); 1 when there was one. */
int network_mount_remove_lock(network_mount* mount, const char* owner);
/* The number of locks held. */
int network_mount_get_num_locks(const network_mount* mount);

/* ---- Lookups: index or -1; a null list finds nothing ----------------------------------- */

/* By identity. */
int network_mount_list_find(const network_mount_list* list, const network_mount* mount);
int network_mount_list_find_by_id(const network_mount_list* list, long long id);
/* Two null paths count as equal. */
int network_mount_list_find_by_path(const network_mount_list* list, const char* path);
/* The first mount of that type and dir whose server or server address equals server. */
int network_mount_list_find_by_source(const network_mount_list* list, int type, const char* server,
                                      const char* dir);

/* ---- Status words ---------------------------------------------------------------------- */

/* "mounting", "mounted", "unmounting", "error"; "" after "Warning: invalid network mount
 * status id: %d" for another value. */
const char* network_mount_status_to_string(int status);
/* The status whose word equals text; default_value otherwise (also for a null text). */
int network_mount_status_from_string(const char* text, int default_value);

/* ---- The list file --------------------------------------------------------------------- */

/* Writes the list in the layout above to "PATH.tmp" and renames it over path. 0, or -1 after
 * "Error: failed to open_write(%s): %s" (nothing written) or "Error: failed to rename(%s,
 * %s): %s" (the temporary file is deleted). */
int network_mount_list_save_to_file(const network_mount_list* list, const char* path, long long max_mount_id);
/* Appends the valid mounts of the file, in file order, and stores the "max_mount_id" value in
 * *max_mount_id (0 when the file has none; max_mount_id may be null). A file that cannot be
 * read or parsed, or whose root is not "network_mounts", appends nothing and gives 0 after
 * its "[network_mounts] ..." message; else 1. A damaged mount is skipped with its message;
 * a lock without owner is skipped, the mount kept. */
int network_mount_list_load_from_file(network_mount_list* list, long long* max_mount_id, const char* path);

/* ---- The calling thread's current list ------------------------------------------------- */

/* The thread's own list, created empty on first use and freed when the thread ends. */
network_mount_list* network_mount_list_get_current(void);
/* Clears the thread's list and loads the list file into it; the result of the load. */
int network_mount_list_reload_current(void);
/* Saves the thread's list to the list file; the result of the save. */
int network_mount_list_save_current(long long max_mount_id);

/* ---- Mount sources --------------------------------------------------------------------- */

/* Formats "SERVER:DIR" into buffer (size bytes, cut to fit), both converted to the NFS path
 * encoding (the NFS path-encoding setting); returns buffer. */
char* do_get_nfs_folder_mount_source(char* buffer, size_t size, const char* server, const char* dir);

VONA_END_DECLS

#endif
