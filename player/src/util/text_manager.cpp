#include "player/src/util/text_manager.h"

#include <cstdio>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/text_manager_mt.h"

namespace {

// Set once by the shell at start-up and read from every thread afterwards.
translation* current_translation = nullptr;

}  // namespace

void T_set_current_translation(translation* translation) {
  MY_ASSERT(translation != NULL);
  current_translation = translation;
  T_mt_set_current_translation(translation, 0);
}

translation* T_get_current_translation(void) { return current_translation; }

const char* T_t(const char* key) {
  const char* value = T_get_value(current_translation, key);
  if (value == nullptr) {
    fprintf(stderr, "ERROR: Text Manager: Missing key \"%s\".", key);
    MY_ASSERT(false);
  }
  return value;
}

int T_exists(const char* key) { return T_get_value(current_translation, key) != nullptr; }
