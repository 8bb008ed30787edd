/* Read-only feature flags of the firmware.
 *
 * The flags come from the firmware's read-only configuration; until it is loaded they keep
 * their defaults. The configuration loader (or a test, or a host-side emulation) sets them
 * here, and the modules that depend on them read them here. Safe from any thread. */
#ifndef VONAUTIL_RFLAGS_H
#define VONAUTIL_RFLAGS_H

#include "export.h"

VONA_BEGIN_DECLS

/* 1 when files with the extension "divx" count as video ("yes"); 0 by default ("no"). */
int rflags_divx_visible(void);
/* Sets the flag: non-zero for "yes", 0 for "no". */
void rflags_set_divx_visible(int visible);

/* 1 when the remote's key for the karaoke video-on-demand menu is enabled ("yes"); 0 by
 * default ("no"). */
int rflags_ktv_vod_enabled(void);
/* Sets the flag: non-zero for "yes", 0 for "no". */
void rflags_set_ktv_vod_enabled(int enabled);

VONA_END_DECLS

#endif
