#include "player/src/util/mt/message_list.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/common.h"

message_list* ML_create_message_list(void) {
  message_list* messages = static_cast<message_list*>(calloc(1, sizeof(message_list)));
  if (messages == nullptr) return nullptr;
  messages->entries = static_cast<message_list_entry*>(calloc(MAX_MESSAGE_LIST_COUNT, sizeof(message_list_entry)));
  if (messages->entries == nullptr) {
    free(messages);
    return nullptr;
  }
  return messages;
}

void ML_add_message(message_list* messages, int kind, int quiet, const char* format, ...) {
  va_list args;
  va_start(args, format);
  ML_add_message_v(messages, kind, quiet, format, args);
  va_end(args);
}

void ML_add_message_v(message_list* messages, int kind, int quiet, const char* format, va_list args) {
  char text[1000];
  vsnprintf(text, sizeof text, format, args);
  if (!quiet) fprintf(stderr, "%s\n", text);
  if (messages == nullptr) return;
  MY_ASSERT(messages->count <= MAX_MESSAGE_LIST_COUNT);
  if (messages->count == MAX_MESSAGE_LIST_COUNT) return;
  // The last free entry announces that messages were dropped.
  const char* stored =
      messages->count == MAX_MESSAGE_LIST_COUNT - 1 ? "Too many messages, the rest are not shown." : text;
  message_list_entry* entry = &messages->entries[messages->count];
  entry->text = strdup(stored);
  entry->kind = kind;
  messages->count++;
}

void ML_free_message_list(message_list* messages) {
  if (messages == nullptr) return;
  for (int i = 0; i < MAX_MESSAGE_LIST_COUNT; i++) free(messages->entries[i].text);
  free(messages->entries);
  free(messages);
}
