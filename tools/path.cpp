// vonautil path: relating and resolving paths and URLs the way the folder browser does.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "command.hpp"
#include "vonautil.h"

namespace tool {
namespace {

// Prints a new string from the library and frees it; a null result is a failed check.
int print_result(char* result, const char* what) {
  if (result == nullptr) return failure("path", what);
  printf("%s\n", result);
  free(result);
  return kOk;
}

int run_rel(const std::vector<std::string>& args) {
  if (args.size() != 3) return usage_error("path", "rel takes FROM and TO");
  const std::string &from = args[1], &to = args[2];
  return print_result(path_utils_get_rel_path(from.c_str(), (int)from.size(), to.c_str(), (int)to.size()),
                      "both paths must be absolute");
}

int run_resolve(const std::vector<std::string>& args) {
  if (args.size() != 3 && args.size() != 4) return usage_error("path", "resolve takes PATH, BASE and an optional ROOT");
  const char* path = args[1].c_str();
  const char* base = args[2].c_str();
  char* resolved = args.size() == 4 ? path_utils_resolve_relative_path(path, base, args[3].c_str(), 1)
                                    : path_utils_resolve_relative_url(path, base);
  return print_result(resolved, "cannot resolve");
}

int run_path(const std::vector<std::string>& args) {
  if (args.empty()) return usage_error("path", "missing sub-command");
  if (args[0] == "rel") return run_rel(args);
  if (args[0] == "resolve") return run_resolve(args);
  return usage_error("path", "unknown sub-command '" + args[0] + "'");
}

}  // namespace

TOOL_COMMAND("path", "relate and resolve paths and URLs",
             "Usage: vonautil path rel FROM TO\n"
             "       vonautil path resolve PATH BASE [ROOT]\n"
             "rel      prints the relative path that leads from the folder FROM to TO\n"
             "         (both absolute): /a/b to /a/c/d gives ../c/d, equal paths give '.'.\n"
             "resolve  prints PATH resolved against BASE. BASE may be a folder or a URL\n"
             "         (scheme://host/dir); a PATH that starts with '/' lies below the URL's\n"
             "         host, a bare name is joined to BASE, and '..' never climbs above the\n"
             "         host. With ROOT, BASE is a folder below ROOT, '..' stops at ROOT and a\n"
             "         PATH that starts with '/' lies below ROOT.\n",
             run_path);

}  // namespace tool
