// The translation file parser on arbitrary bytes, through a temporary file: walking the file,
// checking it against a reference, and loading it must agree. A file whose entries all pass
// the walk loads unless it repeats a key, and then holds exactly the entries walked. Run with
// -close_fd_mask=2 to silence the parser's messages.
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "fuzz_file.hpp"
#include "vonautil.h"

namespace {

struct Walked {
  std::map<std::string, std::string> entries;
  bool repeated = false;
};

int collect(const char* key, const char* value, int, void* user) {
  Walked* walked = static_cast<Walked*>(user);
  if (strlen(key) == 0 || strlen(key) > 999 || strlen(value) > 999) abort();
  walked->repeated |= !walked->entries.emplace(key, value).second;
  return 0;
}

translation* reference() {
  static translation* loaded = [] {
    std::string path = fuzz_dir() + "/reference.txt";
    FILE* f = fopen(path.c_str(), "w");
    fputs("title = Title\nsize__1 = %s MB\nname = %{name}\n", f);
    fclose(f);
    return T_load_translation(path.c_str(), 1);
  }();
  return loaded;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string path = fuzz_file(data, size, "input.txt");

  Walked walked;
  int walk_result = T_iterate_translation_file(path.c_str(), collect, &walked);
  message_list* messages = T_analyze_translation(reference(), path.c_str(), 1);
  if (messages == nullptr) abort();
  ML_free_message_list(messages);

  translation* loaded = T_load_translation(path.c_str(), 1);
  if ((loaded != nullptr) != (walk_result == 0 && !walked.repeated)) abort();
  if (loaded != nullptr) {
    translation_all_keys* keys = T_get_all_keys(loaded);
    if (keys->count != (int)walked.entries.size()) abort();
    T_free_all_keys(keys);
    for (const auto& entry : walked.entries) {
      const char* value = T_get_value(loaded, entry.first.c_str());
      if (value == nullptr || entry.second != value) abort();
    }
    T_test_value_retrieval(loaded);
    T_free_translation(loaded);
  }
  return 0;
}
