// Walks arbitrary bytes as firmware header strings and looks parameters up in them; also runs
// the body cipher both ways over the input. The buffer is exactly as large as the input, so a
// read past `end` is caught by the sanitizers.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "vonautil.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0 || size > 4096) return 0;
  // The first byte chooses the name to look up: the first `length` bytes of the rest.
  size_t name_length = data[0] % 8 < size - 1 ? data[0] % 8 : size - 1;
  std::unique_ptr<char[]> name(new char[name_length + 1]);
  memcpy(name.get(), data + 1, name_length);
  name[name_length] = '\0';

  size_t length = size - 1;
  std::unique_ptr<char[]> header(new char[length ? length : 1]);
  memcpy(header.get(), data + 1, length);
  const char* end = header.get() + length;
  const char* cursor = header.get();
  for (const char* text; (text = fw_parse_next_zt_string(&cursor, end)) != nullptr;) {
    if (text != cursor || text <= header.get() || text >= end || memchr(text, '\0', end - text) == nullptr) abort();
  }
  if (cursor < header.get() || cursor > end) abort();
  if (length > 0) {
    const char* value = fw_get_header_param_value(header.get(), end, name.get());
    if (value != nullptr && (value <= header.get() || value >= end || value[-1] != ':')) abort();
  }

  std::unique_ptr<unsigned char[]> block(new unsigned char[length ? length : 1]);
  memcpy(block.get(), data + 1, length);
  fw_encrypt_body_block(block.get(), (int)length);
  fw_decrypt_body_block(block.get(), (int)length);
  if (memcmp(block.get(), data + 1, length) != 0) abort();
  return 0;
}
