/* Basic tools of the library: the assertion convention for programming errors, the
 * fatal-error exit, string segments, scalar parsers, in-place editing, tokenisers,
 * hexadecimal, natural orders, choice-string tables and animation interpolation. */
#ifndef VONAUTIL_COMMON_H
#define VONAUTIL_COMMON_H

#include "player/src/util/mt/export.h"

VONA_BEGIN_DECLS

/* The library's version, "MAJOR.MINOR.PATCH". */
const char* vonautil_version(void);

/* Reports a failed assertion on standard error as
 *   MODULE:LINE: FUNCTION: Assertion `EXPRESSION' failed.
 * and aborts. MODULE is the source path without its extension, from "player/" on
 * (for example "player/src/util/mt/properties"). Called through MY_ASSERT. */
VONA_NORETURN void MY_assertion_failed(const char* file, int line, const char* function,
                                       const char* expression);

VONA_END_DECLS

/* Checks a programming precondition; the report quotes the expression as written. */
#define MY_ASSERT(expr) ((expr) ? (void)0 : MY_assertion_failed(__FILE__, __LINE__, __func__, #expr))

#ifdef __cplusplus
/* The same check, reporting the function by its full C signature
 * ("int string_set_add(C_StringSet*, const char*)"), as the containers do. */
#define MY_ASSERT_SIGNATURE(expr) \
  ((expr) ? (void)0 : MY_assertion_failed(__FILE__, __LINE__, __PRETTY_FUNCTION__, #expr))
#endif

#endif
