// vonautil fs: copying, removing and walking folder trees the way the player does.
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "command.hpp"
#include "url.hpp"
#include "player/src/util/mt/fixed_path.hpp"
#include "vonautil.h"

namespace tool {
namespace {

const char* type_of(const struct stat* status) {
  if (status == nullptr) return "error";
  if (S_ISDIR(status->st_mode)) return "dir";
  if (S_ISLNK(status->st_mode)) return "link";
  if (S_ISREG(status->st_mode)) return "file";
  return "other";
}

int print_visit(const char* path, const struct stat* status, void*) {
  printf("%-5s %s\n", type_of(status), path);
  return FS_VISIT_CONTINUE;
}

bool is_link(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

// Splits the arguments into options (from `known`, each mapped to its flag) and operands.
bool parse(const std::vector<std::string>& args, const std::vector<std::pair<std::string, unsigned>>& known,
           unsigned& flags, std::vector<std::string>& operands, std::string& error) {
  bool options = true;
  for (const std::string& arg : args) {
    if (options && arg == "--") {
      options = false;
    } else if (options && arg.size() > 2 && arg.compare(0, 2, "--") == 0) {
      bool found = false;
      for (const auto& option : known) {
        if (arg == option.first) flags |= option.second, found = true;
      }
      if (!found) {
        error = "unknown option '" + arg + "'";
        return false;
      }
    } else {
      operands.push_back(arg);
    }
  }
  return true;
}

// Whether `path` can be examined (followed when `follow`); says why not on standard error.
bool exists(const std::string& path, bool follow) {
  struct stat status;
  if ((follow ? stat(path.c_str(), &status) : lstat(path.c_str(), &status)) == 0) return true;
  failure("fs", "cannot examine '" + path + "': " + strerror(errno));
  return false;
}

// The absolute path without links of `path`, which itself need not exist yet (its folder must).
std::string resolved(const std::string& path) {
  char buffer[PATH_MAX];
  if (realpath(path.c_str(), buffer) != nullptr) return buffer;
  std::string::size_type slash = path.find_last_of('/');
  std::string folder = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
  if (realpath(folder.c_str(), buffer) == nullptr) return path;
  return std::string(buffer) + (buffer[1] ? "/" : "") + path.substr(slash == std::string::npos ? 0 : slash + 1);
}

// A copy into the tree being copied would copy its own copy again and again.
bool inside(const std::string& destination, const std::string& source) {
  std::string tree = resolved(source), target = resolved(destination);
  return target == tree || (target.compare(0, tree.size(), tree) == 0 && target[tree.size()] == '/') || tree == "/";
}

int run_fs(const std::vector<std::string>& args) {
  if (args.empty()) return usage_error("fs", "missing sub-command (copy, rm, walk)");
  const std::string& sub = args[0];
  std::vector<std::string> rest(args.begin() + 1, args.end()), operands;
  unsigned flags = 0;
  std::string error;
  if (sub == "copy") {
    if (!parse(rest, {{"--follow", 1}, {"--follow-below", 2}}, flags, operands, error)) return usage_error("fs", error);
    if (operands.size() != 2) return usage_error("fs", "copy takes SOURCE and DESTINATION");
    if (!exists(operands[0], flags & 1)) return kFailed;
    if ((flags & 1 || !is_link(operands[0])) && inside(operands[1], operands[0])) {
      return failure("fs", "cannot copy '" + operands[0] + "' into itself ('" + operands[1] + "')");
    }
    if (!FS_copy_recursively_verbatim(operands[0].c_str(), operands[1].c_str(), flags & 1, flags & 2)) {
      return failure("fs", "the copy of '" + operands[0] + "' stopped at a failure (see the log above)");
    }
    return kOk;
  }
  if (sub == "rm") {
    if (!parse(rest, {}, flags, operands, error)) return usage_error("fs", error);
    if (operands.size() != 1) return usage_error("fs", "rm takes one PATH");
    if (FS_remove_recursively_if_exists(operands[0].c_str()) != 0) {
      return failure("fs", "'" + operands[0] + "' could not be removed completely");
    }
    return kOk;
  }
  if (sub == "walk") {
    if (!parse(rest,
               {{"--follow", FS_ITER_FOLLOW_LINKS},
                {"--follow-below", FS_ITER_FOLLOW_LINKS_BELOW},
                {"--pre-order", FS_ITER_PRE_ORDER},
                {"--continue", FS_ITER_CONTINUE_ON_ERROR},
                {"--errors", FS_ITER_VISIT_ERRORS}},
               flags, operands, error)) {
      return usage_error("fs", error);
    }
    if (operands.size() != 1) return usage_error("fs", "walk takes one PATH");
    if (!exists(operands[0], flags & FS_ITER_FOLLOW_LINKS)) return kFailed;
    int result = FS_iterate_recursively(operands[0].c_str(), flags, print_visit, nullptr);
    return result == 0 ? kOk : failure("fs", "the walk met a failure (see the log above)");
  }
  return usage_error("fs", "unknown sub-command '" + sub + "'");
}

TOOL_COMMAND("fs", "copy, remove or walk a folder tree",
             "Usage: vonautil fs copy [--follow] [--follow-below] SOURCE DESTINATION\n"
             "       vonautil fs rm PATH\n"
             "       vonautil fs walk [--pre-order] [--follow] [--follow-below] [--continue] [--errors] PATH\n"
             "copy   copies the tree SOURCE to DESTINATION, directories first, with the permission\n"
             "       bits of each entry; symbolic links stay links unless followed (--follow for\n"
             "       SOURCE itself, --follow-below for the links inside). An existing destination\n"
             "       directory is reused. Each step is logged on standard error. Names are copied\n"
             "       as they are (FS_copy_recursively_verbatim); the firmware's FS_copy_recursively\n"
             "       would take them as printf format text (\"a%d\" becomes \"a0\", \"100%%\" becomes\n"
             "       \"100%\"). A copy into SOURCE itself is refused; links inside SOURCE that lead\n"
             "       back into the walk are not entered (logged).\n"
             "rm     removes PATH and everything below it, bottom-up, without following links;\n"
             "       stops at the first entry that cannot be removed. A missing PATH is fine.\n"
             "walk   prints every entry of the tree as 'TYPE PATH' (dir, file, link, other, or\n"
             "       error for a path that cannot be examined or listed, with --errors), in\n"
             "       post-order unless --pre-order; --continue goes on after a failed entry. A link\n"
             "       back into the walk is not entered: it is an error entry (ELOOP).\n"
             "Exit status 1 when SOURCE or PATH is missing (rm: fine), or the copy, removal or walk\n"
             "met a failure.\n",
             run_fs);

// --- demo ----------------------------------------------------------------------------------

int count_entry(const char*, const struct stat*, void* context) {
  ++*static_cast<int*>(context);
  return FS_VISIT_CONTINUE;
}

int count_entries(const std::string& path) {
  int count = 0;
  FS_iterate_recursively(path.c_str(), 0, count_entry, &count);
  return count;
}

void demo_files() {
  std::string music = vona::fixed_path("/tmp/mnt/D/Music");
  std::string album = music + "/Album A";
  FS_ensure_dirs((album + "/Extras").c_str(), 0755);
  FS_ensure_dirs((music + "/Videos").c_str(), 0755);
  const char* files[] = {"Album A/01 Intro.mp3", "Album A/02 Song.flac", "Album A/cover.jpg",
                         "Album A/Extras/lyrics.txt", "Album A/list.m3u", "Videos/clip.mkv"};
  for (const char* name : files) FS_writestring((music + "/" + name).c_str(), name);
  FS_chmod((album + "/Extras").c_str(), 0700);
  FS_soft_link("Album A", (music + "/Latest").c_str());
  printf("Built a folder tree at %s (with a link 'Latest' -> 'Album A')\n", music.c_str());

  printf("\n$ vonautil fs walk --pre-order %s\n", music.c_str());
  fflush(stdout);
  FS_iterate_recursively(music.c_str(), FS_ITER_PRE_ORDER, print_visit, nullptr);
  printf("\nWhat the player makes of each file (vonautil url classify):\n");
  for (const char* name : files) printf("  %-28s %s\n", name, url_kinds(name).c_str());

  std::string backup = vona::fixed_path("/tmp/mnt/D/Backup/Music");
  FS_ensure_dirs(vona::fixed_path("/tmp/mnt/D/Backup").c_str(), 0755);
  printf("\n$ vonautil fs copy %s %s   (the library logs each step on standard error)\n", music.c_str(),
         backup.c_str());
  fflush(stdout);
  int copied = FS_copy_recursively(music.c_str(), backup.c_str(), 0, 0);
  fflush(stderr);
  struct stat latest, extras;
  bool latest_is_link = FS_lstat((backup + "/Latest").c_str(), &latest) == 0 && S_ISLNK(latest.st_mode);
  bool have_extras = FS_stat((backup + "/Album A/Extras").c_str(), &extras) == 0;
  printf("FS_copy_recursively: %d; %d entries in the copy, %d in the source; 'Latest' is %s; Extras has mode %03o\n",
         copied, count_entries(backup), count_entries(music), latest_is_link ? "still a link" : "not a link",
         have_extras ? (unsigned)(extras.st_mode & 0777) : 0u);

  printf("\n$ vonautil fs rm %s\n", backup.c_str());
  int removed = FS_remove_recursively_if_exists(backup.c_str());
  printf("FS_remove_recursively_if_exists: %d; the copy %s, the source still holds %d entries\n", removed,
         FS_file_exists(backup.c_str()) ? "is still there" : "is gone", count_entries(music));
}

TOOL_DEMO_STEP(51, "Files: walking, copying and removing a folder tree", demo_files);

}  // namespace
}  // namespace tool
