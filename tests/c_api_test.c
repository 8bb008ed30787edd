// The C interface as a C11 program sees it: the umbrella header compiles as pedantic C, and
// every call below goes through the shared library. The module suites check behaviour; this
// program checks what only a C caller can get wrong: record layouts, values returned by value,
// variadic functions, callbacks into C and the typed-list macros. Exit status 0 when every
// check holds.
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vonautil.h"

static int checks = 0, failures = 0;

#define CHECK(cond)                                                              \
  do {                                                                           \
    checks++;                                                                    \
    if (!(cond)) {                                                               \
      fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
      failures++;                                                                \
    }                                                                            \
  } while (0)

// Variadic functions, records filled by the library, segments returned by value.
static char* format_shared(char** buffer, const char* format, ...) {
  va_list args;
  char* text;
  va_start(args, format);
  text = vsprintf_shared(buffer, format, args);
  va_end(args);
  return text;
}

static void check_variadic_and_records(void) {
  message_list* messages = ML_create_message_list();
  char* shared = NULL;
  char text[] = "a  b";
  char* cursor = text;
  str_seg token = str_next_token_by_charset(&cursor, " ", 1);
  long_long_array* lla = long_long_array_create_single(1LL << 40);
  CHECK(log_print("%s %d", "from C", 42) == 9);
  ML_add_message(messages, 3, 1, "line %d", 7);
  CHECK(messages->count == 1 && strcmp(messages->entries[0].text, "line 7") == 0 && messages->entries[0].kind == 3);
  ML_free_message_list(messages);
  CHECK(strcmp(format_shared(&shared, "%d-%s", 7, "x"), "7-x") == 0);
  free(shared);
  CHECK(token.length == 1 && token.start == text && cursor == text + 3);
  long_long_array_add(lla, -1);
  CHECK(lla->size == 2 && lla->items[0] == 1LL << 40 && lla->items[1] == -1);
  long_long_array_free(lla);
}

// The typed-list generator works in C as well.
typedef struct point { int x; } point;
TYPED_LIST_DECLARE(point_list, point);
TYPED_LIST_DECLARE_INSERT(point_list, point);
TYPED_LIST_DEFINE(point_list, point, free);
TYPED_LIST_DEFINE_INSERT(point_list, point);

// Callbacks into C.
static int destroyed_count = 0;
static void count_destroy(void* object) {
  (void)object;
  destroyed_count++;
}
static int keep_none(const char* key, void* object, void* context) {
  (void)key;
  (void)object;
  (void)context;
  return 0;
}

static void check_callbacks_and_lists(void) {
  const char* names[] = {"file10", "file2"};
  point_list* points = point_list_create();
  string_array* sa = string_array_split("b, a,c", ",");
  C_ObjectByStringMap* objects = object_by_string_map_create();
  properties* p = properties_create_with_index();
  int object = 1;
  qsort(names, 2, sizeof *names, str_nat_cmp);
  CHECK(strcmp(names[0], "file2") == 0);
  point_list_add(points, (point*)calloc(1, sizeof(point)));
  point_list_insert(points, 0, (point*)calloc(1, sizeof(point)));
  CHECK(points->num_items == 2 && points->capacity == 2);
  point_list_free(points);
  CHECK(sa->size == 3 && sa->items[3] == NULL && strcmp(sa->items[1], "a") == 0);
  string_array_free(sa);
  CHECK(object_by_string_map_put(objects, "x", &object, count_destroy) == 1);
  CHECK(object_by_string_map_filter(objects, keep_none, NULL, count_destroy) == 1 && destroyed_count == 1);
  object_by_string_map_free(objects, count_destroy);
  properties_build_from_buffer(p, " a = 1 \nb=x=y\n");
  CHECK(p->count == 2 && strcmp(p->keys[1], "b") == 0 && strcmp(p->values[1], "x=y") == 0);
  properties_free(p);
}

int main(void) {
  check_variadic_and_records();
  check_callbacks_and_lists();
  printf("%d passed, %d failed\n", checks - failures, failures);
  return failures ? 1 : 0;
}
