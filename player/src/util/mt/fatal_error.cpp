#include "player/src/util/mt/fatal_error.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

namespace {

// The formatted message lives until the process ends, which follows at once.
const char* format_message(const char* format, va_list args) {
  static char* text = nullptr;
  return vasprintf(&text, format, args) >= 0 ? text : format;
}

}  // namespace

void MY_fatal_error(const char* message) {
  printf("\n\n### FATAL ERROR: %s\n\n", message);
  exit(1);
}

void MY_fatal_error_f(const char* format, ...) {
  va_list args;
  va_start(args, format);
  const char* message = format_message(format, args);
  va_end(args);
  MY_fatal_error(message);
}
