// vonautil demo: a walk through the library's jobs inside a throw-away sandbox root.
#include <ftw.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "command.hpp"

namespace tool {

static int remove_entry(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }

static int run_demo(const std::vector<std::string>& args) {
  bool keep = false;
  for (const std::string& arg : args) {
    if (arg == "--keep") keep = true;
    else return usage_error("demo", "unknown argument '" + arg + "'");
  }
  std::string base = getenv("TMPDIR") && *getenv("TMPDIR") ? getenv("TMPDIR") : "/tmp";
  std::string root = base + "/vonautil-demo-XXXXXX";
  if (mkdtemp(&root[0]) == nullptr) return failure("demo", "cannot create a sandbox under " + base);
  setenv("VONAUTIL_ROOT", root.c_str(), 1);
  printf("Sandbox root: %s (VONAUTIL_ROOT)\n", root.c_str());
  int number = 0;
  for (const DemoStep& step : demo_steps()) {
    printf("\n== %d. %s ==\n", ++number, step.title);
    fflush(stdout);
    step.run();
    fflush(stdout);
  }
  if (keep) {
    printf("\nThe sandbox is kept at %s\n", root.c_str());
  } else {
    nftw(root.c_str(), remove_entry, 16, FTW_DEPTH | FTW_PHYS);
    printf("\nDone; the sandbox was removed.\n");
  }
  return kOk;
}

TOOL_COMMAND("demo", "walk through the library's jobs in a sandbox root",
             "Usage: vonautil demo [--keep]\n"
             "Creates a sandbox root in a temporary directory, sets VONAUTIL_ROOT to it and walks\n"
             "through the library's jobs, printing what each step does and what it got.\n"
             "  --keep   leave the sandbox in place for a look afterwards\n",
             run_demo);

}  // namespace tool
