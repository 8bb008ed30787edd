/* The one resolver of the fixed absolute paths that the library opens by itself
 * ("/tmp/run/...", "/config/...", "/firmware/...", "/proc/mounts", ...).
 *
 * When the environment variable VONAUTIL_ROOT is set and non-empty, it is put in front of
 * every absolute path (read anew at each call), so that tests, the command-line tool and
 * host-side emulation work inside a sandbox directory. Unset, paths stay exactly as given. */
#ifndef VONAUTIL_FIXED_PATH_H
#define VONAUTIL_FIXED_PATH_H

#include "export.h"

VONA_BEGIN_DECLS

/* Returns the resolved path as a new heap string (free it with free()); null for null. */
char* fixed_path_resolve(const char* path);

VONA_END_DECLS

#endif
