// vonautil net folders / add-folder: the stored network folders.
#include "command.hpp"
#include "net.hpp"

namespace tool {

int run_net_folders(const std::vector<std::string>&) { return failure(kNetName, "folders is not built yet"); }
int run_net_add_folder(const std::vector<std::string>&) { return failure(kNetName, "add-folder is not built yet"); }

}  // namespace tool
