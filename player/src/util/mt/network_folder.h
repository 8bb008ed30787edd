/* Network folders: the user's SMB shares and NFS exports, with a name, a server, a directory
 * and credentials, and their persistent store "/config/network_folders.properties".
 *
 * Also the words of the folder type and the NFS protocol that network mounts share:
 *   folder type   0 "smb" (caption "SMB"), 1 "nfs" (caption "NFS")
 *   NFS protocol  0 "udp" (caption "UDP"), 1 "tcp" (caption "TCP"); -1 for none
 * An unknown code converts to "" and logs "Warning: invalid network folder type id: %d" or
 * "Warning: invalid protocol id: %d"; its caption is null.
 *
 * The store (properties format), keys per folder index i = 0, 1, 2 ...:
 *   "id_counter"     the number of the next generated id; default 1, below 1 read as 1
 *   "id.%d"          folder id; generated ("NF%03lld" of the counter) when missing
 *   "name.%d"        folder name; the first index without a name ends the list
 *   "type.%d"        integer, default 0
 *   "server.%d", "directory.%d"   required: a folder lacking either is skipped
 *   "user.%d", "password.%d"      default empty
 *   "protocol.%d"    integer, default 1; written only when not -1
 * The password is kept in clear text. An SMB folder's server and directory are read in lower
 * case, cut to 255 characters each. Saving writes the whole store atomically (temporary file,
 * rename; the file keeps its mode) and then calls sync() so that it survives a power cut.
 *
 * Each thread has its own current list (created empty on first use, freed when the thread
 * ends); threads and processes share folders through the store file only. */
#ifndef VONAUTIL_NETWORK_FOLDER_H
#define VONAUTIL_NETWORK_FOLDER_H

#include "common.h"
#include "export.h"
#include "typed_list.h"

/* Folder types. */
#define NETWORK_FOLDER_TYPE_SMB 0
#define NETWORK_FOLDER_TYPE_NFS 1

/* NFS protocols. */
#define NETWORK_PROTOCOL_NONE (-1)
#define NETWORK_PROTOCOL_UDP 0
#define NETWORK_PROTOCOL_TCP 1

/* The store, below VONAUTIL_ROOT when that is set. */
#define NETWORK_FOLDERS_STORE_PATH "/config/network_folders.properties"

VONA_BEGIN_DECLS

typedef struct network_folder {
  char* id;        /* owned, e.g. "NF001" */
  char* name;      /* owned */
  int type;        /* NETWORK_FOLDER_TYPE_* */
  char* server;    /* owned */
  char* directory; /* owned: share name or exported directory */
  char* user;      /* owned, may be empty */
  char* password;  /* owned, may be empty; clear text */
  int protocol;    /* NETWORK_PROTOCOL_*: -1 for none */
} network_folder;

TYPED_LIST_DECLARE(network_folder_list, network_folder);

/* ---- Folder type and NFS protocol words ----------------------------------------------------- */

/* "smb", "nfs"; "" with a warning for another code. */
const char* network_folder_type_to_string(int type);
/* The type whose word is exactly the first `length` characters of text (length 3, "smb" or
 * "nfs"); default_value otherwise (also for a null text). */
int network_folder_type_from_string(const char* text, int length, int default_value);
/* "SMB", "NFS"; null for another code. */
const char* get_network_folder_type_caption(int type);

/* "udp", "tcp"; "" with a warning for another code. */
const char* network_protocol_to_string(int protocol);
/* The protocol whose word equals text; default_value otherwise (also for a null text). */
int network_protocol_from_string(const char* text, int default_value);
/* "UDP", "TCP"; null for another code. */
const char* get_network_protocol_caption(int protocol);

/* ---- Record and list ------------------------------------------------------------------------ */

/* A folder with copies of the texts; every text is required (asserts "id", "name", "server",
 * "directory", "user", "password"). Free it with network_folder_free (null is ignored). */
network_folder* network_folder_create(const char* id, const char* name, int type, const char* server,
                                      const char* directory, const char* user, const char* password,
                                      int protocol);
void network_folder_free(network_folder* folder);

/* Lookups. Names and ids match exactly (same length, same bytes); a null list finds nothing.
 * find_by_type_and_name: index of the first folder of that type with that name, or -1.
 * get_by_name: the first folder with that name, whatever its type, or null. */
int network_folder_list_find_by_type_and_name(const network_folder_list* list, int type, const char* name,
                                              int length);
network_folder* network_folder_list_get_by_name(const network_folder_list* list, const char* name, int length);
/* By id, as a segment or a text: index or -1, respectively the folder or null. */
int network_folder_list_find_by_id_seg(const network_folder_list* list, str_seg id);
network_folder* network_folder_list_get_by_id_seg(const network_folder_list* list, str_seg id);
int network_folder_list_find_by_id(const network_folder_list* list, const char* id);
network_folder* network_folder_list_get_by_id(const network_folder_list* list, const char* id);

/* Formats "NF%03lld" of *counter into *buffer with sprintf_shared (the caller owns the
 * buffer and frees it with free()), increments *counter and returns the text (*buffer). */
char* network_folder_generate_id(char** buffer, long long* counter);

/* ---- Store ---------------------------------------------------------------------------------- */

/* Writes the store: "id_counter" = counter and every folder by its list index, dumped to the
 * log under the title "Saving network folders list" first. 0, or -1 when the save failed
 * (the previous store then stays in place). `ignored` is not used. */
int network_folder_list_save(const network_folder_list* list, int ignored, long long counter);

/* Appends the stored folders to the list (asserts "network_folders"). A missing store logs
 * "Stored network folders are not found." and appends nothing; with verbose set a loaded
 * store is dumped to the log under the title "Network folders list is loaded". When counter
 * is not null it receives the next id number, and a store in which ids were generated is saved
 * back at once, so that those ids stay the same at the next load. */
void network_folder_list_load(network_folder_list* network_folders, long long* counter, int verbose);

/* ---- The calling thread's current list ------------------------------------------------------ */

/* The thread's own list, created empty on first use and freed when the thread ends. */
network_folder_list* network_folder_list_get_current(void);
/* Clears the thread's list and loads the store into it (counter and verbose as for load). */
void network_folder_list_reload_current(long long* counter, int verbose);
/* Saves the thread's list with that counter: 0 or -1 as for save. */
int network_folder_list_save_current(long long counter);

VONA_END_DECLS

#endif
