#include "player/src/util/apply_setting_handler.h"

#include <cstdlib>

#include "player/src/util/mt/common.h"

namespace {

apply_setting_handler* apply_setting_handlers[MAX_NUM_APPLY_SETTING_HANDLERS];
int num_apply_setting_handlers = 0;

}  // namespace

apply_setting_handler* apply_setting_handler_create(int data, apply_setting_handler_free_func free_func,
                                                    apply_setting_func apply) {
  MY_ASSERT(apply);
  apply_setting_handler* handler = static_cast<apply_setting_handler*>(malloc(sizeof(apply_setting_handler)));
  *handler = apply_setting_handler{data, free_func, apply};
  return handler;
}

void apply_setting_handler_free(apply_setting_handler* handler) {
  if (handler == nullptr) return;
  if (handler->free_func) handler->free_func(handler);
  free(handler);
}

void register_apply_setting_handler(apply_setting_handler* handler) {
  MY_ASSERT(num_apply_setting_handlers < MAX_NUM_APPLY_SETTING_HANDLERS);
  apply_setting_handlers[num_apply_setting_handlers++] = handler;
}

int invoke_apply_setting_handler(const char* name, const char* value) {
  for (int i = 0; i < num_apply_setting_handlers; ++i) {
    apply_setting_handler* handler = apply_setting_handlers[i];
    if (int result = handler->apply(handler, name, value)) return result;
  }
  return 0;
}
