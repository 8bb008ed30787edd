/* The process-wide text manager: the translation that the shell shows its texts from.
 *
 * The shell loads the translation of the interface language and sets it once; the text
 * manager never frees it. */
#ifndef VONAUTIL_TEXT_MANAGER_H
#define VONAUTIL_TEXT_MANAGER_H

#include "mt/export.h"
#include "mt/translation.h"

VONA_BEGIN_DECLS

/* Makes `translation` the process-wide current translation, and the calling thread's current
 * translation of the per-thread text manager (not owned). Asserts that it is not null. */
void T_set_current_translation(translation* translation);
/* The process-wide current translation, or null before the first set. */
translation* T_get_current_translation(void);

/* The text of a key. A key that is missing (or a lookup before any translation was set) is a
 * programming error: the process ends with an assertion report. */
const char* T_t(const char* key);
/* 1 when the current translation has the key; 0 when it does not or there is none. */
int T_exists(const char* key);

VONA_END_DECLS

#endif
