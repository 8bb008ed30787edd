#include "player/src/util/mt/storage_info.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "player/src/util/mt/file_utils.h"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/xml_parser.h"

namespace {

const char kContext[] = "parse_storage_info()";

char* copy_or_null(const char* text) { return text ? strdup(text) : nullptr; }

// The text of an optional child; null when it is missing, empty or only white space.
const char* optional_text(const xml_element* storage, const char* name) {
  const char* text = xml_utils_get_optional_child_element_text(storage, name, kContext);
  return text && !str_seg_is_spaces(str_to_seg(text)) ? text : nullptr;
}

void add_storages(storage_info_list* list, const xml_element* storages) {
  for (xml_element* e = xml_element_first_child_element(storages); e; e = xml_element_next_sibling_element(e)) {
    if (strcmp(xml_text_get_text((const xml_node*)e), "storage") != 0) continue;
    if (xml_utils_get_optional_child_element_int(e, "is_persistfs_capable", 0, kContext) != 0) continue;
    const char* id = xml_utils_get_optional_child_element_text(e, "id", kContext);
    const char* name = xml_utils_get_optional_child_element_text(e, "name", kContext);
    if (id == nullptr || name == nullptr) continue;
    storage_info_list_add(list, storage_info_create(id, name, optional_text(e, "uuid"), optional_text(e, "mount_path")));
  }
}

bool load_document(storage_info_list* list, const xml_document* doc) {
  if (xml_document_is_error(doc)) {
    int id = 0, row = 0, col = 0;
    char* descr = nullptr;
    xml_document_get_error_info(doc, &id, &descr, &row, &col);
    log_print("[storage_info] Parse error: id=%d, row=%d, col=%d, descr: %s", id, row, col, descr ? descr : "");
    free(descr);
    return false;
  }
  const xml_element* root = xml_document_get_root_element(doc);
  if (root == nullptr) {
    log_print("[storage_info] Error: failed to get root XML element");
    return false;
  }
  if (strcmp(xml_text_get_text((const xml_node*)root), "storage_list") != 0) {
    log_print("[storage_info] Error: invalid root element");
    return false;
  }
  const xml_element* storages = xml_element_first_child_element_with_name(root, "storages");
  if (storages) add_storages(list, storages);
  return true;
}

}  // namespace

TYPED_LIST_DEFINE(storage_info_list, storage_info, storage_info_free);

storage_info* storage_info_create(const char* id, const char* name, const char* uuid, const char* mount_path) {
  MY_ASSERT(id);
  MY_ASSERT(name);
  storage_info* info = static_cast<storage_info*>(calloc(1, sizeof(storage_info)));
  info->id = strdup(id);
  info->name = strdup(name);
  info->uuid = copy_or_null(uuid);
  info->mount_path = copy_or_null(mount_path);
  return info;
}

void storage_info_free(storage_info* info) {
  if (info == nullptr) return;
  free(info->id);
  free(info->name);
  free(info->uuid);
  free(info->mount_path);
  free(info);
}

int storage_info_list_load(storage_info_list* list) {
  std::string path = vona::fixed_path("/tmp/run/storage_list.xml");
  char* text = FS_read_string(path.c_str(), STORAGE_LIST_MAX_FILE_SIZE);
  if (text == nullptr) {
    if (errno != ENOENT) log_print("[storage_info] Error: failed to read %s: %s", path.c_str(), strerror(errno));
    return 0;
  }
  xml_document* doc = xml_document_build_from_string(text);
  free(text);
  if (doc == nullptr) {
    log_print("[storage_info] Error: failed to create XML document");
    return 0;
  }
  bool loaded = load_document(list, doc);
  xml_document_free(doc);
  return loaded;
}

storage_info* storage_info_list_find_by_name(const storage_info_list* list, const char* name) {
  MY_ASSERT(name);
  for (int i = 0; i < list->num_items; ++i) {
    if (strcmp(list->items[i]->name, name) == 0) return list->items[i];
  }
  return nullptr;
}
