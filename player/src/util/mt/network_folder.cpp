// Network folders: record, list and lookups, id generation, the properties store and the
// calling thread's current list.
#include "player/src/util/mt/network_folder.h"

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/properties.h"
#include "player/src/util/mt/string_buffer.h"
#include "player/src/util/mt/thread_key.hpp"

void network_folder_free(network_folder* folder) {
  if (folder == nullptr) return;
  free(folder->id);
  free(folder->name);
  free(folder->server);
  free(folder->directory);
  free(folder->user);
  free(folder->password);
  free(folder);
}

TYPED_LIST_DEFINE(network_folder_list, network_folder, network_folder_free);

namespace {

// A word table: the code is the index.
struct Word {
  const char* word;
  const char* caption;
};

const Word kFolderTypes[] = {{"smb", "SMB"}, {"nfs", "NFS"}};
const Word kProtocols[] = {{"udp", "UDP"}, {"tcp", "TCP"}};

template <size_t N>
const Word* word_of(const Word (&table)[N], int code) {
  return code >= 0 && (size_t)code < N ? &table[code] : nullptr;
}

// The segment's code in the table, or default_value.
template <size_t N>
int code_of(const Word (&table)[N], const char* text, int length, int default_value) {
  if (text == nullptr) return default_value;
  for (size_t i = 0; i < N; ++i) {
    if ((size_t)length == strlen(table[i].word) && memcmp(text, table[i].word, (size_t)length) == 0) return (int)i;
  }
  return default_value;
}

// Segment equality: the same length and the same bytes.
bool seg_equals(const char* text, const char* start, int length) {
  return (int)strlen(text) == length && memcmp(text, start, (size_t)length) == 0;
}

}  // namespace

// ---- Words ----------------------------------------------------------------------------------

const char* network_folder_type_to_string(int type) {
  const Word* w = word_of(kFolderTypes, type);
  if (w != nullptr) return w->word;
  log_print("Warning: invalid network folder type id: %d", type);
  return "";
}

int network_folder_type_from_string(const char* text, int length, int default_value) {
  return code_of(kFolderTypes, text, length, default_value);
}

const char* get_network_folder_type_caption(int type) {
  const Word* w = word_of(kFolderTypes, type);
  return w != nullptr ? w->caption : nullptr;
}

const char* network_protocol_to_string(int protocol) {
  const Word* w = word_of(kProtocols, protocol);
  if (w != nullptr) return w->word;
  log_print("Warning: invalid protocol id: %d", protocol);
  return "";
}

int network_protocol_from_string(const char* text, int default_value) {
  if (text == nullptr) return default_value;
  return code_of(kProtocols, text, (int)strlen(text), default_value);
}

const char* get_network_protocol_caption(int protocol) {
  const Word* w = word_of(kProtocols, protocol);
  return w != nullptr ? w->caption : nullptr;
}

// ---- Record and lookups ---------------------------------------------------------------------

network_folder* network_folder_create(const char* id, const char* name, int type, const char* server,
                                      const char* directory, const char* user, const char* password,
                                      int protocol) {
  MY_ASSERT(id);
  MY_ASSERT(name);
  MY_ASSERT(server);
  MY_ASSERT(directory);
  MY_ASSERT(user);
  MY_ASSERT(password);
  network_folder* folder = (network_folder*)calloc(1, sizeof(network_folder));
  folder->id = strdup(id);
  folder->name = strdup(name);
  folder->type = type;
  folder->server = strdup(server);
  folder->directory = strdup(directory);
  folder->user = strdup(user);
  folder->password = strdup(password);
  folder->protocol = protocol;
  return folder;
}

int network_folder_list_find_by_type_and_name(const network_folder_list* list, int type, const char* name,
                                              int length) {
  if (list == nullptr) return -1;
  for (int i = 0; i < list->num_items; ++i) {
    const network_folder* f = list->items[i];
    if (f->type == type && seg_equals(f->name, name, length)) return i;
  }
  return -1;
}

network_folder* network_folder_list_get_by_name(const network_folder_list* list, const char* name, int length) {
  if (list == nullptr) return nullptr;
  for (int i = 0; i < list->num_items; ++i) {
    if (seg_equals(list->items[i]->name, name, length)) return list->items[i];
  }
  return nullptr;
}

int network_folder_list_find_by_id_seg(const network_folder_list* list, str_seg id) {
  if (list == nullptr) return -1;
  for (int i = 0; i < list->num_items; ++i) {
    if (seg_equals(list->items[i]->id, id.start, id.length)) return i;
  }
  return -1;
}

network_folder* network_folder_list_get_by_id_seg(const network_folder_list* list, str_seg id) {
  int i = network_folder_list_find_by_id_seg(list, id);
  return i < 0 ? nullptr : list->items[i];
}

int network_folder_list_find_by_id(const network_folder_list* list, const char* id) {
  MY_ASSERT(id);
  return network_folder_list_find_by_id_seg(list, str_to_seg(id));
}

network_folder* network_folder_list_get_by_id(const network_folder_list* list, const char* id) {
  MY_ASSERT(id);
  return network_folder_list_get_by_id_seg(list, str_to_seg(id));
}

char* network_folder_generate_id(char** buffer, long long* counter) {
  MY_ASSERT(buffer);
  MY_ASSERT(counter);
  char* id = sprintf_shared(buffer, "NF%03lld", *counter);
  if (*counter < LLONG_MAX) ++*counter;  // a damaged store's huge counter must not overflow
  return id;
}

// ---- Store ----------------------------------------------------------------------------------

namespace {

// The key "NAME.INDEX" of a folder.
struct IndexedKey {
  char text[48];
  IndexedKey(const char* name, int index) { snprintf(text, sizeof text, "%s.%d", name, index); }
};

// The store's content on the log: the title line, then one line per entry.
void log_dump(const properties* props, const char* title) {
  log_print("%s:", title);
  for (int i = 0; i < props->count; ++i) log_print("%s = %s", props->keys[i], props->values[i]);
}

// An SMB server or share name as the folder keeps it: lower case, at most 255 characters.
std::string smb_lower(const char* text) {
  std::string s(text, strnlen(text, 255));
  str_to_lower(&s[0]);
  return s;
}

// The folder at index i of the store, or null when a required key is missing. A missing id is
// generated from *counter and *generated is set.
network_folder* load_folder(const properties* store, int i, const char* name, char** id_buffer,
                            long long* counter, bool* generated) {
  const char* id = properties_get(store, IndexedKey("id", i).text);
  if (id == nullptr) {
    id = network_folder_generate_id(id_buffer, counter);
    *generated = true;
  }
  int type = properties_get_int(store, IndexedKey("type", i).text, NETWORK_FOLDER_TYPE_SMB);
  const char* server = properties_get(store, IndexedKey("server", i).text);
  const char* directory = properties_get(store, IndexedKey("directory", i).text);
  if (server == nullptr || directory == nullptr) return nullptr;
  std::string server_text = server;
  std::string directory_text = directory;
  if (type == NETWORK_FOLDER_TYPE_SMB) {
    server_text = smb_lower(server);
    directory_text = smb_lower(directory);
  }
  const char* user = properties_get_str(store, IndexedKey("user", i).text, "");
  const char* password = properties_get_str(store, IndexedKey("password", i).text, "");
  int protocol = properties_get_int(store, IndexedKey("protocol", i).text, NETWORK_PROTOCOL_TCP);
  return network_folder_create(id, name, type, server_text.c_str(), directory_text.c_str(), user, password,
                               protocol);
}

}  // namespace

int network_folder_list_save(const network_folder_list* list, int ignored, long long counter) {
  (void)ignored;
  MY_ASSERT(list);
  properties* store = properties_create_empty();
  properties_force_add_last_long_long(store, "id_counter", counter);
  for (int i = 0; i < list->num_items; ++i) {
    const network_folder* f = list->items[i];
    properties_force_add_last(store, IndexedKey("id", i).text, f->id);
    properties_force_add_last(store, IndexedKey("name", i).text, f->name);
    properties_force_add_last_int(store, IndexedKey("type", i).text, f->type);
    properties_force_add_last(store, IndexedKey("server", i).text, f->server);
    properties_force_add_last(store, IndexedKey("directory", i).text, f->directory);
    properties_force_add_last(store, IndexedKey("user", i).text, f->user);
    properties_force_add_last(store, IndexedKey("password", i).text, f->password);
    if (f->protocol != NETWORK_PROTOCOL_NONE) {
      properties_force_add_last_int(store, IndexedKey("protocol", i).text, f->protocol);
    }
  }
  log_dump(store, "Saving network folders list");
  int result = properties_save_to_internal_file_using_tmp(store, vona::fixed_path(NETWORK_FOLDERS_STORE_PATH).c_str(), 0);
  properties_free(store);
  sync();
  return result;
}

void network_folder_list_load(network_folder_list* network_folders, long long* counter, int verbose) {
  MY_ASSERT(network_folders);
  properties* store = properties_load_from_internal_file_with_index(vona::fixed_path(NETWORK_FOLDERS_STORE_PATH).c_str());
  if (store == nullptr) {
    log_print("Stored network folders are not found.");
    store = properties_create_with_index();
  } else if (verbose) {
    log_dump(store, "Network folders list is loaded");
  }
  long long next_id = properties_get_long_long(store, "id_counter", 1);
  if (next_id < 1) next_id = 1;

  // Appended after what the list already holds, so that saving back writes exactly them.
  network_folder_list* loaded = network_folder_list_create();
  char* id_buffer = nullptr;
  bool generated = false;
  for (int i = 0;; ++i) {
    const char* name = properties_get(store, IndexedKey("name", i).text);
    if (name == nullptr) break;
    network_folder* folder = load_folder(store, i, name, &id_buffer, &next_id, &generated);
    if (folder != nullptr) network_folder_list_add(loaded, folder);
  }
  free(id_buffer);
  properties_free(store);

  if (counter != nullptr) {
    if (generated) network_folder_list_save(loaded, 0, next_id);
    *counter = next_id;
  }
  for (int i = 0; i < loaded->num_items; ++i) network_folder_list_add(network_folders, loaded->items[i]);
  loaded->num_items = 0;
  network_folder_list_free(loaded);
}

// ---- The calling thread's current list ------------------------------------------------------

namespace {

void free_current_list(void* list) { network_folder_list_free(static_cast<network_folder_list*>(list)); }

vona::ThreadKey current_key{free_current_list};

}  // namespace

network_folder_list* network_folder_list_get_current(void) {
  network_folder_list* list = static_cast<network_folder_list*>(current_key.get());
  if (list == nullptr) {
    list = network_folder_list_create();
    current_key.set(list);
  }
  return list;
}

void network_folder_list_reload_current(long long* counter, int verbose) {
  network_folder_list* list = network_folder_list_get_current();
  network_folder_list_clear(list);
  network_folder_list_load(list, counter, verbose);
}

int network_folder_list_save_current(long long counter) {
  return network_folder_list_save(network_folder_list_get_current(), 0, counter);
}
