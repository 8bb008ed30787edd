// JSON string escaping and binary record reading on arbitrary bytes: the escaped text must be
// a valid JSON string body (no raw control character or lone quote), and reads must never go
// past the buffer.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "fuzz_text.hpp"
#include "vonautil.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  char* text = fuzz_text(data, size);
  str_buf sb = {nullptr, 0, 0};
  str_buf_append_json_string(&sb, text);
  for (int i = 0; i < sb.length; ++i) {
    unsigned char c = (unsigned char)sb.data[i];
    if (c < 0x20) abort();
    if (c == '\\') ++i;  // the escaped character
    else if (c == '"' && i != 0 && i != sb.length - 1) abort();
  }
  free(sb.data);
  free(text);

  // The bytes as a record stream: each read takes its item size and count from the stream.
  std::unique_ptr<unsigned char[]> buffer(new unsigned char[size ? size : 1]);
  if (size) memcpy(buffer.get(), data, size);
  octet_stream os;
  octet_stream_init_reading(&os, buffer.get(), size);
  unsigned char out[4 * 16];
  for (int i = 0; i < 32 && os.remaining > 0; ++i) {
    int item_size = 1 + os.cursor[0] % 4, count = os.cursor[0] / 4 % 16;
    unsigned long long before = os.remaining;
    int result = octet_stream_read(&os, out, item_size, count);
    if (result == 1 ? os.remaining != before - (unsigned long long)(item_size * count) : os.remaining != before) abort();
    if (result != 1) break;
  }
  return 0;
}
