/* The keyboard layouts that come with the firmware, one file per keyboard language:
 * "/firmware/on_screen_keyboards/vona_keyboard_ID.txt".
 *
 * Each identifier is read once per process: a loaded layout is kept for the rest of the
 * process, and an identifier whose file is missing or broken stays unavailable (it is not
 * read again). At most 200 identifiers are kept. Not locked: load layouts from one thread. */
#ifndef VONAUTIL_PREDEFINED_KEYBOARDS_H
#define VONAUTIL_PREDEFINED_KEYBOARDS_H

#include "mt/export.h"
#include "on_screen_keyboard.h"

VONA_BEGIN_DECLS

/* The layout for keyboard language `id` ("en", "ru", ...), owned by the registry; null when
 * its file is missing or fails to parse (the reason is logged), or when 200 identifiers are
 * already registered. Asserts "id". */
osk_layout* get_predefined_osk_layout(const char* id);

VONA_END_DECLS

#endif
