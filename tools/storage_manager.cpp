// vonautil daemon storage_manager: a stand-in for the player's storage daemon.
#include "command.hpp"
#include "daemon.hpp"

namespace tool {

int run_storage_manager(const std::vector<std::string>&) { return failure("daemon", "storage_manager is not built yet"); }

}  // namespace tool
