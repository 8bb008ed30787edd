/* The user settings that the text and path functions read: the interface language (and
 * whether it is a custom, user-supplied one), the default interface language, and the path
 * encodings of NFS and ext2/ext3 file systems.
 *
 * This is the seam where the firmware's own settings provider plugs in; standing alone, the
 * values live here, process-wide, until a setter changes them. Defaults: interface language
 * "english", not custom, default interface language "english", both path encodings 0.
 * Language names are the predefined ones of the language list ("english", "russian", ...);
 * the value "202" stands for a language to be taken from the default, like a custom one. */
#ifndef VONAUTIL_SETTINGS_PROVIDER_H
#define VONAUTIL_SETTINGS_PROVIDER_H

#include "export.h"

VONA_BEGIN_DECLS

/* The returned names stay valid for the life of the process. Null sets the default. */
void settings_provider_set_interface_language(const char* language);
const char* settings_provider_get_interface_language(void);
void settings_provider_set_interface_language_custom(int is_custom);
int settings_provider_is_interface_language_custom(void);
void settings_provider_set_default_interface_language(const char* language);
const char* settings_provider_get_default_interface_language(void);

/* Setting values of the path encodings: 1-12 name an encoding number, anything else UTF-8. */
void settings_provider_set_nfs_path_encoding(int value);
int settings_provider_get_nfs_path_encoding(void);
void settings_provider_set_ext2_ext3_path_encoding(int value);
int settings_provider_get_ext2_ext3_path_encoding(void);

/* Back to the defaults. */
void settings_provider_reset(void);

VONA_END_DECLS

#endif
