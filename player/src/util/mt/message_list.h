/* Message lists: the bounded list of numbered user-facing messages that parsers fill.
 *
 * A list holds at most MAX_MESSAGE_LIST_COUNT entries. The last one is always the notice
 * "Too many messages, the rest are not shown.", stored in place of the 1000th message;
 * messages after it are dropped without error. */
#ifndef VONAUTIL_MESSAGE_LIST_H
#define VONAUTIL_MESSAGE_LIST_H

#include <stdarg.h>

#include "export.h"

#define MAX_MESSAGE_LIST_COUNT 1000

VONA_BEGIN_DECLS

typedef struct message_list_entry {
  char* text; /* owned */
  int kind;   /* chosen by the caller; the list only stores it */
} message_list_entry;

typedef struct message_list {
  int count;                   /* stored messages */
  message_list_entry* entries; /* MAX_MESSAGE_LIST_COUNT entries, zero-filled at creation */
} message_list;

/* An empty list; null when memory is exhausted. Free it with ML_free_message_list. */
message_list* ML_create_message_list(void);

/* Formats a message (cut to 999 characters), prints it on standard error unless `quiet`, and
 * stores it with `kind` when `messages` is not null and not full. */
void ML_add_message(message_list* messages, int kind, int quiet, const char* format, ...) VONA_PRINTF(4, 5);
void ML_add_message_v(message_list* messages, int kind, int quiet, const char* format, va_list args)
    VONA_PRINTF(4, 0);

/* Frees the texts, the entries and the list; null is accepted. */
void ML_free_message_list(message_list* messages);

VONA_END_DECLS

#endif
