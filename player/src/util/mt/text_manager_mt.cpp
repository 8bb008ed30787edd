#include "player/src/util/mt/text_manager_mt.h"

#include <cstdio>
#include <cstdlib>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/thread_key.hpp"

namespace {

struct Holder {
  translation* current;
  int owned;
};

void release_holder(void* holder) {
  Holder* h = static_cast<Holder*>(holder);
  if (h->owned) T_free_translation(h->current);
  free(h);
}

vona::ThreadKey holder_key{release_holder};

// The calling thread's holder, created empty on first use.
Holder* holder() {
  Holder* h = static_cast<Holder*>(holder_key.get());
  if (h == nullptr) {
    h = static_cast<Holder*>(calloc(1, sizeof(Holder)));
    holder_key.set(h);
  }
  return h;
}

}  // namespace

void T_mt_set_current_translation(translation* translation, int owned) {
  Holder* h = holder();
  if (h->owned && h->current != translation) T_free_translation(h->current);
  h->current = translation;
  h->owned = owned != 0;
}

translation* T_mt_get_current_translation(void) { return holder()->current; }

const char* T_mt_t(const char* key) {
  translation* current = holder()->current;
  if (current == nullptr) {
    fprintf(stderr, "WARNING: T_mt_t(%s) called while not initialized.\n", key);
    return "";
  }
  const char* value = T_get_value(current, key);
  if (value == nullptr) {
    fprintf(stderr, "ERROR: T_mt_t(%s): missing key.\n", key);
    MY_ASSERT(false);
  }
  return value;
}

int T_mt_exists(const char* key) {
  translation* current = holder()->current;
  if (current == nullptr) {
    fprintf(stderr, "WARNING: T_mt_exists(%s) called while not initialized.\n", key);
    return 0;
  }
  return T_get_value(current, key) != nullptr;
}
