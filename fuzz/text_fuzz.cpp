// Feeds arbitrary bytes to the UTF-8 decoders, the code-page conversions, the sort order and the
// encoding statistics. Well-formed UTF-8 must survive a round trip through UTF-32 unchanged;
// every other byte must read as exactly one "?". The text is an exact-size heap copy, so a read
// past its terminator is caught by the sanitizers.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "fuzz_text.hpp"
#include "vonautil.h"

namespace {

int sign(int n) { return (n > 0) - (n < 0); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  char* text = fuzz_text(data, size);
  size_t length = strlen(text);

  UTF32* wide = utf32_create_from_utf8(text);
  int count = utf32_strlen(wide);
  if (count != utf8_strlen(text) || count > (int)length) abort();

  // Validity agrees with the strict reference conversion; valid text comes back byte for byte.
  UTF32* scratch = (UTF32*)malloc((length + 1) * sizeof(UTF32));
  const UTF8* source = (const UTF8*)text;
  UTF32* target = scratch;
  bool valid = ConvertUTF8toUTF32(&source, source + length, &target, scratch + length, strictConversion) == conversionOK;
  if (valid != (bool)is_str_valid_utf8(text, text + length)) abort();
  if (valid && !detect_utf8(text)) abort();
  char* back = utf32_convert_to_utf8(wide);
  if (valid && strcmp(back, text) != 0) abort();
  free(scratch);
  free(back);

  // Every character survives CP1251 or becomes "?".
  char* cp1251 = utf32_convert_to_cp1251(wide);
  UTF32* again = utf32_create_from_cp1251(cp1251);
  for (int i = 0; i < count; ++i) {
    if (again[i] != wide[i] && again[i] != '?') abort();
  }
  free(cp1251);
  free(again);
  free(wide);

  // The sort order is antisymmetric and reflexive.
  std::string first(text, length / 2), second(text + length / 2);
  if (utf8_strcmp(text, text) != 0) abort();
  if (sign(utf8_strcmp(first.c_str(), second.c_str())) != -sign(utf8_strcmp(second.c_str(), first.c_str()))) abort();

  auto_enc_stat stat;
  auto_enc_stat_create(&stat);
  auto_enc_stat_update(&stat, (const char*)data, (const char*)data + size);
  if (stat.letters + stat.high_bytes > size) abort();
  auto_enc_get_auto_encoding(&stat, 1, 1);
  free(text);
  return 0;
}
