/* The C interface as a C11 program sees it: every call below goes through the umbrella
 * header and the shared library. Exit status 0 when every check holds. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vonautil.h"

static int checks = 0;
static int failures = 0;

#define CHECK(cond)                                                              \
  do {                                                                           \
    checks++;                                                                    \
    if (!(cond)) {                                                               \
      fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
      failures++;                                                                \
    }                                                                            \
  } while (0)

static void check_foundation(void) {
  char* path = fixed_path_resolve("relative");
  CHECK(strlen(vonautil_version()) > 0);
  CHECK(path && strcmp(path, "relative") == 0);
  free(path);
}

/* Reporting */

/* String tools */

/* Arrays and containers */

/* Builders, buffers and properties */

/* Text */

/* Files, paths and URLs */

/* Firmware and MPEG */

int main(void) {
  check_foundation();
  printf("%d passed, %d failed\n", checks - failures, failures);
  return failures ? 1 : 0;
}
