// String builder and buffer jobs of the vonautil tool: JSON string literals for shell scripts,
// and the demo step of the path stack and JSON output.
#include <cstdio>
#include <cstdlib>

#include "command.hpp"
#include "vonautil.h"

namespace tool {

static void print_json_string(const char* text) {
  str_buf sb = {};
  str_buf_append_json_string(&sb, text);
  printf("%.*s\n", sb.length, sb.data);
  free(sb.data);
}

static int run_json_string(const std::vector<std::string>& args) {
  if (args.empty()) return usage_error("json-string", "expects at least one TEXT");
  for (const std::string& text : args) print_json_string(text.c_str());
  return kOk;
}

TOOL_COMMAND("json-string", "print texts as JSON string literals",
             "Usage: vonautil json-string TEXT...\n"
             "Prints each TEXT as a JSON string literal on a line of its own: in double quotes, with\n"
             "control characters, double quotes and backslashes escaped; UTF-8 passes unchanged.\n",
             run_json_string);

static void print_top(const string_builder* sb, const char* what) {
  printf("  %-28s top = %s (own part '%s', %d items)\n", what, string_builder_top(sb),
         sb->num_items > 0 ? string_builder_top_item(sb) : "", sb->num_items);
}

static void demo_builders() {
  printf("A folder walk keeps its path in one string builder: entering a folder pushes its name,\n"
         "leaving pops it, and the text is restored byte for byte.\n");
  string_builder* sb = string_builder_create();
  string_builder_push_abs(sb, "/tmp/mnt/D/");
  print_top(sb, "push_abs \"/tmp/mnt/D/\"");
  string_builder_push_rel(sb, "Music", sb->num_items);
  print_top(sb, "push_rel \"Music\"");
  string_builder_push_rel(sb, "Albums/", sb->num_items);
  print_top(sb, "push_rel \"Albums/\"");
  string_builder_push_rel(sb, "Video", 1);
  print_top(sb, "push_rel \"Video\" to item 1");
  string_builder_dump(sb, "  builder");
  string_builder_pop(sb);
  print_top(sb, "pop");
  string_builder_pop(sb);
  print_top(sb, "pop");
  string_builder_free(sb);

  printf("\nJSON output escapes control characters and passes UTF-8 through:\n");
  str_buf json = {};
  str_buf_append_fmt(&json, "{\"title\": ");
  str_buf_append_json_string(&json, "Caf\xc3\xa9 \"live\"\tpart 1\x1b");
  str_buf_append_fmt(&json, ", \"size\": %d}", 1234);
  printf("  %.*s\n", json.length, json.data);
  free(json.data);

  char* shared = nullptr;
  printf("  sprintf_shared reuses one buffer: %s, ", sprintf_shared(&shared, "%s-%03d", "item", 7));
  printf("%s\n", sprintf_shared(&shared, "%s-%03d", "item", 8));
  free(shared);
}

TOOL_DEMO_STEP(30, "String builder and JSON strings", demo_builders);

}  // namespace tool
