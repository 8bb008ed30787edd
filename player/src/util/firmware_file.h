/* Firmware upgrade files and the identity of the running device.
 *
 * An upgrade file (named "vona_firmware_<product id prefix>_..." and ending in ".dff") starts
 * with a 512-byte header of zero-terminated strings, followed by the body, which is summed
 * byte by byte, may be scrambled block by block and is signed with DSA. The upgrade tool decides
 * which digest is signed and which blocks are scrambled; these functions give it the pieces. */
#ifndef VONAUTIL_FIRMWARE_FILE_H
#define VONAUTIL_FIRMWARE_FILE_H

#include "mt/basic_string_array.h"
#include "mt/export.h"

VONA_BEGIN_DECLS

/* Size of the header at the start of every upgrade file. */
#define FW_FILE_HEADER_SIZE 512

/* 1 when `format` is "format1", the main flash format, else 0. */
int is_main_flash_format(const char* format);

/* --- file signature: "VONA FIRMWARE FILE [<product id>]" --- */

const char* fw_get_file_signature_prefix(void); /* "VONA FIRMWARE FILE [" */
const char* fw_get_file_signature_suffix(void); /* "]" */
/* Writes the signature for `product_id` into `buffer` (strlen(product_id) + 22 bytes) and
 * returns buffer. */
char* fw_get_file_signature_for_product_id(char* buffer, const char* product_id);
/* 1 when `text` is exactly the signature for `product_id`. */
int fw_is_file_signature_for_product_id(const char* text, const char* product_id);
/* 1 when `text` starts with the signature prefix, `prefix` and "_" (that start cut to 127
 * characters) and ends with "]". */
int fw_is_file_signature_for_product_id_prefix(const char* text, const char* prefix);

/* --- file names: "vona_firmware_<prefix>_" ... ".dff", without regard to case --- */

/* Writes "vona_firmware_<prefix>_" into `buffer` (strlen(prefix) + 16 bytes); returns buffer. */
char* fw_get_file_name_prefix_for_product_id_prefix(char* buffer, const char* prefix);
const char* fw_get_file_name_suffix(void); /* ".dff" */
/* 1 when `name` starts with "vona_firmware_", `prefix` and "_" and ends with ".dff". */
int fw_is_firmware_file_name_for_product_id_prefix(const char* name, const char* prefix);
/* 1 when `name` starts with "vona_firmware_" and ends with ".dff". */
int fw_is_firmware_file_name(const char* name);

/* --- header --- */

/* Fills the FW_FILE_HEADER_SIZE bytes of `header`: zeros, then the strings text_b (main flash
 * format only), flash_format, text_a (main flash format only), body_size + 512, seed,
 * "hwv:<hw_version>", one "name:value" per pair of `params` (names and values alternating; may
 * be null), decimal filler numbers until offset 156 is reached, and random bytes from offset 256
 * (or the end of the strings) to the end. The numbers and bytes come from srand48(seed) /
 * lrand48(), so the same arguments give the same header. 0 on success; -1 for an odd number of
 * params, a parameter string that would pass offset 256, or strings that overflow the header. */
int fw_generate_fw_file_header(char* header, const char* text_a, int body_size, int seed, const char* flash_format,
                               const char* text_b, int hw_version, const string_array* params);

/* Writes "<name>:<value>" and its terminator at `buffer`, which has `capacity` bytes (a null
 * value writes the name alone). Returns the bytes written (terminator included), or -1 when they
 * do not fit (nothing is written then). */
int fw_put_header_param(char* buffer, int capacity, const char* name, const char* value);

/* Moves *cursor past the zero-terminated string it points at to the next string and returns
 * that string. `end` is the first byte after the strings. Returns null when the current string
 * runs to `end`, and null when the next one does; *cursor is left on the current string's
 * terminator (or at `end`) then. */
const char* fw_parse_next_zt_string(const char** cursor, const char* end);

/* Looks through the header strings after the one at `start` (up to `end`) for "name:value" and
 * returns the value. A string without ':' ends the search with null. */
const char* fw_get_header_param_value(const char* start, const char* end, const char* name);

/* --- body --- */

/* Adds the `length` bytes (taken unsigned) to *sum; a length below 1 adds nothing. */
void fw_checksum_block(const unsigned char* data, int length, unsigned int* sum);

/* Scramble / unscramble one block of the body in place. Blocks are independent: both directions
 * must use the same block boundaries. */
void fw_encrypt_body_block(unsigned char* block, int length);
void fw_decrypt_body_block(unsigned char* block, int length);

/* 1 when `signature` (DER-encoded DSA signature) is valid over `digest` under the firmware key /
 * the second product key; 0 otherwise, also when the key cannot be built. With the keys' 160-bit
 * q, only the first 20 bytes of a longer digest count. */
int fw_verify_dsa_signature(const unsigned char* digest, int digest_length, const unsigned char* signature,
                            int signature_length);
int fw_verify_das_dsa_signature(const unsigned char* digest, int digest_length, const unsigned char* signature,
                                int signature_length);

/* The key set built in: "development" (the keys that come with the source, which no product may
 * ship) or "product" (the key file given to the build). Its fingerprint tells product key sets
 * apart: the first 16 hex digits of the SHA-256 of the keys' numbers as lower-case hex, in the
 * order of the key file (body_key, firmware_p, _q, _g, _y, das_p, _q, _g, _y). */
const char* fw_get_key_set(void);
const char* fw_get_key_fingerprint(void);

/* --- identity of the running device, read once from "/firmware/config/" --- */

/* The first lines of "product_id.txt", "upgrade_product_id_prefix.txt" and
 * "firmware_version.txt". A file that cannot be opened or is empty ends the process with
 * status 1 after a message on standard error. The text is owned by the library. */
const char* get_product_id(void);
const char* get_upgrade_product_id_prefix(void);
const char* get_firmware_version(void);
/* The "product_id:" and "firmware_version:" lines of "base_firmware_info.txt" (the last one of
 * each counts), white space trimmed; null when the file or the line is missing. */
const char* get_base_product_id(void);
const char* get_base_firmware_version(void);

VONA_END_DECLS

#endif
