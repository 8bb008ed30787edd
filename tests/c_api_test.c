/* The C interface as a C11 program sees it: every call below goes through the umbrella
 * header and the shared library. Exit status 0 when every check holds. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vonautil.h"

static int checks = 0;
static int failures = 0;

#define CHECK(cond)                                                              \
  do {                                                                           \
    checks++;                                                                    \
    if (!(cond)) {                                                               \
      fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond); \
      failures++;                                                                \
    }                                                                            \
  } while (0)

static void check_foundation(void) {
  char* path = fixed_path_resolve("relative");
  CHECK(strlen(vonautil_version()) > 0);
  CHECK(path && strcmp(path, "relative") == 0);
  free(path);
}

/* Reporting */

/* String tools */

static void check_strings(void) {
  char text[] = "a  b";
  char* cursor = text;
  const char* names[] = {"file10", "file2"};
  char* owned = malloc(4);
  unsigned char bytes[2];
  str_seg token = str_next_token_by_charset(&cursor, " ", 1);
  CHECK(token.length == 1 && token.start == text && cursor == text + 3);
  CHECK(str_parse_int("12 ", 5) == 5 && str_parse_int(" 12", 5) == 12);
  CHECK(str_parse_bool("YES", -1) == 1 && str_parse_color_rgb("FF0000", 0) == 0xFF0000);
  CHECK(str_parse_double("0.5", 0) == 0.5 && str_seg_parse_int(str_to_seg("77x"), 1) == 1);
  qsort(names, 2, sizeof *names, str_nat_cmp);
  CHECK(strcmp(names[0], "file2") == 0 && alnum_cmp("File2", "file10") < 0);
  CHECK(hex_str_to_byte_array("A0ff", bytes) == 0 && bytes[0] == 0xA0 && bytes[1] == 0xFF);
  CHECK(get_index_by_func_and_string(get_no_yes_choice_string_by_value, "yes", -1) == 1);
  strcpy(owned, "aXa");
  CHECK(str_replace_all(&owned, "a", "bb") == 2 && strcmp(owned, "bbXbb") == 0);
  free(owned);
  CHECK(get_intermediate_int_sqr(0, 100, 2, 4) == 50);
}

/* Arrays and containers */

/* Builders, buffers and properties */

/* Text */

/* Files, paths and URLs */

/* Firmware and MPEG */

static void check_mpeg(void) {
  /* a program association section with its stored CRC, after a packet header and pointer field */
  unsigned char packet[MPEG_TS_PACKET_SIZE] = {0x47, 0x40, 0x00, 0x10, 0x00, 0x00, 0xB0, 0x0D, 0x00, 0x01, 0xC1,
                                               0x00, 0x00, 0x00, 0x01, 0xF0, 0x00, 0x2A, 0xB1, 0x04, 0xB2};
  CHECK(mpeg_utils_calculate_crc_32((const unsigned char*)"123456789", 9) == 0x0376E6E7u);
  CHECK(mpeg_utils_verify_section(packet, 0) == packet + 5);
  CHECK(mpeg_utils_get_section_length(packet + 5) == 13);
  CHECK(mpeg_utils_verify_pmt(packet) == 0);
  CHECK(mpeg_utils_are_sections_equal(packet + 5, packet + 5) == 1);
  CHECK(mpeg_utils_get_difference_pts_ms(10, 95443700u, 5000) == 27);
}

int main(void) {
  check_foundation();
  check_strings();
  check_mpeg();
  printf("%d passed, %d failed\n", checks - failures, failures);
  return failures ? 1 : 0;
}
