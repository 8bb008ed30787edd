#include "player/src/util/mt/common.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

const char* vonautil_version(void) { return VONAUTIL_VERSION; }

void MY_assertion_failed(const char* file, int line, const char* function, const char* expression) {
  // The module is named by its place in the firmware tree and without its extension, whatever
  // directory the library was built in.
  const char* module = file;
  for (const char* p = file; (p = strstr(p, "player/")) != nullptr; ++p) {
    if (p == file || p[-1] == '/') {
      module = p;
      break;
    }
  }
  const char* slash = strrchr(module, '/');
  const char* dot = strrchr(slash ? slash : module, '.');
  int length = dot ? (int)(dot - module) : (int)strlen(module);
  fflush(stdout);
  fprintf(stderr, "%.*s:%d: %s: Assertion `%s' failed.\n", length, module, line, function, expression);
  fflush(stderr);
  abort();
}
