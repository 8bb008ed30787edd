// vonautil run: running a program the way the player's daemons do, with the result they see.
#include <cstdio>
#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

#include "command.hpp"
#include "vonautil.h"

namespace tool {
namespace {

// Passes the child's output through. Quiet periods flush it, so that a slow child's output
// shows up as it comes even when standard output is a pipe.
int pass_through(void*, const char* bytes, int length) {
  if (length > 0) fwrite(bytes, 1, (size_t)length, stdout);
  else fflush(stdout);
  return 0;
}

int run_run(const std::vector<std::string>& args) {
  bool quiet = false;
  size_t first = 0;
  for (; first < args.size(); ++first) {
    if (args[first] == "--") {
      ++first;
      break;
    }
    if (args[first] == "--quiet") quiet = true;
    else if (args[first].compare(0, 1, "-") == 0) return usage_error("run", "unknown option '" + args[first] + "'");
    else break;
  }
  if (first >= args.size()) return usage_error("run", "missing PROGRAM");
  string_array* cmd_args = string_array_create_empty();
  for (size_t i = first; i < args.size(); ++i) string_array_add(cmd_args, args[i].c_str());
  cmd_result result = cmd_utils_run_cmd(cmd_args, pass_through, nullptr);
  fflush(stdout);
  if (!quiet) cmd_result_dump(result, cmd_args->items[0]);
  string_array_free(cmd_args);
  return result.status == CMD_OK ? result.exit_status : kFailed;
}

TOOL_COMMAND("run", "run a program and report how it ended",
             "Usage: vonautil run [--quiet] [--] PROGRAM [ARG...]\n"
             "Runs PROGRAM (a path: there is no PATH search) with the arguments, its standard output\n"
             "and error passed through (NUL bytes are dropped), then prints the result line of the\n"
             "run, 'PROGRAM: OK (exit status = N)' or the failure. A program that cannot be executed\n"
             "prints an execve message and exits with 1.\n"
             "  --quiet  no result line\n"
             "Exit status: the program's own, or 1 when it was killed or the run failed.\n",
             run_run);

// --- demo ----------------------------------------------------------------------------------

struct QuietPeriods {
  int count;
};

int stop_after_two_quiet_periods(void* user, const char*, int length) {
  QuietPeriods* periods = static_cast<QuietPeriods*>(user);
  if (length == 0 && ++periods->count > 2) return 1;
  return 0;
}

string_array* make_args(std::initializer_list<const char*> items) {
  string_array* cmd_args = string_array_create_empty();
  for (const char* item : items) string_array_add(cmd_args, item);
  return cmd_args;
}

void demo_run() {
  string_array* cmd_args =
      make_args({"/bin/sh", "-c", "echo \"  line from pid $$  \"; echo and one more; exit 3"});
  printf("$ vonautil run -- /bin/sh -c '...; exit 3'   (output collected in a cmd_buffer)\n");
  cmd_buffer* output = cmd_buffer_create();
  cmd_buffer_reset(output, 0);
  cmd_result result = cmd_utils_run_cmd(cmd_args, cmd_buffer_cmd_callback, output);
  cmd_buffer_strip(output);
  printf("collected, stripped: \"%s\"\n", cmd_buffer_get_str(output));
  free(cmd_buffer_release(output));
  cmd_result_dump(result, "sh");
  string_array_free(cmd_args);

  printf("\nA silent child, cancelled by its callback after two quiet periods of 200 ms\n"
         "(the library logs the SIGTERM on standard error):\n");
  fflush(stdout);
  cmd_args = make_args({"/bin/sleep", "30"});
  QuietPeriods periods = {0};
  result = cmd_utils_run_cmd(cmd_args, stop_after_two_quiet_periods, &periods);
  fflush(stderr);
  cmd_result_dump(result, "sleep");
  string_array_free(cmd_args);

  printf("\n$ vonautil run -- sh   (no PATH search: 'sh' alone is not found, the child says so)\n");
  fflush(stdout);
  cmd_args = make_args({"sh"});
  cmd_result_dump(cmd_utils_run_cmd(cmd_args, pass_through, nullptr), "sh");
  string_array_free(cmd_args);
}

TOOL_DEMO_STEP(65, "Processes: running programs, collecting their output, cancelling a run", demo_run);

}  // namespace
}  // namespace tool
