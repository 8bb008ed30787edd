// vonautil net folders / add-folder: the stored network folders.
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "command.hpp"
#include "net.hpp"
#include "player/src/util/mt/fixed_path.hpp"
#include "vonautil.h"

namespace tool {

namespace {

// The store's folders, loaded on construction (ids missing from the store are generated and
// saved back, so that what is printed stays true) and freed with the object.
struct StoredFolders {
  network_folder_list* list = network_folder_list_create();
  long long counter = 1;
  StoredFolders() { network_folder_list_load(list, &counter, 0); }
  ~StoredFolders() { network_folder_list_free(list); }
  StoredFolders(const StoredFolders&) = delete;
  StoredFolders& operator=(const StoredFolders&) = delete;
};

// One line: ID "NAME" TYPE://SERVER:DIR, then the user and whether a password is kept (SMB) or
// the protocol (NFS). The password itself is never printed.
void print_folder(const network_folder* f) {
  printf("%s \"%s\" %s://%s:%s", f->id, f->name, network_folder_type_to_string(f->type), f->server, f->directory);
  if (f->type == NETWORK_FOLDER_TYPE_NFS) {
    printf(" proto=%s", network_protocol_to_string(f->protocol));
  } else {
    printf(" user=\"%s\" password=%s", f->user, f->password[0] != '\0' ? "yes" : "no");
  }
  printf("\n");
}

// The options of add-folder.
struct NewFolder {
  std::vector<std::string> operands;  // NAME TYPE SERVER DIR
  std::string user;
  std::string password;
  std::string proto;
  bool has_credentials = false;
};

// Fills `folder` from args[1...]; false with `error` set on bad usage.
bool parse_new_folder(const std::vector<std::string>& args, NewFolder* folder, std::string* error) {
  for (size_t i = 1; i < args.size(); ++i) {
    const std::string& arg = args[i];
    std::string* value = arg == "--user" ? &folder->user : arg == "--password" ? &folder->password
                                                     : arg == "--proto"  ? &folder->proto
                                                                         : nullptr;
    if (value != nullptr) {
      if (i + 1 == args.size()) {
        *error = arg + " needs a value";
        return false;
      }
      *value = args[++i];
      folder->has_credentials |= arg != "--proto";
    } else if (arg.compare(0, 2, "--") == 0 || folder->operands.size() == 4) {
      *error = "unexpected argument '" + arg + "'";
      return false;
    } else {
      folder->operands.push_back(arg);
    }
  }
  if (folder->operands.size() != 4) {
    *error = "add-folder takes NAME TYPE SERVER DIR";
    return false;
  }
  for (const std::string& operand : folder->operands) {
    if (operand.empty()) {
      *error = "NAME, SERVER and DIR must not be empty";
      return false;
    }
  }
  return true;
}

}  // namespace

int run_net_folders(const std::vector<std::string>& args) {
  if (args.size() != 1) return usage_error(kNetName, "folders takes no arguments");
  StoredFolders stored;
  if (stored.list->num_items == 0) printf("no network folders\n");
  for (int i = 0; i < stored.list->num_items; ++i) print_folder(stored.list->items[i]);
  return kOk;
}

int run_net_add_folder(const std::vector<std::string>& args) {
  NewFolder request;
  std::string error;
  if (!parse_new_folder(args, &request, &error)) return usage_error(kNetName, error);
  const std::string& name = request.operands[0];
  const std::string& type_word = request.operands[1];
  int type = network_folder_type_from_string(type_word.c_str(), (int)type_word.size(), -1);
  if (type < 0) return usage_error(kNetName, "unknown folder type '" + type_word + "' (smb or nfs)");
  int protocol = NETWORK_PROTOCOL_NONE;
  if (type == NETWORK_FOLDER_TYPE_NFS) {
    if (request.has_credentials) return usage_error(kNetName, "--user and --password are for smb folders");
    protocol = request.proto.empty() ? NETWORK_PROTOCOL_TCP : network_protocol_from_string(request.proto.c_str(), -1);
    if (protocol < 0) return usage_error(kNetName, "unknown protocol '" + request.proto + "' (tcp or udp)");
  } else if (!request.proto.empty()) {
    return usage_error(kNetName, "--proto is for nfs folders");
  }

  StoredFolders stored;
  int same = network_folder_list_find_by_type_and_name(stored.list, type, name.c_str(), (int)name.size());
  if (same >= 0) {
    return failure(kNetName, "there is already a " + type_word + " folder named '" + name + "' (" +
                                 stored.list->items[same]->id + ")");
  }
  char* id_buffer = nullptr;
  const char* id = network_folder_generate_id(&id_buffer, &stored.counter);
  network_folder* folder = network_folder_create(id, name.c_str(), type, request.operands[2].c_str(),
                                                 request.operands[3].c_str(), request.user.c_str(),
                                                 request.password.c_str(), protocol);
  free(id_buffer);
  network_folder_list_add(stored.list, folder);
  FS_ensure_dirs(vona::fixed_path("/config").c_str(), 0755);
  if (network_folder_list_save(stored.list, 0, stored.counter) != 0) {
    return failure(kNetName, std::string("cannot save ") + NETWORK_FOLDERS_STORE_PATH);
  }
  printf("%s\n", folder->id);
  return kOk;
}

}  // namespace tool
