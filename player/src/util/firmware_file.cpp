#include "player/src/util/firmware_file.h"

#include <openssl/bn.h>
#include <openssl/dsa.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "player/src/util/mt/common.hpp"
#include "player/src/util/mt/fixed_path.hpp"

namespace {

// The product's key data, generated at configure time from the key file (kBodyKey, and the
// big-endian p, q, g and y of the firmware key and of the second key), with the name and
// fingerprint of the key set (kKeySet, kKeyFingerprint).
#include "firmware_keys.inc"

const char kSignaturePrefix[] = "VONA FIRMWARE FILE [";
const char kSignatureSuffix[] = "]";
const char kNamePrefix[] = "vona_firmware_";
const char kNameSuffix[] = ".dff";
const int kNamePrefixLength = sizeof kNamePrefix - 1;

// Parameter strings must end by this offset; filler numbers are added while the strings end
// before kFillerEnd; random bytes fill the header from kRandomStart (or the end of the strings).
const int kParamsEnd = 256;
const int kFillerEnd = 156;
const int kRandomStart = 256;

bool starts_with_ignore_case(const char* text, const char* prefix, size_t length) {
  for (size_t i = 0; i < length; ++i) {
    if (text[i] == '\0' || vona::to_lower(text[i]) != vona::to_lower(prefix[i])) return false;
  }
  return true;
}

bool ends_with(const char* text, const char* suffix, bool ignore_case) {
  size_t text_length = strlen(text);
  size_t suffix_length = strlen(suffix);
  if (text_length < suffix_length) return false;
  const char* tail = text + text_length - suffix_length;
  return ignore_case ? starts_with_ignore_case(tail, suffix, suffix_length) : strcmp(tail, suffix) == 0;
}

// Appends zero-terminated strings ("text" or "text:value") to the header while they fit below
// a limit.
struct HeaderWriter {
  char* header;
  int offset;

  bool put(const char* text, const char* value = nullptr, int limit = FW_FILE_HEADER_SIZE) {
    int written = fw_put_header_param(header + offset, limit - offset, text, value);
    if (written < 0) return false;
    offset += written;
    return true;
  }
  bool put_number(const char* format, long long number) {
    char text[32];
    snprintf(text, sizeof text, format, number);
    return put(text);
  }
};

struct DsaPublicKey {
  const unsigned char* p;
  int p_length;
  const unsigned char* q;
  int q_length;
  const unsigned char* g;
  int g_length;
  const unsigned char* y;
  int y_length;
};

const DsaPublicKey kFirmwareKey = {kFirmwareP, sizeof kFirmwareP, kFirmwareQ, sizeof kFirmwareQ,
                                   kFirmwareG, sizeof kFirmwareG, kFirmwareY, sizeof kFirmwareY};
const DsaPublicKey kDasKey = {kDasP, sizeof kDasP, kDasQ, sizeof kDasQ, kDasG, sizeof kDasG, kDasY, sizeof kDasY};

// The low-level DSA calls are deprecated in OpenSSL 3 in favour of EVP keys; they are what
// these checks are defined by, so the warning is silenced for this one function only.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
int verify_dsa(const DsaPublicKey& key, const unsigned char* digest, int digest_length,
               const unsigned char* signature, int signature_length) {
  if (digest == nullptr || signature == nullptr || digest_length < 1 || signature_length < 1) return 0;
  DSA* dsa = DSA_new();
  if (dsa == nullptr) return 0;
  BIGNUM* p = BN_bin2bn(key.p, key.p_length, nullptr);
  BIGNUM* q = BN_bin2bn(key.q, key.q_length, nullptr);
  BIGNUM* g = BN_bin2bn(key.g, key.g_length, nullptr);
  BIGNUM* y = BN_bin2bn(key.y, key.y_length, nullptr);
  int valid = 0;
  if (p && q && g && DSA_set0_pqg(dsa, p, q, g)) {
    p = q = g = nullptr;  // owned by dsa now
    if (y && DSA_set0_key(dsa, y, nullptr)) {
      y = nullptr;
      valid = DSA_verify(0, digest, digest_length, signature, signature_length, dsa) == 1;
    }
  }
  BN_free(p);
  BN_free(q);
  BN_free(g);
  BN_free(y);
  DSA_free(dsa);
  return valid;
}
#pragma GCC diagnostic pop

// The first line of an identity file, at most 63 characters without its line ending. Nothing
// runs without these values, so any failure ends the process.
char* read_identity_line(const char* fixed, const char* what) {
  std::string path = vona::fixed_path(fixed);
  FILE* file = fopen(path.c_str(), "r");
  if (file == nullptr) {
    fprintf(stderr, "Can not open '%s' for read: %s.\n", path.c_str(), strerror(errno));
    exit(1);
  }
  const int size = 64;
  char* line = (char*)malloc(size);
  if (line == nullptr) {
    fprintf(stderr, "Fatal error: can not allocate memory for %s (%d).\n", what, size);
    exit(1);
  }
  if (fgets(line, size, file) == nullptr) {
    fprintf(stderr, "Fatal error: can not read '%s'.\n", path.c_str());
    exit(1);
  }
  fclose(file);
  size_t length = strlen(line);
  while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r')) line[--length] = '\0';
  return line;
}

struct BaseFirmwareInfo {
  char* product_id = nullptr;
  char* firmware_version = nullptr;
};

// Read once, even when the file is missing: the last "product_id:" and "firmware_version:"
// lines give the values, white space trimmed.
const BaseFirmwareInfo& base_firmware_info() {
  static BaseFirmwareInfo info;
  static bool loaded = false;
  if (loaded) return info;
  loaded = true;
  FILE* file = fopen(vona::fixed_path("/firmware/config/base_firmware_info.txt").c_str(), "r");
  if (file == nullptr) return info;
  char* line = nullptr;
  size_t capacity = 0;
  while (getline(&line, &capacity, file) >= 0) {
    char** field = nullptr;
    const char* value = nullptr;
    if (strncmp(line, "product_id:", 11) == 0) {
      field = &info.product_id;
      value = line + 11;
    } else if (strncmp(line, "firmware_version:", 17) == 0) {
      field = &info.firmware_version;
      value = line + 17;
    } else {
      continue;
    }
    free(*field);
    *field = str_strip(strdup(value));
  }
  free(line);
  fclose(file);
  return info;
}

}  // namespace

int is_main_flash_format(const char* format) { return strcmp(format, "format1") == 0; }

// --- signatures and names ------------------------------------------------------------------

const char* fw_get_file_signature_prefix(void) { return kSignaturePrefix; }
const char* fw_get_file_signature_suffix(void) { return kSignatureSuffix; }

char* fw_get_file_signature_for_product_id(char* buffer, const char* product_id) {
  sprintf(buffer, "%s%s%s", kSignaturePrefix, product_id, kSignatureSuffix);
  return buffer;
}

int fw_is_file_signature_for_product_id(const char* text, const char* product_id) {
  size_t prefix_length = sizeof kSignaturePrefix - 1;
  size_t id_length = strlen(product_id);
  return strncmp(text, kSignaturePrefix, prefix_length) == 0 &&
         strncmp(text + prefix_length, product_id, id_length) == 0 &&
         strcmp(text + prefix_length + id_length, kSignatureSuffix) == 0;
}

int fw_is_file_signature_for_product_id_prefix(const char* text, const char* prefix) {
  char start[128];
  snprintf(start, sizeof start, "%s%s_", kSignaturePrefix, prefix);
  return strncmp(text, start, strlen(start)) == 0 && ends_with(text, kSignatureSuffix, false);
}

char* fw_get_file_name_prefix_for_product_id_prefix(char* buffer, const char* prefix) {
  sprintf(buffer, "%s%s_", kNamePrefix, prefix);
  return buffer;
}

const char* fw_get_file_name_suffix(void) { return kNameSuffix; }

int fw_is_firmware_file_name_for_product_id_prefix(const char* name, const char* prefix) {
  size_t prefix_length = strlen(prefix);
  return starts_with_ignore_case(name, kNamePrefix, kNamePrefixLength) &&
         starts_with_ignore_case(name + kNamePrefixLength, prefix, prefix_length) &&
         name[kNamePrefixLength + prefix_length] == '_' && ends_with(name, kNameSuffix, true);
}

int fw_is_firmware_file_name(const char* name) {
  return starts_with_ignore_case(name, kNamePrefix, kNamePrefixLength) && ends_with(name, kNameSuffix, true);
}

// --- header --------------------------------------------------------------------------------

int fw_put_header_param(char* buffer, int capacity, const char* name, const char* value) {
  // A null value writes the name alone, which is how the header writer adds its plain strings.
  size_t length = strlen(name) + (value ? 1 + strlen(value) : 0) + 1;
  if (capacity < 1 || length > (size_t)capacity) return -1;
  snprintf(buffer, length, "%s%s%s", name, value ? ":" : "", value ? value : "");
  return (int)length;
}

int fw_generate_fw_file_header(char* header, const char* text_a, int body_size, int seed, const char* flash_format,
                               const char* text_b, int hw_version, const string_array* params) {
  if (params != nullptr && params->size % 2 != 0) return -1;
  memset(header, 0, FW_FILE_HEADER_SIZE);
  HeaderWriter writer{header, 0};
  bool main_format = is_main_flash_format(flash_format);
  if (main_format && !writer.put(text_b)) return -1;
  if (!writer.put(flash_format)) return -1;
  if (main_format && !writer.put(text_a)) return -1;
  // The size is printed as the 32-bit sum, wrapping like the int it is.
  if (!writer.put_number("%lld", (int)((unsigned)body_size + FW_FILE_HEADER_SIZE))) return -1;
  if (!writer.put_number("%lld", seed)) return -1;
  if (!writer.put_number("hwv:%lld", hw_version)) return -1;
  for (int i = 0; params != nullptr && i < params->size; i += 2) {
    if (!writer.put(params->items[i], params->items[i + 1], kParamsEnd)) return -1;
  }
  srand48(seed);
  while (writer.offset < kFillerEnd) writer.put_number("%lld", (unsigned)(lrand48() % 100000000));
  for (int i = writer.offset > kRandomStart ? writer.offset : kRandomStart; i < FW_FILE_HEADER_SIZE; ++i) {
    header[i] = (char)(lrand48() & 0xFF);
  }
  return 0;
}

const char* fw_parse_next_zt_string(const char** cursor, const char* end) {
  const char* terminator = *cursor;
  while (terminator < end && *terminator != '\0') ++terminator;
  *cursor = terminator;
  if (terminator >= end) return nullptr;
  const char* next = terminator + 1;
  const char* next_end = next;
  while (next_end < end && *next_end != '\0') ++next_end;
  if (next_end >= end) return nullptr;
  *cursor = next;
  return next;
}

const char* fw_get_header_param_value(const char* start, const char* end, const char* name) {
  size_t name_length = strlen(name);
  const char* cursor = start;
  for (const char* text; (text = fw_parse_next_zt_string(&cursor, end)) != nullptr;) {
    const char* colon = strchr(text, ':');
    if (colon == nullptr) return nullptr;
    if ((size_t)(colon - text) == name_length && memcmp(text, name, name_length) == 0) return colon + 1;
  }
  return nullptr;
}

// --- body ----------------------------------------------------------------------------------

void fw_checksum_block(const unsigned char* data, int length, unsigned int* sum) {
  unsigned int total = *sum;
  for (int i = 0; i < length; ++i) total += data[i];
  *sum = total;
}

// The second half is XORed with the key, then each byte of the first half with its partner in
// the (already changed) second half and the key. With an odd length the middle byte belongs to
// the second half. Decryption undoes the two steps in the opposite order.
void fw_encrypt_body_block(unsigned char* block, int length) {
  int half = length / 2;
  for (int i = half; i < length; ++i) block[i] ^= kBodyKey[i & 31];
  for (int i = 0; i < half; ++i) block[i] ^= block[half + i] ^ kBodyKey[i & 31];
}

void fw_decrypt_body_block(unsigned char* block, int length) {
  int half = length / 2;
  for (int i = 0; i < half; ++i) block[i] ^= block[half + i] ^ kBodyKey[i & 31];
  for (int i = half; i < length; ++i) block[i] ^= kBodyKey[i & 31];
}

int fw_verify_dsa_signature(const unsigned char* digest, int digest_length, const unsigned char* signature,
                            int signature_length) {
  return verify_dsa(kFirmwareKey, digest, digest_length, signature, signature_length);
}

int fw_verify_das_dsa_signature(const unsigned char* digest, int digest_length, const unsigned char* signature,
                                int signature_length) {
  return verify_dsa(kDasKey, digest, digest_length, signature, signature_length);
}

const char* fw_get_key_set(void) { return kKeySet; }
const char* fw_get_key_fingerprint(void) { return kKeyFingerprint; }

// --- identity ------------------------------------------------------------------------------

const char* get_product_id(void) {
  static char* value = read_identity_line("/firmware/config/product_id.txt", "product id");
  return value;
}

const char* get_upgrade_product_id_prefix(void) {
  static char* value = read_identity_line("/firmware/config/upgrade_product_id_prefix.txt", "product id");
  return value;
}

const char* get_firmware_version(void) {
  static char* value = read_identity_line("/firmware/config/firmware_version.txt", "fw version");
  return value;
}

const char* get_base_product_id(void) { return base_firmware_info().product_id; }
const char* get_base_firmware_version(void) { return base_firmware_info().firmware_version; }
