// vonautil props: read and edit settings files as the firmware does.
#include <errno.h>
#include <sys/stat.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "command.hpp"
#include "player/src/util/mt/fixed_path.hpp"
#include "player/src/util/mt/properties.hpp"
#include "vonautil.h"

namespace tool {
namespace {

const char kName[] = "props";

struct PropertiesDeleter {
  void operator()(properties* p) const { properties_free(p); }
};
using Properties = std::unique_ptr<properties, PropertiesDeleter>;

// Loads a file as the firmware reads it; a missing or unreadable file is reported.
Properties load(const std::string& path, std::string* error) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0) {
    *error = "cannot read '" + path + "': " + strerror(errno);
    return nullptr;
  }
  if (!S_ISREG(st.st_mode)) {
    *error = "'" + path + "' is not a regular file";
    return nullptr;
  }
  Properties p(properties_load_from_internal_file_with_index(path.c_str()));
  if (p == nullptr) *error = "cannot read '" + path + "': " + strerror(errno);
  return p;
}

bool has_line_break(const std::string& text) { return text.find_first_of("\r\n") != std::string::npos; }

// A key that survives a save and a load as it stands.
bool valid_key(const std::string& key) {
  return !key.empty() && key[0] != '#' && key.find('=') == std::string::npos && !has_line_break(key) &&
         !isspace((unsigned char)key.front()) && !isspace((unsigned char)key.back());
}

// Saves the edited file through the temporary file when something changed, printing the
// change log. Edits go to the file a symbolic link points at, so the link stays a link.
int save(const properties* p, const std::string& path) {
  char resolved[PATH_MAX];
  std::string target = realpath(path.c_str(), resolved) != nullptr ? resolved : path;
  if (properties_save_to_internal_file_using_tmp_if_changed(p, target.c_str(), 0, path.c_str()) < 0) {
    return failure(kName, "cannot save '" + path + "': " + strerror(errno));
  }
  return kOk;
}

// set and del rewrite the whole file; the firmware reads only its first 1048576 bytes, and so
// does this tool, so a larger file would lose its tail.
bool fits(const std::string& path, std::string* error) {
  struct stat st;
  if (stat(path.c_str(), &st) == 0 && st.st_size > PROPERTIES_MAX_FILE_SIZE) {
    *error = "'" + path + "' is larger than " + std::to_string(PROPERTIES_MAX_FILE_SIZE) + " bytes; not editing it";
    return false;
  }
  return true;
}

int run_get(const std::vector<std::string>& args) {
  if (args.size() != 3) return usage_error(kName, "get takes FILE KEY");
  std::string error;
  Properties p = load(args[1], &error);
  if (p == nullptr) return failure(kName, error);
  const char* value = properties_get(p.get(), args[2].c_str());
  if (value == nullptr) return failure(kName, "no key '" + args[2] + "' in '" + args[1] + "'");
  printf("%s\n", value);
  return kOk;
}

int run_set(const std::vector<std::string>& all) {
  std::vector<std::string> args(all.begin() + 1, all.end());
  bool create = !args.empty() && args[0] == "--create";
  if (create) args.erase(args.begin());
  if (!args.empty() && args[0] == "--") args.erase(args.begin());  // FILE may start with "--"
  if (args.size() < 3) return usage_error(kName, "set takes [--create] FILE KEY VALUE...");
  const std::string& path = args[0];
  const std::string& key = args[1];
  std::string value = args[2];
  for (size_t i = 3; i < args.size(); ++i) value += " " + args[i];
  if (!valid_key(key)) return usage_error(kName, "invalid key '" + key + "'");
  if (has_line_break(value)) return usage_error(kName, "a value cannot hold a line break");
  std::string error;
  struct stat st;
  Properties p = create && stat(path.c_str(), &st) != 0 && errno == ENOENT ? Properties(properties_create_with_index())
                                                                            : load(path, &error);
  if (p == nullptr || !fits(path, &error)) return failure(kName, error);
  properties_set_escaped(p.get(), key.c_str(), value.c_str());
  return save(p.get(), path);
}

int run_del(const std::vector<std::string>& args) {
  if (args.size() != 3) return usage_error(kName, "del takes FILE KEY");
  std::string error;
  Properties p = load(args[1], &error);
  if (p == nullptr || !fits(args[1], &error)) return failure(kName, error);
  if (!properties_remove(p.get(), args[2].c_str())) {
    return failure(kName, "no key '" + args[2] + "' in '" + args[1] + "'");
  }
  return save(p.get(), args[1]);
}

int run_dump(const std::vector<std::string>& args) {
  if (args.size() != 2) return usage_error(kName, "dump takes FILE");
  std::string error;
  Properties p = load(args[1], &error);
  if (p == nullptr) return failure(kName, error);
  properties_dump_to_file(p.get(), stdout, args[1].c_str());
  return kOk;
}

void print_change(void*, const char* side, const char* key, const char* value) {
  printf("%s: %s = %s\n", side, key, value);
}

int run_diff(const std::vector<std::string>& args) {
  if (args.size() != 3) return usage_error(kName, "diff takes OLD NEW");
  std::string error;
  Properties old_props = load(args[1], &error);
  if (old_props == nullptr) return failure(kName, error);
  Properties new_props = load(args[2], &error);
  if (new_props == nullptr) return failure(kName, error);
  return vona::properties_for_each_change(old_props.get(), new_props.get(), print_change, nullptr) == 0 ? kOk : kFailed;
}

int run_props(const std::vector<std::string>& args) {
  if (args.empty()) return usage_error(kName, "missing action (get, set, del, dump or diff)");
  const std::string& action = args[0];
  if (action == "get") return run_get(args);
  if (action == "set") return run_set(args);
  if (action == "del") return run_del(args);
  if (action == "dump") return run_dump(args);
  if (action == "diff") return run_diff(args);
  return usage_error(kName, "unknown action '" + action + "'");
}

// The demo: a settings file is written, changed with its change log, and read back.
void demo_props() {
  std::string directory = vona::fixed_path("/config");
  mkdir(directory.c_str(), 0755);
  std::string path = vona::fixed_path("/config/demo_settings.properties");
  printf("Settings file: %s\n", path.c_str());

  properties* p = properties_create_with_index();
  properties_set(p, "language", "en");
  properties_set_int(p, "volume", 40);
  properties_set(p, "auto_play", "yes");
  properties_set_escaped(p, "screen_saver_text", "  Good night  ");
  printf("First save: %d\n", properties_save_to_internal_file_using_tmp_if_changed(p, path.c_str(), 0, "demo settings"));

  properties_set_int(p, "volume", 55);
  properties_remove(p, "auto_play");
  properties_set(p, "subtitles", "no");
  printf("After changing the volume, dropping auto_play and adding subtitles:\n");
  printf("Save: %d\n", properties_save_to_internal_file_using_tmp_if_changed(p, path.c_str(), 0, "demo settings"));
  printf("Saving again without changes:\n");
  printf("Save: %d\n", properties_save_to_internal_file_using_tmp_if_changed(p, path.c_str(), 0, "demo settings"));
  properties_free(p);

  properties* loaded = properties_load_from_internal_file_with_index(path.c_str());
  properties_dump(loaded, "Read back");
  char* text = strdup(properties_get_str(loaded, "screen_saver_text", ""));
  properties_unescape_value(text);
  printf("volume = %d, screen_saver_text unescaped = '%s'\n", properties_get_int(loaded, "volume", 0), text);
  free(text);
  properties_free(loaded);
}

}  // namespace

TOOL_COMMAND(kName, "read and edit properties (settings) files",
             "Usage: vonautil props get FILE KEY\n"
             "       vonautil props set [--create] [--] FILE KEY VALUE...\n"
             "       vonautil props del FILE KEY\n"
             "       vonautil props dump FILE\n"
             "       vonautil props diff OLD NEW\n"
             "Reads settings files as the firmware does (the first 1048576 bytes; blanks around keys\n"
             "and values dropped; comments, empty lines and lines without '=' skipped).\n"
             "  get    print the value of KEY; exit status 1 when the key is missing\n"
             "  set    set KEY to the VALUE words joined by blanks (a value with leading or trailing\n"
             "         blanks is stored in double quotes); the file is saved through a temporary file\n"
             "         only when something changed, and the change log is printed. --create starts\n"
             "         a missing file empty.\n"
             "  del    remove KEY and save the same way; exit status 1 when the key is missing\n"
             "  dump   print every entry as the firmware sees it\n"
             "  diff   print the change log from OLD to NEW without saving anything; exit status 1\n"
             "         when they differ\n"
             "An interrupted save leaves the old or the new file, never a partial one.\n",
             run_props);

TOOL_DEMO_STEP(31, "Properties files: settings saved atomically with a change log", demo_props);

}  // namespace tool
