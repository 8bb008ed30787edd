// The properties file loaders and the value unescaping on arbitrary files: both loaders must
// agree on a file below the size cap, and unescaping must stay inside the value.
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "fuzz_file.hpp"
#include "vonautil.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string path = fuzz_file(data, size);
  properties* capped = properties_load_from_internal_file_with_index(path.c_str());
  properties* whole = properties_create_empty();
  if (capped == nullptr || !properties_build_from_unlimited_size_internal_file(whole, path.c_str())) abort();
  if (!properties_equal(capped, whole)) abort();
  for (int i = 0; i < capped->count; ++i) {
    size_t length = strlen(capped->values[i]);
    str_seg seg = properties_unescape_value_seg(str_seg{capped->values[i], (int)length});
    if (seg.start < capped->values[i] || seg.length < 0 || (size_t)(seg.start - capped->values[i]) + seg.length > length) {
      abort();
    }
    properties_unescape_value(capped->values[i]);
    size_t unescaped = strlen(capped->values[i]);
    if (unescaped != length && unescaped + 2 != length) abort();
  }
  properties_free(capped);
  properties_free(whole);
  return 0;
}
