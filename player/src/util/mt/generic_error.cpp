#include "player/src/util/mt/generic_error.h"

#include <stdlib.h>
#include <string.h>

namespace {

char* title = nullptr;
string_array* descriptions = nullptr;  // created with the first description

}  // namespace

void generic_error_set(const char* new_title) {
  if (new_title == title) return;
  // Copy before freeing: the new title may point into the old one.
  char* copy = new_title ? strdup(new_title) : nullptr;
  free(title);
  title = copy;
}

void generic_error_add_description(const char* text) {
  if (descriptions == nullptr) descriptions = string_array_create_empty();
  string_array_add(descriptions, text);
}

int generic_error_is_set(void) { return title != nullptr; }

const char* generic_error_get_title(void) { return title; }

const string_array* generic_error_get_descriptions(void) { return descriptions; }

void generic_error_clear(void) {
  free(title);
  title = nullptr;
  string_array_free(descriptions);
  descriptions = nullptr;
}
