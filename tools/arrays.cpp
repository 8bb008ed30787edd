// Demo of the arrays: splitting, sorting and joining a string_array, and a ci_array ring.
#include <cstdio>
#include <cstdlib>

#include "command.hpp"
#include "vonautil.h"

namespace tool {

static void print_ring(const ci_array* ring) {
  printf("  ring [");
  for (int n = 0; n < ci_array_size(ring); n++) printf(n ? " %d" : "%d", ci_array_first_n(ring, n));
  printf("] size %d of %d\n", ci_array_size(ring), ci_array_capacity(ring));
}

static void demo_arrays() {
  const char* text = "video, music,  photos,,apps ,";
  printf("string_array_split(\"%s\", \",\"):\n", text);
  string_array* items = string_array_split(text, ",");
  for (int i = 0; i < items->size; i++) printf("  [%d] \"%s\"\n", i, items->items[i]);
  printf("  (white space before an item is dropped, after it kept; \",,\" gives an empty item,\n"
         "   the final \",\" no empty last item)\n");

  string_array_sort(items);
  char* joined = string_array_join(items, " | ", 0, -1);
  printf("sorted and joined with \" | \": \"%s\"\n", joined);
  free(joined);
  joined = string_array_join(items, "-", 2, 2);
  printf("string_array_join(items, \"-\", 2, 2): \"%s\"\n", joined);
  free(joined);
  string_array_free(items);

  printf("ci_array of capacity 3: push_last 1, 2, 3, 4 (a full ring drops its oldest)\n");
  ci_array* ring = ci_array_create(3);
  for (int value = 1; value <= 4; value++) {
    int dropped = ci_array_push_last(ring, value);
    printf("  push_last(%d) -> %d\n", value, dropped);
  }
  print_ring(ring);
  printf("push_first(9) -> %d (a full ring drops its newest)\n", ci_array_push_first(ring, 9));
  print_ring(ring);
  int oldest = ci_array_pop_first(ring);
  printf("pop_first() -> %d, pop_last() -> %d\n", oldest, ci_array_pop_last(ring));
  print_ring(ring);
  ci_array_free(ring);
}

TOOL_DEMO_STEP(20, "Arrays: split, sort and join a list; a ring of integers", demo_arrays);

}  // namespace tool
