/* The generic error: one process-wide error with a title and descriptions, which deep layers set
 * and the user interface shows. It is not locked: it belongs to the thread that drives the user
 * interface. */
#ifndef VONAUTIL_GENERIC_ERROR_H
#define VONAUTIL_GENERIC_ERROR_H

#include "basic_string_array.h"
#include "export.h"

VONA_BEGIN_DECLS

/* Stores a copy of `title`; null clears the title but keeps the descriptions. Passing the very
 * pointer that is stored (generic_error_get_title()) changes nothing. */
void generic_error_set(const char* title);
/* Appends a copy of `text` to the descriptions. */
void generic_error_add_description(const char* text);
/* 1 if a title is stored, else 0. */
int generic_error_is_set(void);
/* The stored title and descriptions, owned by the error; each may be null. */
const char* generic_error_get_title(void);
const string_array* generic_error_get_descriptions(void);
/* Frees title and descriptions. */
void generic_error_clear(void);

VONA_END_DECLS

#endif
