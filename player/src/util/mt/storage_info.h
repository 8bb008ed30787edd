/* The storage list that the storage daemon ("storage_manager") publishes in
 * "/tmp/run/storage_list.xml" (a fixed path, below VONAUTIL_ROOT when that is set):
 *
 *     <storage_list>
 *       <storages>
 *         <storage>
 *           <id>sda1</id> <name>USB disk</name>             required
 *           <uuid>4A2F-11C0</uuid> <mount_path>/tmp/mnt/storage/sda1</mount_path>   optional
 *           <is_persistfs_capable>0</is_persistfs_capable>  optional; non-zero: not listed
 *         </storage>
 *       </storages>
 *     </storage_list>
 *
 * Only "storage" children of the first "storages" element count; a storage without id or
 * name is skipped; an empty or blank uuid or mount path counts as absent. At most the first
 * STORAGE_LIST_MAX_FILE_SIZE bytes of the file are read. Call xml_document_initialize() once
 * before loading, as before any XML parsing. */
#ifndef VONAUTIL_STORAGE_INFO_H
#define VONAUTIL_STORAGE_INFO_H

#include "export.h"
#include "typed_list.h"

VONA_BEGIN_DECLS

#define STORAGE_LIST_MAX_FILE_SIZE 131072

typedef struct storage_info {
  char* id;         /* owned, never null */
  char* name;       /* owned, never null */
  char* uuid;       /* owned, or null */
  char* mount_path; /* owned, or null */
} storage_info;

/* Copies the texts. A null id or name is an assertion failure ("id", "name"). */
storage_info* storage_info_create(const char* id, const char* name, const char* uuid, const char* mount_path);
/* Null is accepted. */
void storage_info_free(storage_info* info);

TYPED_LIST_DECLARE(storage_info_list, storage_info);

/* Appends the storages of "/tmp/run/storage_list.xml" to the list, in document order. 1 when
 * the file was parsed and its root is "storage_list" (also with no "storages" element);
 * 0 when it does not exist (silently) or cannot be read or parsed, or has another root
 * (each logged with the tag "[storage_info]"). */
int storage_info_list_load(storage_info_list* list);
/* The first storage whose name equals `name` exactly, or null. A null name is an assertion
 * failure ("name"). */
storage_info* storage_info_list_find_by_name(const storage_info_list* list, const char* name);

VONA_END_DECLS

#endif
