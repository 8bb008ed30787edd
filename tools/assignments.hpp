// KEY=VALUE arguments of the tool's commands, as properties.
#ifndef VONAUTIL_TOOL_ASSIGNMENTS_HPP
#define VONAUTIL_TOOL_ASSIGNMENTS_HPP

#include <string>
#include <vector>

#include "vonautil.h"

namespace tool {

// The arguments from `first` on as a new container (in their order; a repeated key keeps
// the last value), or null after setting `error` when one has no '=' or an empty key.
properties* parse_assignments(const std::vector<std::string>& args, size_t first, std::string* error);

// Prints "KEY = VALUE" per entry.
void print_entries(const properties* props, const char* indent);

// Makes sure "/tmp/run" (below VONAUTIL_ROOT) exists, as it does on the player.
void ensure_run_dir();

}  // namespace tool

#endif
