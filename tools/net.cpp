// vonautil net: network folders and network mounts.
#include "net.hpp"

#include "command.hpp"

namespace tool {

const char kNetName[] = "net";

namespace {

int run_net(const std::vector<std::string>& args) {
  return run_sub_command(kNetName, args,
                         {{"folders", run_net_folders},
                          {"add-folder", run_net_add_folder},
                          {"mount", run_net_mount},
                          {"umount", run_net_umount},
                          {"unlock", run_net_unlock},
                          {"mounts", run_net_mounts}});
}

}  // namespace

TOOL_COMMAND(kNetName, "network folders and the mounts of network shares",
             "Usage: vonautil net folders\n"
             "       vonautil net add-folder NAME TYPE SERVER DIR [--user U] [--password P] [--proto tcp|udp]\n"
             "       vonautil net mount FOLDER-NAME [--owner O]\n"
             "       vonautil net umount ID\n"
             "       vonautil net unlock ID OWNER\n"
             "       vonautil net mounts\n"
             "The folders are kept in /config/network_folders.properties, the mounts are made by the\n"
             "network daemon and listed in /tmp/run/network_mount_list.xml (both below\n"
             "$VONAUTIL_ROOT when it is set).\n"
             "  mount    mounts the stored folder FOLDER-NAME through the daemon for the owner O\n"
             "           (default vonautil), waits until it is mounted and prints it as\n"
             "             ID STATUS TYPE://SERVER:DIR MOUNT-POINT [locks: OWNER, ...]\n"
             "  umount   unmounts the mount ID and waits until it is gone; exit status 1 also when\n"
             "           the daemon refuses because owners still hold locks on it (busy)\n"
             "  unlock   drops OWNER's lock on the mount ID and prints the mount\n"
             "  mounts   prints max_mount_id and every published mount with its locks\n"
             "mount, umount and unlock need the network daemon (vonautil daemon network_manager).\n",
             run_net);

}  // namespace tool
