// vonautil net: the user's network folders (net_folders.cpp) and the network mounts made
// from them through the network daemon (net_mounts.cpp). Each runner gets the whole argument
// list, the sub-command's name first.
#ifndef VONAUTIL_TOOL_NET_HPP
#define VONAUTIL_TOOL_NET_HPP

#include <string>
#include <vector>

namespace tool {

extern const char kNetName[];  // "net", for the messages

int run_net_folders(const std::vector<std::string>& args);
int run_net_add_folder(const std::vector<std::string>& args);
int run_net_mount(const std::vector<std::string>& args);
int run_net_umount(const std::vector<std::string>& args);
int run_net_unlock(const std::vector<std::string>& args);
int run_net_mounts(const std::vector<std::string>& args);

}  // namespace tool

#endif
