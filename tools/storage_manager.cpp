// vonautil daemon storage_manager: a stand-in for the player's storage daemon. It treats the
// folders it is given as mounted storages, publishes them as the daemon does, and answers
// every request of the storage client.
#include <sys/statvfs.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "assignments.hpp"
#include "command.hpp"
#include "daemon.hpp"
#include "player/src/util/mt/fixed_path.hpp"

namespace tool {

namespace {

const char kName[] = "daemon";
const char kListPath[] = "/tmp/run/storage_list.xml";
const char kCachePath[] = "/tmp/run/storages.txt";

struct Storage {
  std::string name;
  std::string path;
  std::string id;
  std::string uuid;
};

// A stable made-up volume serial for a folder, as FAT volumes show them ("4A2F-11C0").
std::string folder_uuid(const std::string& path) {
  unsigned hash = 2166136261u;
  for (unsigned char c : path) hash = (hash ^ c) * 16777619u;
  char text[16];
  snprintf(text, sizeof text, "%04X-%04X", hash >> 16, hash & 0xFFFF);
  return text;
}

// Appends <NAME>TEXT</NAME>, the text escaped as the XML writer escapes attribute values.
void append_element(str_buf* xml, const char* name, const std::string& text) {
  str_buf quoted{};
  xmlp_append(&quoted, text.c_str());  // "\"TEXT\" "
  str_buf_append_fmt(xml, "      <%s>%.*s</%s>\n", name, quoted.length - 3, quoted.data + 1, name);
  free(quoted.data);
}

// Writes the file through "%s.tmp" and a rename, so that readers never see half of it.
bool publish(const std::string& path, str_buf* text) {
  std::string temporary = path + ".tmp";
  return str_buf_write_to_file(text, temporary.c_str()) && FS_rename(temporary.c_str(), path.c_str()) == 0;
}

bool publish_storage_list(const std::vector<Storage>& storages) {
  str_buf xml{};
  str_buf_append_fmt(&xml, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<storage_list>\n  <storages>\n");
  for (const Storage& storage : storages) {
    str_buf_append_fmt(&xml, "    <storage>\n");
    append_element(&xml, "id", storage.id);
    append_element(&xml, "name", storage.name);
    append_element(&xml, "uuid", storage.uuid);
    append_element(&xml, "mount_path", storage.path);
    str_buf_append_fmt(&xml, "      <is_persistfs_capable>0</is_persistfs_capable>\n    </storage>\n");
  }
  str_buf_append_fmt(&xml, "  </storages>\n</storage_list>\n");
  bool written = publish(vona::fixed_path(kListPath), &xml);
  free(xml.data);
  return written;
}

void publish_storage_cache(const std::vector<Storage>& storages) {
  storage_cache_reset();
  for (const Storage& storage : storages) {
    storage_cache_add_storage(storage.path.c_str(), storage.name.c_str(), storage.uuid.c_str(), storage.name.c_str());
  }
  storage_cache_save();
}

properties* error_response(const std::string& description) {
  properties* response = simple_ipc_server_create_response(SIMPLE_IPC_STATUS_ERROR);
  properties_set(response, "errdesc", description.c_str());
  return response;
}

// The figures of the file system that holds the path, as df shows them.
properties* disk_space_usage(const properties* parameters) {
  const char* path = properties_get(parameters, "path");
  if (path == nullptr) return error_response("missing parameter 'path'");
  struct statvfs fs;
  if (statvfs(path, &fs) != 0) return error_response(std::string(path) + ": " + strerror(errno));
  long long unit = (long long)fs.f_frsize;
  properties* response = simple_ipc_server_create_ok_response();
  properties_set_long_long(response, "total_bytes", (long long)fs.f_blocks * unit);
  properties_set_long_long(response, "used_bytes", (long long)(fs.f_blocks - fs.f_bfree) * unit);
  properties_set_long_long(response, "avail_bytes", (long long)fs.f_bavail * unit);
  return response;
}

const char* const kPlainRequests[] = {"suspend_update",   "resume_update",  "eject",         "reset_names",
                                      "eject_close_tray", "power_off_disks", "power_on_disks", "power_off_eject_device"};

properties* answer(const simple_ipc_request& request) {
  if (strcmp(request.name, "disk_space_usage") == 0) return disk_space_usage(request.parameters);
  for (const char* name : kPlainRequests) {
    if (strcmp(request.name, name) == 0) return simple_ipc_server_create_ok_response();
  }
  return error_response(std::string("unknown request '") + request.name + "'");
}

// "--storage NAME=PATH" arguments; false after reporting bad usage in *status.
bool parse_storages(const std::vector<std::string>& args, std::vector<Storage>* storages, int* status) {
  for (size_t i = 1; i < args.size(); ++i) {
    if (args[i] != "--storage" || i + 1 == args.size()) {
      *status = usage_error(kName, "unexpected argument '" + args[i] + "'");
      return false;
    }
    const std::string& value = args[++i];
    size_t equals = value.find('=');
    if (equals == std::string::npos || equals == 0 || value.size() == equals + 1 || value[equals + 1] != '/') {
      *status = usage_error(kName, "'" + value + "' is not NAME=/ABSOLUTE/PATH");
      return false;
    }
    Storage storage;
    storage.name = value.substr(0, equals);
    storage.path = value.substr(equals + 1);
    if (!FS_is_dir(storage.path.c_str())) {
      *status = failure(kName, "storage folder '" + storage.path + "' does not exist");
      return false;
    }
    storage.id = "standin" + std::to_string(storages->size() + 1);
    storage.uuid = folder_uuid(storage.path);
    storages->push_back(storage);
  }
  return true;
}

}  // namespace

int run_storage_manager(const std::vector<std::string>& args) {
  std::vector<Storage> storages;
  int status = kOk;
  if (!parse_storages(args, &storages, &status)) return status;
  ensure_run_dir();
  std::string list_path = vona::fixed_path(kListPath);
  std::string cache_path = vona::fixed_path(kCachePath);
  if (!publish_storage_list(storages)) return failure(kName, "cannot write " + list_path);
  publish_storage_cache(storages);
  std::string banner = "storage_manager: " + std::to_string(storages.size()) + " storages published in " + list_path;
  for (const Storage& storage : storages) banner += "\n  " + storage.name + " = " + storage.path;
  status = serve_requests("storage_manager", banner, answer);
  FS_unlink(list_path.c_str());
  FS_unlink(cache_path.c_str());
  return status;
}

}  // namespace tool
