// The readers of program printouts on arbitrary text: the partition table state of a
// partitioning printout and the df entry reader must stay within their answers and never read
// past the text.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "fuzz_text.hpp"
#include "player/src/util/mt/storage_utils.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  char* text = fuzz_text(data, size);
  int state = vona::storage_partition_table_state(text);
  if (state < -1 || state > 1) abort();
  // Only a printout with a GPT can give a state, only one with a table line counts as msdos.
  if (state != -1 && strstr(text, "Partition Table: gpt") == nullptr) abort();
  if (vona::storage_printout_is_msdos(text) && strstr(text, "Partition Table: ") == nullptr) abort();

  long long total = 0, used = 0, available = 0;
  vona::storage_read_df_output(text, &total, &used, &available);
  // Without a line after the header there is no entry.
  const char* second = strchr(text, '\n');
  if ((second == nullptr || second[1] == '\0') && (total != -1 || used != -1 || available != -1)) abort();
  vona::storage_df_size_to_bytes(text);
  free(text);
  return 0;
}
