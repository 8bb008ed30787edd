/* Guessing the encoding of a text that comes from outside (subtitles, playlists, tags).
 *
 * A text is fed chunk by chunk (for example line by line) into an auto_enc_stat; the guess
 * is UTF-8 when every chunk was valid UTF-8, otherwise the 8-bit encoding of the interface
 * language, refined by the share of ASCII letters (mostly Latin text: CP1252) and by whether
 * the bytes fit CP1255 (Hebrew) or not (Cyrillic CP1251). */
#ifndef VONAUTIL_AUTO_ENC_H
#define VONAUTIL_AUTO_ENC_H

#include "export.h"

typedef struct auto_enc_stat {
  unsigned int letters;    /* ASCII letters seen */
  unsigned int high_bytes; /* bytes 0x80 and above seen */
  int not_utf8;            /* some chunk was not valid UTF-8 */
  int not_cp1255;          /* some chunk held a byte that CP1255 leaves undefined */
} auto_enc_stat;

VONA_BEGIN_DECLS

/* 1 when [begin, end) is well-formed UTF-8 (a sequence cut off by end is not). */
int is_str_valid_utf8(const char* begin, const char* end);
/* 1 when the first 10000 characters of the zero-terminated s are well-formed UTF-8 (the
 * character after them must start a well-formed sequence too). */
int detect_utf8(const char* s);
/* 1 when [begin, end) holds no byte that CP1255 leaves undefined; empty input is valid. */
int is_str_valid_cp1255(const char* begin, const char* end);

void auto_enc_stat_create(auto_enc_stat* stat);
void auto_enc_stat_update(auto_enc_stat* stat, const char* begin, const char* end);
/* 1 when nothing was counted or more than 80% of the counted bytes are ASCII letters. */
int auto_enc_stat_is_cp1252(const auto_enc_stat* stat);
/* The guessed encoding number for the current interface language. */
int auto_enc_get_auto_encoding(const auto_enc_stat* stat, int allow_cp1252, int allow_cp1255);

/* The 8-bit (or CJK) encoding of an interface language by its predefined name; CP1252 (3)
 * for every language without one of its own. */
int MY_Encoding_8bit_from_interface_language(const char* language);

VONA_END_DECLS

#endif
