#include "player/src/util/top_level_command.h"

#include <cerrno>
#include <cstring>
#include <initializer_list>
#include <string>

#include "player/src/util/mt/file_utils.h"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/rflags.h"

namespace {

top_level_command_handler handlers[MAX_NUM_TOP_LEVEL_COMMAND_HANDLERS];
int num_top_level_command_handlers = 0;

std::string command_path() { return vona::fixed_path("/tmp/run/top_level_command.properties"); }

// Publishes the entries given as key, value, key, value, ..., in that order. A failure to
// publish is logged by top_level_command_set; the key had its command all the same.
int set_entries(std::initializer_list<const char*> entries) {
  properties* props = properties_create_empty();
  for (auto entry = entries.begin(); entry != entries.end(); entry += 2) properties_set(props, entry[0], entry[1]);
  top_level_command_set(props);
  return 1;
}

}  // namespace

void top_level_command_register_handler(top_level_command_handler handler) {
  MY_ASSERT(handler);
  MY_ASSERT(num_top_level_command_handlers < MAX_NUM_TOP_LEVEL_COMMAND_HANDLERS);
  handlers[num_top_level_command_handlers++] = handler;
}

int top_level_command_set(properties* props) {
  MY_ASSERT(props);
  log_print("[top_level_command] SET command");
  std::string path = command_path();
  std::string tmp = path + ".tmp";
  int saved = properties_save_to_internal_file(props, tmp.c_str(), 0);
  properties_free(props);
  if (saved != 0) {
    log_print("[top_level_command] write(%s) failed: %s", tmp.c_str(), strerror(errno));
    return 0;
  }
  if (FS_rename(tmp.c_str(), path.c_str()) != 0) {
    log_print("[top_level_command] rename(%s, %s) failed: %s", tmp.c_str(), path.c_str(), strerror(errno));
    return 0;
  }
  return 1;
}

int top_level_command_set_from_internal_file(const char* path) {
  properties* props = properties_load_from_internal_file(path);
  return props != nullptr ? top_level_command_set(props) : 0;
}

int top_level_command_set_from_vendor_file(void) {
  for (const char* path : {"/fconfig/vendor_top_level_command.properties",
                           "/firmware/config/vendor_top_level_command.properties"}) {
    if (top_level_command_set_from_internal_file(vona::fixed_path(path).c_str())) return 1;
  }
  return 0;
}

int top_level_command_set_for_rmkey(int key_code) {
  switch (key_code) {
    case 225:
      return set_entries({"plugin_name", "shell_ext", "plugin_ep_media_url", "recent", "plugin_action_id", "recent"});
    case 227:
      return set_entries({"cmd_name", "launch_ktv", "mode", "tv"});
    case 209:
      if (!rflags_ktv_vod_enabled()) return 0;
      return set_entries({"cmd_name", "launch_ktv", "mode", "vod"});
    default:
      return 0;
  }
}

int top_level_command_is_set(void) { return FS_is_regular_file(command_path().c_str()); }

int top_level_command_cleanup(void) {
  if (!top_level_command_is_set()) return 0;
  log_print("[top_level_command] CLEANUP command");
  return FS_unlink(command_path().c_str());
}

int top_level_command_do_handle(void) {
  std::string path = command_path();
  properties* props = properties_load_from_internal_file(path.c_str());
  if (props == nullptr) return 0;
  int verdict = TOP_LEVEL_COMMAND_NOT_HANDLED;
  for (int i = 0; i < num_top_level_command_handlers && verdict == TOP_LEVEL_COMMAND_NOT_HANDLED; ++i) {
    verdict = handlers[i](props);
  }
  properties_free(props);
  if (verdict == TOP_LEVEL_COMMAND_HANDLED_KEEP_FILE) return 0;
  FS_unlink(path.c_str());
  return verdict == TOP_LEVEL_COMMAND_HANDLED ? 1 : 0;
}
