#include "player/src/util/mt/auto_enc.h"

#include <cctype>
#include <cstring>

#include "player/src/util/mt/auto_enc.hpp"
#include "player/src/util/mt/convert_utf.hpp"
#include "player/src/util/mt/settings_provider.h"

namespace {

enum { kUtf8 = 0, kCp1250 = 1, kCp1251 = 2, kCp1252 = 3, kCp1253 = 4, kCp1254 = 5, kCp1255 = 6, kCp1256 = 7 };

// Only the first characters of a text decide whether it is UTF-8.
constexpr int kDetectUtf8Characters = 10000;

// The interface-language setting that asks for the default language, like a custom one.
constexpr char kLanguageFromDefault[] = "202";

struct LanguageEncoding {
  const char* language;
  int encoding;
};

// Japanese has no legacy encoding among the supported ones and falls back to CP1252 on purpose.
const LanguageEncoding kLanguageEncodings[] = {
    {"english", kCp1252},  {"french", kCp1252},   {"german", kCp1252},
    {"dutch", kCp1252},    {"spanish", kCp1252},  {"italian", kCp1252},
    {"danish", kCp1252},   {"swedish", kCp1252},  {"japanese", kCp1252},
    {"russian", kCp1251},  {"ukrainian", kCp1251}, {"bulgarian", kCp1251},
    {"romanian", kCp1250}, {"hungarian", kCp1250}, {"polish", kCp1250},
    {"czech", kCp1250},    {"slovak", kCp1250},   {"greek", kCp1253},
    {"turkish", kCp1254},  {"hebrew", kCp1255},   {"arabic", kCp1256},
    {"estonian", 8},       {"vietnamese", 9},     {"chinese_traditional", 10},
    {"chinese_simplified", 11}, {"korean", 12}};

bool is_cp1255_undefined(unsigned char b) {
  return b == 0x81 || b == 0x8A || (b >= 0x8C && b <= 0x90) || b == 0x9A || (b >= 0x9C && b <= 0x9F) ||
         b == 0xCA || (b >= 0xD9 && b <= 0xDF) || b == 0xFB || b == 0xFC || b == 0xFF;
}

}  // namespace

int is_str_valid_utf8(const char* begin, const char* end) {
  const UTF8* p = (const UTF8*)begin;
  const UTF8* stop = (const UTF8*)end;
  while (p < stop) {
    UTF32 c;
    int length = vona::utf::decode(p, stop, &c);
    if (length <= 0) return 0;
    p += length;
  }
  return 1;
}

int detect_utf8(const char* s) {
  const UTF8* p = (const UTF8*)s;
  const UTF8* end = p + strlen(s);
  for (int count = 0; p < end; ++count) {
    UTF32 c;
    int length = vona::utf::decode(p, end, &c);
    if (length <= 0) return 0;
    // The character after the first 10000 is only checked, as a full scratch buffer would.
    if (count == kDetectUtf8Characters) return 1;
    p += length;
  }
  return 1;
}

int is_str_valid_cp1255(const char* begin, const char* end) {
  for (const char* p = begin; p < end; ++p) {
    if (is_cp1255_undefined((unsigned char)*p)) return 0;
  }
  return 1;
}

void auto_enc_stat_create(auto_enc_stat* stat) { memset(stat, 0, sizeof *stat); }

void auto_enc_stat_update(auto_enc_stat* stat, const char* begin, const char* end) {
  if (!stat->not_utf8 && !is_str_valid_utf8(begin, end)) stat->not_utf8 = 1;
  if (!stat->not_cp1255 && !is_str_valid_cp1255(begin, end)) stat->not_cp1255 = 1;
  for (const char* p = begin; p < end; ++p) {
    unsigned char b = (unsigned char)*p;
    if (b >= 0x80) ++stat->high_bytes;
    else if (isalpha(b)) ++stat->letters;
  }
}

int auto_enc_stat_is_cp1252(const auto_enc_stat* stat) {
  double counted = (double)stat->letters + (double)stat->high_bytes;
  return counted == 0 || stat->letters / counted > 0.8;
}

int auto_enc_get_auto_encoding(const auto_enc_stat* stat, int allow_cp1252, int allow_cp1255) {
  const char* language = settings_provider_get_interface_language();
  if (strcmp(language, kLanguageFromDefault) == 0 || settings_provider_is_interface_language_custom()) {
    language = settings_provider_get_default_interface_language();
  }
  int encoding = MY_Encoding_8bit_from_interface_language(language);
  if (!stat->not_utf8) return kUtf8;
  bool non_latin = encoding == kCp1251 || encoding == kCp1253 || encoding == kCp1255 || encoding == kCp1256;
  if (allow_cp1252 && non_latin && auto_enc_stat_is_cp1252(stat)) return kCp1252;
  if (allow_cp1255 && (encoding == kCp1251 || encoding == kCp1255)) return stat->not_cp1255 ? kCp1251 : kCp1255;
  return encoding;
}

int MY_Encoding_8bit_from_interface_language(const char* language) {
  if (language) {
    for (const LanguageEncoding& entry : kLanguageEncodings) {
      if (strcmp(entry.language, language) == 0) return entry.encoding;
    }
  }
  return kCp1252;
}

const char* vona::interface_language_name(int index) {
  constexpr int count = sizeof kLanguageEncodings / sizeof kLanguageEncodings[0];
  return index >= 0 && index < count ? kLanguageEncodings[index].language : nullptr;
}
