// vonautil net mount / umount / unlock / mounts: network mounts through the network daemon.
#include "command.hpp"
#include "net.hpp"

namespace tool {

int run_net_mount(const std::vector<std::string>&) { return failure(kNetName, "mount is not built yet"); }
int run_net_umount(const std::vector<std::string>&) { return failure(kNetName, "umount is not built yet"); }
int run_net_unlock(const std::vector<std::string>&) { return failure(kNetName, "unlock is not built yet"); }
int run_net_mounts(const std::vector<std::string>&) { return failure(kNetName, "mounts is not built yet"); }

}  // namespace tool
