// The network folder store loader on arbitrary store files: every loaded folder is complete,
// SMB names are lower case and short enough, the counter is at least 1, generated ids stay the
// same at the next load, and the loaded list saves and loads back to the same folders.
#include <sys/stat.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fuzz_file.hpp"
#include "vonautil.h"

namespace {

// The fuzzer's folder is the root of the fixed paths, so the store lands inside it.
void enter_sandbox() {
  static bool done = false;
  if (done) return;
  done = true;
  setenv("VONAUTIL_ROOT", fuzz_dir().c_str(), 1);
  if (mkdir((fuzz_dir() + "/config").c_str(), 0700) != 0) abort();
}

bool is_smb_text(const char* text) {
  size_t length = strlen(text);
  if (length > 255) return false;
  for (size_t i = 0; i < length; ++i) {
    if (isupper((unsigned char)text[i])) return false;
  }
  return true;
}

// The folders as comparable rows; a protocol of -1 is stored as none and loads as 1.
std::vector<std::string> rows(const network_folder_list* list) {
  std::vector<std::string> result;
  for (int i = 0; i < list->num_items; ++i) {
    const network_folder* f = list->items[i];
    int protocol = f->protocol == NETWORK_PROTOCOL_NONE ? NETWORK_PROTOCOL_TCP : f->protocol;
    result.push_back(std::string(f->id) + '\n' + f->name + '\n' + std::to_string(f->type) + '\n' + f->server + '\n' +
                     f->directory + '\n' + f->user + '\n' + f->password + '\n' + std::to_string(protocol));
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  enter_sandbox();
  fuzz_file(data, size, &NETWORK_FOLDERS_STORE_PATH[1]);  // below the root, without the leading "/"
  network_folder_list* loaded = network_folder_list_create();
  long long counter = 0;
  network_folder_list_load(loaded, &counter, 1);
  if (counter < 1) abort();
  for (int i = 0; i < loaded->num_items; ++i) {
    const network_folder* f = loaded->items[i];
    if (!f->id || !f->name || !f->server || !f->directory || !f->user || !f->password) abort();
    if (f->type == NETWORK_FOLDER_TYPE_SMB && (!is_smb_text(f->server) || !is_smb_text(f->directory))) abort();
  }
  // The load saved generated ids back; a second load must give the same folders and counter.
  network_folder_list* again = network_folder_list_create();
  long long counter_again = 0;
  network_folder_list_load(again, &counter_again, 0);
  if (rows(again) != rows(loaded) || counter_again != counter) abort();
  // And what the list saves is what it loads back.
  if (network_folder_list_save(loaded, 0, counter) != 0) abort();
  network_folder_list_clear(again);
  network_folder_list_load(again, nullptr, 0);
  if (rows(again) != rows(loaded)) abort();
  network_folder_list_free(again);
  network_folder_list_free(loaded);
  return 0;
}
