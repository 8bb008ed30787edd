#include "player/src/util/mt/fatal_error.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "player/src/util/mt/string_buffer.h"

void MY_fatal_error(const char* message) {
  printf("\n\n### FATAL ERROR: %s\n\n", message);
  exit(1);
}

void MY_fatal_error_f(const char* format, ...) {
  // The shared formatting buffer; the message lives until the process ends, which follows at once.
  static char* buffer = nullptr;
  va_list args;
  va_start(args, format);
  const char* message = vsprintf_shared(&buffer, format, args);
  va_end(args);
  MY_fatal_error(message);
}
