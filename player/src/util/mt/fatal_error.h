/* The exit for run-time conditions the library cannot continue from. */
#ifndef VONAUTIL_FATAL_ERROR_H
#define VONAUTIL_FATAL_ERROR_H

#include "export.h"

VONA_BEGIN_DECLS

/* Prints "\n\n### FATAL ERROR: MESSAGE\n\n" on standard output and exits with status 1. */
VONA_NORETURN void MY_fatal_error(const char* message);

/* The same with a printf-style message. */
VONA_NORETURN void MY_fatal_error_f(const char* format, ...) VONA_PRINTF(1, 2);

VONA_END_DECLS

#endif
