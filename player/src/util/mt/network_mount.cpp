#include "player/src/util/mt/network_mount.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/encoding_utils.h"
#include "player/src/util/mt/file_utils.h"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/path_encoding.h"
#include "player/src/util/mt/thread_key.hpp"
#include "player/src/util/mt/xml_parser.h"

TYPED_LIST_DEFINE(network_mount_list, network_mount, network_mount_free);

namespace {

const char* const kStatusWords[] = {"mounting", "mounted", "unmounting", "error"};
const int kNumStatuses = (int)(sizeof kStatusWords / sizeof kStatusWords[0]);

char* copy_or_null(const char* text) { return text != nullptr ? strdup(text) : nullptr; }

bool same_text(const char* a, const char* b) {
  if (a == nullptr || b == nullptr) return a == b;
  return strcmp(a, b) == 0;
}

// The per-thread current list.
void free_current(void* list) { network_mount_list_free(static_cast<network_mount_list*>(list)); }
vona::ThreadKey current_key{free_current};

// ---- Writing ------------------------------------------------------------------------------

void write_mount(FILE* out, const network_mount* m) {
  fprintf(out, "  <mount\n");
  fprintf(out, "    id=\"%lld\"\n", m->id);
  fprintf(out, "    path=\"%s\"\n", m->path);
  fprintf(out, "    type=\"%s\"\n", network_folder_type_to_string(m->type));
  fprintf(out, "    server=\"%s\"\n", m->server);
  fprintf(out, "    dir=\"%s\"\n", m->dir);
  if (m->type == NETWORK_FOLDER_TYPE_SMB) {
    fprintf(out, "    user_name=\"%s\"\n", m->user_name ? m->user_name : "");
    fprintf(out, "    password=\"%s\"\n", m->password ? m->password : "");
  } else if (m->type == NETWORK_FOLDER_TYPE_NFS) {
    fprintf(out, "    proto=\"%s\"\n", network_protocol_to_string(m->protocol));
  }
  if (m->server_ipaddr != nullptr) fprintf(out, "    server_ipaddr=\"%s\"\n", m->server_ipaddr);
  fprintf(out, "    status=\"%s\"\n", network_mount_status_to_string(m->status));
  fprintf(out, "    mount_tm=\"%d\"\n", m->mount_tm);
  fprintf(out, "  >\n");
  if (network_mount_get_num_locks(m) > 0) {
    fprintf(out, "    <locks>\n");
    for (int i = 0; i < m->locks->size; ++i) fprintf(out, "      <lock owner=\"%s\"/>\n", m->locks->items[i]);
    fprintf(out, "    </locks>\n");
  }
  fprintf(out, "  </mount>\n");
}

// ---- Reading ------------------------------------------------------------------------------

const char* quoted(const char* value) { return value != nullptr ? value : "(null)"; }

// Whether the text is a whole number: str_parse_long_long gives its default for anything
// else, so two different defaults tell a number from the rest.
bool parse_number(const char* text, long long* value) {
  *value = str_parse_long_long(text, -1);
  return *value != -1 || str_parse_long_long(text, 0) == -1;
}

// A required text attribute; null after "[network_mounts] Error: empty or missing mount NAME".
const char* required_text(const xml_element* e, const char* name) {
  const char* value = xml_element_get_attribute(e, name);
  if (value == nullptr || value[0] == '\0') {
    log_print("[network_mounts] Error: empty or missing mount %s: '%s'", name, quoted(value));
    return nullptr;
  }
  return value;
}

// The mount an element describes, or null after the message of its first fault.
network_mount* read_mount(const xml_element* e) {
  const char* id_text = xml_element_get_attribute(e, "id");
  long long id = 0;
  if (!parse_number(id_text, &id)) {
    log_print("[network_mounts] Error: invalid or missing mount id: '%s'", quoted(id_text));
    return nullptr;
  }
  const char* type_text = xml_element_get_attribute(e, "type");
  int type = type_text ? network_folder_type_from_string(type_text, (int)strlen(type_text), -1) : -1;
  if (type == -1) {
    log_print("[network_mounts] Error: invalid or missing mount type: '%s'", quoted(type_text));
    return nullptr;
  }
  const char* path = required_text(e, "path");
  if (path == nullptr) return nullptr;
  const char* server = required_text(e, "server");
  if (server == nullptr) return nullptr;
  const char* dir = required_text(e, "dir");
  if (dir == nullptr) return nullptr;
  const char* user_name = nullptr;
  const char* password = nullptr;
  int protocol = NETWORK_PROTOCOL_NONE;
  if (type == NETWORK_FOLDER_TYPE_SMB) {
    user_name = xml_element_get_attribute(e, "user_name");
    if (user_name == nullptr) {
      log_print("[network_mounts] Error: missing smb mount user_name");
      return nullptr;
    }
    password = xml_element_get_attribute(e, "password");
    if (password == nullptr) {
      log_print("[network_mounts] Error: missing smb mount password");
      return nullptr;
    }
  } else {
    const char* proto = xml_element_get_attribute(e, "proto");
    protocol = network_protocol_from_string(proto, -1);
    if (protocol == -1) {
      log_print("[network_mounts] Error: invalid or missing nfs mount proto: '%s'", quoted(proto));
      return nullptr;
    }
  }
  const char* status_text = xml_element_get_attribute(e, "status");
  int status = network_mount_status_from_string(status_text, -1);
  if (status == -1) {
    log_print("[network_mounts] Error: invalid or missing mount status: '%s'", quoted(status_text));
    return nullptr;
  }
  network_mount* m = network_mount_create(id, path, type, server, dir, user_name, password, protocol,
                                          xml_element_get_attribute(e, "server_ipaddr"));
  m->status = status;
  const char* mount_tm = xml_element_get_attribute(e, "mount_tm");
  if (mount_tm != nullptr) m->mount_tm = atoi(mount_tm);
  for (const xml_element* locks = xml_element_first_child_element_with_name(e, "locks"); locks != nullptr;
       locks = xml_element_next_sibling_element_with_name(locks, "locks")) {
    for (const xml_element* lock = xml_element_first_child_element_with_name(locks, "lock"); lock != nullptr;
         lock = xml_element_next_sibling_element_with_name(lock, "lock")) {
      const char* owner = xml_element_get_attribute(lock, "owner");
      if (owner == nullptr || owner[0] == '\0') {
        log_print("[network_mounts] Error: lock owner is empty or missing");
        continue;
      }
      network_mount_add_lock(m, owner);
    }
  }
  return m;
}

// The document of the file, or null after its message.
xml_document* read_document(const char* path) {
  char* text = FS_read_string(path, NETWORK_MOUNT_LIST_MAX_SIZE);
  if (text == nullptr) {
    log_print("[network_mounts] Error: failed to read %s: %s", path, strerror(errno));
    return nullptr;
  }
  xml_document* doc = xml_document_build_from_string(text);
  free(text);
  if (doc == nullptr) {
    log_print("[network_mounts] Error: failed to create XML document");
    return nullptr;
  }
  if (xml_document_is_error(doc)) {
    int id = 0, row = 0, col = 0;
    char* descr = nullptr;
    xml_document_get_error_info(doc, &id, &descr, &row, &col);
    log_print("[network_mounts] Parse error: id=%d, row=%d, col=%d, descr: %s", id, row, col, quoted(descr));
    free(descr);
    xml_document_free(doc);
    return nullptr;
  }
  return doc;
}

}  // namespace

network_mount* network_mount_create(long long id, const char* path, int type, const char* server, const char* dir,
                                    const char* user_name, const char* password, int protocol,
                                    const char* server_ipaddr) {
  MY_ASSERT(path);
  MY_ASSERT(server);
  MY_ASSERT(dir);
  network_mount* m = static_cast<network_mount*>(calloc(1, sizeof(network_mount)));
  m->id = id;
  m->path = strdup(path);
  m->type = type;
  m->server = strdup(server);
  m->dir = strdup(dir);
  m->user_name = copy_or_null(user_name);
  m->password = copy_or_null(password);
  m->protocol = protocol;
  m->server_ipaddr = copy_or_null(server_ipaddr);
  m->status = NETWORK_MOUNT_STATUS_MOUNTING;
  m->mount_tm = (int)time(nullptr);
  return m;
}

void network_mount_free(network_mount* m) {
  if (m == nullptr) return;
  free(m->path);
  free(m->server);
  free(m->dir);
  free(m->user_name);
  free(m->password);
  free(m->server_ipaddr);
  string_array_free(m->locks);
  free(m);
}

int network_mount_has_owner(const network_mount* m, const char* owner) {
  if (owner == nullptr) return 1;
  if (m->locks == nullptr) return 0;
  return string_array_find(m->locks, owner) >= 0;
}

int network_mount_add_lock(network_mount* m, const char* owner) {
  MY_ASSERT(owner);
  if (network_mount_has_owner(m, owner)) return 0;
  if (m->locks == nullptr) m->locks = string_array_create_empty();
  string_array_add(m->locks, owner);
  return 1;
}

int network_mount_remove_lock(network_mount* m, const char* owner) {
  int index = m->locks != nullptr && owner != nullptr ? string_array_find(m->locks, owner) : -1;
  if (index < 0) return 0;
  string_array_remove(m->locks, index);
  if (m->locks->size == 0) {
    string_array_free(m->locks);
    m->locks = nullptr;
  }
  return 1;
}

int network_mount_get_num_locks(const network_mount* m) { return m->locks != nullptr ? m->locks->size : 0; }

int network_mount_list_find(const network_mount_list* list, const network_mount* mount) {
  for (int i = 0; list != nullptr && i < list->num_items; ++i) {
    if (list->items[i] == mount) return i;
  }
  return -1;
}

int network_mount_list_find_by_id(const network_mount_list* list, long long id) {
  for (int i = 0; list != nullptr && i < list->num_items; ++i) {
    if (list->items[i]->id == id) return i;
  }
  return -1;
}

int network_mount_list_find_by_path(const network_mount_list* list, const char* path) {
  for (int i = 0; list != nullptr && i < list->num_items; ++i) {
    if (same_text(list->items[i]->path, path)) return i;
  }
  return -1;
}

int network_mount_list_find_by_source(const network_mount_list* list, int type, const char* server,
                                      const char* dir) {
  for (int i = 0; list != nullptr && i < list->num_items; ++i) {
    const network_mount* m = list->items[i];
    if (m->type != type || !same_text(m->dir, dir)) continue;
    if (same_text(m->server, server) || (m->server_ipaddr != nullptr && same_text(m->server_ipaddr, server))) {
      return i;
    }
  }
  return -1;
}

const char* network_mount_status_to_string(int status) {
  if (status >= 0 && status < kNumStatuses) return kStatusWords[status];
  log_print("Warning: invalid network mount status id: %d", status);
  return "";
}

int network_mount_status_from_string(const char* text, int default_value) {
  for (int i = 0; text != nullptr && i < kNumStatuses; ++i) {
    if (strcmp(text, kStatusWords[i]) == 0) return i;
  }
  return default_value;
}

int network_mount_list_save_to_file(const network_mount_list* list, const char* path, long long max_mount_id) {
  std::string tmp = std::string(path) + ".tmp";
  FILE* out = FS_fopen(tmp.c_str(), "w");
  if (out == nullptr) {
    log_print("Error: failed to open_write(%s): %s", tmp.c_str(), strerror(errno));
    return -1;
  }
  fprintf(out, "<network_mounts>\n");
  fprintf(out, "  <max_mount_id value=\"%lld\"/>\n", max_mount_id);
  for (int i = 0; list != nullptr && i < list->num_items; ++i) write_mount(out, list->items[i]);
  fprintf(out, "</network_mounts>\n");
  fclose(out);
  if (FS_rename(tmp.c_str(), path) != 0) {
    log_print("Error: failed to rename(%s, %s): %s", tmp.c_str(), path, strerror(errno));
    FS_unlink(tmp.c_str());
    return -1;
  }
  return 0;
}

int network_mount_list_load_from_file(network_mount_list* list, long long* max_mount_id, const char* path) {
  MY_ASSERT(list);
  if (max_mount_id != nullptr) *max_mount_id = 0;
  xml_document* doc = read_document(path);
  if (doc == nullptr) return 0;
  xml_element* root = xml_document_get_root_element(doc);
  if (root == nullptr) {
    log_print("[network_mounts] Error: failed to get root XML element");
    xml_document_free(doc);
    return 0;
  }
  if (strcmp(xml_text_get_text((const xml_node*)root), "network_mounts") != 0) {
    log_print("[network_mounts] Error: invalid root element");
    xml_document_free(doc);
    return 0;
  }
  for (xml_element* e = xml_element_first_child_element(root); e != nullptr; e = xml_element_next_sibling_element(e)) {
    const char* name = xml_text_get_text((const xml_node*)e);
    if (strcmp(name, "max_mount_id") == 0) {
      if (max_mount_id != nullptr) *max_mount_id = str_parse_long_long(xml_element_get_attribute(e, "value"), 0);
    } else if (strcmp(name, "mount") == 0) {
      network_mount* m = read_mount(e);
      if (m != nullptr) network_mount_list_add(list, m);
    }
  }
  xml_document_free(doc);
  return 1;
}

network_mount_list* network_mount_list_get_current(void) {
  network_mount_list* list = static_cast<network_mount_list*>(current_key.get());
  if (list == nullptr) {
    list = network_mount_list_create();
    current_key.set(list);
  }
  return list;
}

int network_mount_list_reload_current(void) {
  network_mount_list* list = network_mount_list_get_current();
  network_mount_list_clear(list);
  return network_mount_list_load_from_file(list, nullptr, vona::fixed_path(NETWORK_MOUNT_LIST_PATH).c_str());
}

int network_mount_list_save_current(long long max_mount_id) {
  return network_mount_list_save_to_file(network_mount_list_get_current(),
                                         vona::fixed_path(NETWORK_MOUNT_LIST_PATH).c_str(), max_mount_id);
}

char* do_get_nfs_folder_mount_source(char* buffer, size_t size, const char* server, const char* dir) {
  int encoding = FS_get_nfs_path_encoding();
  char* server_holder = nullptr;
  char* dir_holder = nullptr;
  snprintf(buffer, size, "%s:%s", MY_convert_string_to_external(&server_holder, server, encoding),
           MY_convert_string_to_external(&dir_holder, dir, encoding));
  free(server_holder);
  free(dir_holder);
  return buffer;
}
