/* The process-wide cache of the mounts that the player handles, with the mount type of any
 * path.
 *
 * The cache holds the mounts of "/proc/mounts" whose file system type has a code below, in
 * table order, and the main storage's mount: the mount whose target is what the link
 * "/tmp/mnt/D" points at. It is built on the first query, rebuilt by mount_cache_update, and
 * rebuilt at the next query after mount_cache_set_dirty (call that after mounting or
 * unmounting). Both paths are fixed paths (below VONAUTIL_ROOT when that is set).
 *
 * The lookup of a path goes through the mounts in table order. A mount matches when its
 * target is a prefix of the path and the path either is no longer than the best match so far
 * or has '/' at that length. The check is made at the length of the best match so far
 * (starting at 0), not at the mount's own length: the first mount whose target is a prefix
 * of an absolute path is always taken, even when the prefix ends inside a name, and a later
 * mount wins only when it is longer and the path has '/' where the previous best ended. So
 * with "/" cached before "/tmp/mnt/usb1", every path gets the type of "/". Among the matches
 * the longest target wins, the first on equal lengths.
 *
 * Every function takes the cache's mutex for its whole run: any thread may call them. */
#ifndef VONAUTIL_MOUNT_CACHE_H
#define VONAUTIL_MOUNT_CACHE_H

#include "export.h"

VONA_BEGIN_DECLS

/* Mount type codes. */
typedef enum mount_type {
  MOUNT_TYPE_EXT = 0,     /* "ext2", "ext3" */
  MOUNT_TYPE_NFS = 1,     /* "nfs" */
  MOUNT_TYPE_TNTFS = 2,   /* "tntfs" */
  MOUNT_TYPE_CIFS = 3,    /* "cifs" */
  MOUNT_TYPE_UNKNOWN = 99 /* the path is under no cached mount */
} mount_type;

/* Longest type name kept, terminator excluded. */
#define MOUNT_CACHE_MAX_TYPE_NAME_LENGTH 63

/* Rebuilds the cache now. */
void mount_cache_update(void);
/* Marks the cache for rebuilding at the next query. */
void mount_cache_set_dirty(void);
/* The code of the mount that holds the path, or MOUNT_TYPE_UNKNOWN. */
mount_type mount_cache_get_mount_type(const char* path);
/* Copies the type name of the mount that holds the path, or "unknown", into buffer: at most
 * size - 1 characters and a terminator; nothing when size is not positive. */
void mount_cache_get_mount_type_str(char* buffer, int size, const char* path);
/* When the main storage is mounted, copies the text "/tmp/mnt/D" into buffer (cut as above)
 * and returns 1; otherwise returns 0 and leaves the buffer as it is. */
int mount_cache_get_main_mount_target(char* buffer, int size);

VONA_END_DECLS

#endif
