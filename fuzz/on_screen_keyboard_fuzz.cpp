// The keyboard layout parser on arbitrary text: a layout that parses must dump to text that
// parses back to the same layout and dumps the same again.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fuzz_text.hpp"
#include "player/src/util/on_screen_keyboard.hpp"
#include "vonautil.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  char* text = fuzz_text(data, size);
  static osk_layout parsed, reparsed;  // large records: kept off the stack
  osk_initialize_layout(&parsed);
  if (osk_parse_layout(&parsed, text) == nullptr) {
    std::string dump = vona::osk_dump_to_string(&parsed);
    osk_initialize_layout(&reparsed);
    if (osk_parse_layout(&reparsed, dump.c_str()) != nullptr || !vona::osk_layouts_equal(&parsed, &reparsed) ||
        vona::osk_dump_to_string(&reparsed) != dump) {
      abort();
    }
    osk_finalize_layout(&reparsed);
  }
  osk_finalize_layout(&parsed);
  free(text);
  return 0;
}
