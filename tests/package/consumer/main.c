/* A firmware program outside the library's tree, written in C, built against an installed
 * copy of the library through its packages. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include <vonautil.h>
#include <vonautil/mt/properties.h>

#if !defined(_FILE_OFFSET_BITS) || _FILE_OFFSET_BITS != 64 || !defined(_TIME_BITS) || _TIME_BITS != 64
#error "the package must hand the library's large-file and time settings to its consumers"
#endif

int main(int argc, char** argv) {
  properties* p = properties_create_empty();
  C_StringSet* set = string_set_create();
  struct stat status;
  char* text;
  int ok;
  (void)argc;
  properties_set_int(p, "answer", 42);
  string_set_add(set, "b");
  string_set_add(set, "a");
  text = properties_save_to_buffer(p);
  /* C++ containers and function-local statics inside the library: the C++ runtime links. */
  ok = strcmp(text, "answer = 42\n") == 0 && string_set_size(set) == 2 && FS_stat(argv[0], &status) == 0 && status.st_size > 0 &&
       strlen(vonautil_version()) > 0;
  free(text);
  properties_free(p);
  string_set_free(set);
  printf("%s\n", ok ? "ok" : "FAILED");
  return ok ? 0 : 1;
}
