/* The per-thread text manager: each thread looks its texts up in a translation of its own
 * choosing, so that threads that render for different languages do not disturb each other.
 *
 * A thread starts with no current translation. A translation set as owned is freed when the
 * thread sets another one and when the thread exits. */
#ifndef VONAUTIL_TEXT_MANAGER_MT_H
#define VONAUTIL_TEXT_MANAGER_MT_H

#include "export.h"
#include "translation.h"

VONA_BEGIN_DECLS

/* Makes `translation` (null for none) the calling thread's current translation, owned by the
 * thread when `owned` is non-zero. A previous owned translation is freed first, unless it is
 * the one being set again. */
void T_mt_set_current_translation(translation* translation, int owned);
/* The calling thread's current translation, or null. */
translation* T_mt_get_current_translation(void);

/* The text of a key in the calling thread's translation. Without one, prints a warning on
 * standard error and returns "". A key that is missing is a programming error: the process
 * ends with an assertion report. */
const char* T_mt_t(const char* key);
/* 1 when the calling thread's translation has the key; 0 when it does not, or (after a
 * warning) when the thread has no translation. */
int T_mt_exists(const char* key);

VONA_END_DECLS

#endif
