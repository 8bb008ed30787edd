/* Apply-setting handlers: a chain of callbacks that put a changed setting into effect at
 * once. A change is offered to the handlers in the order they were registered until one of
 * them takes it. Handlers stay registered for the life of the process. */
#ifndef VONAUTIL_APPLY_SETTING_HANDLER_H
#define VONAUTIL_APPLY_SETTING_HANDLER_H

#include "mt/export.h"

#define MAX_NUM_APPLY_SETTING_HANDLERS 32

VONA_BEGIN_DECLS

typedef struct apply_setting_handler apply_setting_handler;

/* Puts the setting `name` to `value` into effect; non-zero when the handler took it. */
typedef int (*apply_setting_func)(apply_setting_handler* handler, const char* name, const char* value);
/* Releases what the handler's data refers to; called by apply_setting_handler_free. */
typedef void (*apply_setting_handler_free_func)(apply_setting_handler* handler);

struct apply_setting_handler {
  int data;                                  /* the caller's own value */
  apply_setting_handler_free_func free_func; /* or null */
  apply_setting_func apply;
};

/* A new handler; asserts that `apply` is not null. */
apply_setting_handler* apply_setting_handler_create(int data, apply_setting_handler_free_func free_func,
                                                    apply_setting_func apply);
/* Calls the free function, if any, then frees the handler. */
void apply_setting_handler_free(apply_setting_handler* handler);

/* Appends the handler to the chain, which takes it over; at most
 * MAX_NUM_APPLY_SETTING_HANDLERS handlers (an assertion). */
void register_apply_setting_handler(apply_setting_handler* handler);

/* Offers the change to each handler in registration order; returns the first non-zero result,
 * or 0 when no handler took it. */
int invoke_apply_setting_handler(const char* name, const char* value);

VONA_END_DECLS

#endif
