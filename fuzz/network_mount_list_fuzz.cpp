// The network mount list loader on arbitrary files: every mount it keeps must be one the
// daemon could have written (an id, the required texts, known words), and a list whose values
// the file can carry (no '"', '&' or control characters) must come back equal after a save.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_file.hpp"
#include "vonautil.h"

namespace {

const bool initialized = (xml_document_initialize(), true);

bool carried(const char* value) {
  for (const unsigned char* p = (const unsigned char*)value; p && *p; ++p) {
    if (*p == '"' || *p == '&' || *p < 0x20) return false;
  }
  return true;
}

std::string describe(const network_mount* m) {
  std::string text = std::to_string(m->id) + '|' + m->path + '|' + std::to_string(m->type) + '|' + m->server + '|' +
                     m->dir + '|' + (m->user_name ? m->user_name : "-") + '|' + (m->password ? m->password : "-") +
                     '|' + std::to_string(m->protocol) + '|' + (m->server_ipaddr ? m->server_ipaddr : "-") + '|' +
                     std::to_string(m->status) + '|' + std::to_string(m->mount_tm);
  for (int i = 0; m->locks && i < m->locks->size; ++i) text += '|' + std::string(m->locks->items[i]);
  return text;
}

void check(const network_mount* m, bool* round_trip) {
  if (!*m->path || !*m->server || !*m->dir) abort();
  if (m->type != NETWORK_FOLDER_TYPE_SMB && m->type != NETWORK_FOLDER_TYPE_NFS) abort();
  if (m->status < 0 || m->status > NETWORK_MOUNT_STATUS_ERROR) abort();
  if (m->type == NETWORK_FOLDER_TYPE_SMB && (m->user_name == nullptr || m->password == nullptr)) abort();
  if (m->type == NETWORK_FOLDER_TYPE_NFS && m->protocol != NETWORK_PROTOCOL_UDP && m->protocol != NETWORK_PROTOCOL_TCP) {
    abort();
  }
  const char* values[] = {m->path, m->server, m->dir, m->user_name, m->password, m->server_ipaddr};
  for (const char* value : values) *round_trip = *round_trip && carried(value);
  for (int i = 0; m->locks && i < m->locks->size; ++i) {
    if (!*m->locks->items[i]) abort();
    *round_trip = *round_trip && carried(m->locks->items[i]);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string& path = fuzz_file(data, size);
  network_mount_list* list = network_mount_list_create();
  long long max_mount_id = 0;
  network_mount_list_load_from_file(list, &max_mount_id, path.c_str());
  bool round_trip = true;
  for (int i = 0; i < list->num_items; ++i) check(list->items[i], &round_trip);
  if (round_trip) {
    std::string saved = path + ".xml";
    network_mount_list* again = network_mount_list_create();
    long long max_again = -1;
    if (network_mount_list_save_to_file(list, saved.c_str(), max_mount_id) != 0) abort();
    if (!network_mount_list_load_from_file(again, &max_again, saved.c_str())) abort();
    if (max_again != max_mount_id || again->num_items != list->num_items) abort();
    for (int i = 0; i < list->num_items; ++i) {
      if (describe(list->items[i]) != describe(again->items[i])) abort();
    }
    network_mount_list_free(again);
    unlink(saved.c_str());
  }
  network_mount_list_free(list);
  return 0;
}
