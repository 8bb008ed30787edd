// vonautil daemon network_manager: a stand-in for the player's network daemon.
#include "command.hpp"
#include "daemon.hpp"

namespace tool {

int run_network_manager(const std::vector<std::string>&) { return failure("daemon", "network_manager is not built yet"); }

}  // namespace tool
