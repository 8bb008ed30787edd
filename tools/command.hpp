// The frame of the vonautil command-line tool: sub-commands and demo steps register
// themselves from their own files, so each library module adds its commands in one place.
#ifndef VONAUTIL_TOOL_COMMAND_HPP
#define VONAUTIL_TOOL_COMMAND_HPP

#include <initializer_list>
#include <string>
#include <vector>

namespace tool {

// Exit statuses of every sub-command.
enum { kOk = 0, kFailed = 1, kUsage = 2 };

struct Command {
  const char* name;     // "props", "ts", ...
  const char* summary;  // one line for `vonautil --help`
  const char* help;     // the full text of `vonautil NAME --help`
  int (*run)(const std::vector<std::string>& args);  // the arguments after the name
};

struct DemoStep {
  int order;          // steps run in increasing order
  const char* title;
  void (*run)();      // prints what it does and what it got; runs inside the sandbox root
};

const std::vector<Command>& commands();
const std::vector<DemoStep>& demo_steps();

struct CommandRegistrar {
  explicit CommandRegistrar(const Command& command);
};
struct DemoRegistrar {
  explicit DemoRegistrar(const DemoStep& step);
};

// Prints "vonautil COMMAND: MESSAGE" and the hint to --help on standard error; returns kUsage.
int usage_error(const char* command, const std::string& message);
// Prints "vonautil COMMAND: MESSAGE" on standard error; returns kFailed.
int failure(const char* command, const std::string& message);

// Runs the sub-command named by args[0] (each runner gets the whole argument list), or reports
// a missing or unknown one as bad usage, naming the sub-commands there are.
struct SubCommand {
  const char* name;
  int (*run)(const std::vector<std::string>& args);
};
int run_sub_command(const char* command, const std::vector<std::string>& args,
                    std::initializer_list<SubCommand> sub_commands);

}  // namespace tool

#define TOOL_CONCAT2(a, b) a##b
#define TOOL_CONCAT(a, b) TOOL_CONCAT2(a, b)
#define TOOL_COMMAND(...) \
  static const tool::CommandRegistrar TOOL_CONCAT(command_registrar_, __LINE__){tool::Command{__VA_ARGS__}}
#define TOOL_DEMO_STEP(...) \
  static const tool::DemoRegistrar TOOL_CONCAT(demo_registrar_, __LINE__){tool::DemoStep{__VA_ARGS__}}

#endif
