/* The kernel's mount table, "/proc/mounts", read line by line.
 *
 * Each line is "SOURCE TARGET TYPE OPTIONS DUMP PASS". The reader splits it at its first
 * three blanks and keeps the rest of the line, newline included, as the options field. The
 * kernel writes blanks, tabs, newlines and backslashes inside source and target as a
 * backslash and three octal digits ("my\040share"); the reader turns them back into their
 * characters, except that a backslash (\134, as in a Windows share name) becomes '/'.
 *
 * Lines are read with one fgets of at most MOUNT_MAX_LINE_LENGTH characters: the rest of a
 * longer line comes back as the next line, and when that rest has fewer than three blanks the
 * reading ends there (-1), as at the end of the table.
 *
 * Nothing here is shared: the functions may run in any thread. "/proc/mounts" is a fixed
 * path (below VONAUTIL_ROOT when that is set). */
#ifndef VONAUTIL_MOUNT_UTILS_H
#define VONAUTIL_MOUNT_UTILS_H

#include <stdio.h>

#include "common.h"
#include "export.h"

VONA_BEGIN_DECLS

/* Size of each text field of a mount entry, terminator included. */
#define MOUNT_ENTRY_FIELD_SIZE 512
/* Longest line read at once. */
#define MOUNT_MAX_LINE_LENGTH 511

/* One line of the mount table. */
typedef struct mount_entry {
  char source[MOUNT_ENTRY_FIELD_SIZE];  /* device or share, unescaped */
  char target[MOUNT_ENTRY_FIELD_SIZE];  /* mount point, unescaped */
  char type[MOUNT_ENTRY_FIELD_SIZE];    /* file system type, as read */
  char options[MOUNT_ENTRY_FIELD_SIZE]; /* options, dump and pass columns and the newline, as read */
} mount_entry;

/* "/proc/mounts" opened for reading; null after perror("fopen /proc/mounts"). */
FILE* mount_utils_open_mounts(void);
/* Reads the next line into *entry: 0, or -1 at the end of the stream or on a line with fewer
 * than three blanks. A null stream is an assertion failure ("mount_fp"). */
int mount_utils_next_mount(FILE* mount_fp, mount_entry* entry);
/* Closes a stream of mount_utils_open_mounts (null is an assertion failure, "mount_fp"). */
void mount_utils_close_mounts(FILE* mount_fp);

/* The first mount whose source, respectively target, equals the text exactly: 1 and *entry
 * filled, or 0 (also when the table cannot be opened). */
int mount_find_by_source(const char* source, mount_entry* entry);
int mount_find_by_target(const char* target, mount_entry* entry);

/* The value of the option NAME=VALUE in the entry's options field: the options are split at
 * ','; the first token longer than the name that starts with it and has '=' right after it
 * gives the rest of the token (for the last option that includes the dump and pass columns).
 * A segment into entry->options, or an empty segment when there is no such option. */
str_seg mount_get_option_value(const mount_entry* entry, const char* name);

VONA_END_DECLS

#endif
