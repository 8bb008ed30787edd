// The storage daemon's files on arbitrary input: the storage list gives storages with id and
// name and without blank optional texts; storages.txt read back, saved and read again saves
// the same text (a load of a saved cache is a fixed point).
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_root.hpp"
#include "vonautil.h"

namespace {

std::string read_whole(const std::string& path) {
  char* text = FS_read_string_unlimited(path.c_str());
  std::string copy = text ? text : "(none)";
  free(text);
  return copy;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const bool initialized = (xml_document_initialize(), true);
  (void)initialized;
  fuzz_fixed_file("/tmp/run/storage_list.xml", data, size);
  storage_info_list* list = storage_info_list_create();
  storage_info_list_load(list);
  for (int i = 0; i < list->num_items; ++i) {
    const storage_info* info = list->items[i];
    if (info->id == nullptr || info->name == nullptr) abort();
    if (info->uuid && str_seg_is_spaces(str_to_seg(info->uuid))) abort();
    if (info->mount_path && str_seg_is_spaces(str_to_seg(info->mount_path))) abort();
    if (storage_info_list_find_by_name(list, info->name) == nullptr) abort();
  }
  storage_info_list_free(list);

  fuzz_fixed_file("/tmp/run/storages.txt", data, size);
  const std::string path = fuzz_root() + "/tmp/run/storages.txt";
  storage_cache_load();
  storage_cache_save();
  std::string first = read_whole(path);
  storage_cache_load();
  storage_cache_save();
  if (read_whole(path) != first) abort();
  return 0;
}
