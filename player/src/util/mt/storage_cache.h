/* The process-wide index of mounted storages: mount path by name, by UUID and by label.
 *
 * Whoever learns the storages (the storage daemon) adds them and saves the index to
 * "/tmp/run/storages.txt" (a fixed path, below VONAUTIL_ROOT when that is set); other
 * processes load it from there. The file has four lines per storage, in the order of the
 * mount paths: mount path, name, UUID, label; a missing UUID or label is an empty line.
 * Loading passes an empty UUID or label on as an empty text, so after a round trip the
 * empty text finds such a storage.
 *
 * storage_cache_reset must run once before anything else (a lookup before it is an assertion
 * failure). A later storage replaces an earlier one under the same name, UUID, label or mount
 * path; nothing is ever removed except by a reset or a load.
 *
 * Every function holds the cache's mutex for its whole run; lookups return copies, so their
 * results survive later changes. */
#ifndef VONAUTIL_STORAGE_CACHE_H
#define VONAUTIL_STORAGE_CACHE_H

#include "export.h"

VONA_BEGIN_DECLS

/* Longest line read back from the file, terminator excluded. */
#define STORAGE_CACHE_MAX_LINE_LENGTH 1023

/* Empties the index (creating it the first time). */
void storage_cache_reset(void);
/* A null or empty mount path is an assertion failure ("mount_path", "mount_path[0]"); a null
 * or empty name adds nothing. uuid and label may be null. */
void storage_cache_add_storage(const char* mount_path, const char* name, const char* uuid, const char* label);
/* A new copy of the mount path (free()), or null. */
char* storage_cache_get_mount_path_by_name(const char* name);
char* storage_cache_get_mount_path_by_uuid(const char* uuid);
char* storage_cache_get_mount_path_by_label(const char* label);
/* Writes the file in place (no temporary file); nothing when it cannot be opened. */
void storage_cache_save(void);
/* Resets the index and reads the file back: complete groups of four lines, each stripped of
 * white space, a group added when its mount path and name are not empty. */
void storage_cache_load(void);

VONA_END_DECLS

#endif
