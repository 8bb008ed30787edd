#include "player/src/util/mt/iconv_utils.h"

#include <errno.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "player/src/util/mt/common.h"
#include "player/src/util/mt/log.h"
#include "player/src/util/mt/thread_key.hpp"

namespace {

const char* const kEncodings[MAX_ICONV_ENCODINGS] = {"UTF-8", "CP950", "CP936", "EUC-KR"};
const iconv_t kNone = (iconv_t)-1;

// The UTF-32 side: "UCS-4-INTERNAL" where iconv knows that name, else UCS-4 in host byte
// order under its portable name, which is the same encoding.
const char kUtf32Internal[] = "UCS-4-INTERNAL";
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
const char kUtf32HostOrder[] = "UCS-4BE";
#else
const char kUtf32HostOrder[] = "UCS-4LE";
#endif

const char* find_utf32_name() {
  iconv_t probe = iconv_open(kUtf32Internal, kUtf32HostOrder);
  if (probe == kNone) return kUtf32HostOrder;
  iconv_close(probe);
  return kUtf32Internal;
}

const char* utf32_name() {
  static const char* const name = find_utf32_name();
  return name;
}

struct Descriptors {
  iconv_t to_utf32[MAX_ICONV_ENCODINGS];
  iconv_t from_utf32[MAX_ICONV_ENCODINGS];
};

void close_descriptors(void* state) {
  Descriptors* descriptors = (Descriptors*)state;
  for (int i = 0; i < MAX_ICONV_ENCODINGS; ++i) {
    if (descriptors->to_utf32[i] != kNone) iconv_close(descriptors->to_utf32[i]);
    if (descriptors->from_utf32[i] != kNone) iconv_close(descriptors->from_utf32[i]);
  }
  free(descriptors);
}

vona::ThreadKey descriptors_key{close_descriptors};

Descriptors* thread_descriptors() {
  Descriptors* descriptors = (Descriptors*)descriptors_key.get();
  if (descriptors == nullptr) {
    descriptors = (Descriptors*)malloc(sizeof(Descriptors));
    for (int i = 0; i < MAX_ICONV_ENCODINGS; ++i) descriptors->to_utf32[i] = descriptors->from_utf32[i] = kNone;
    descriptors_key.set(descriptors);
  }
  return descriptors;
}

// An encoding that iconv cannot convert is a build of the C library without it: fatal.
iconv_t iconv_utils_open(const char* to, const char* from) {
  iconv_t descriptor = iconv_open(to, from);
  if (descriptor == kNone) {
    int error = errno;
    fprintf(stderr, "Fatal error: failed to create iconv conversion descriptior for '%s' -> '%s': %s\n", from, to,
            error == EINVAL ? "such conversion not supported by the implementation" : strerror(error));
    MY_ASSERT(0);
  }
  return descriptor;
}

// The calling thread's descriptor in `slot`, opened on first use.
iconv_t descriptor(iconv_t* slot, const char* to, const char* from) {
  if (*slot == kNone) *slot = iconv_utils_open(to, from);
  return *slot;
}

}  // namespace

iconv_t iconv_utils_get_to_utf32_conversion_descriptor(int enc) {
  MY_ASSERT(enc >= 0 && enc < MAX_ICONV_ENCODINGS);
  return descriptor(&thread_descriptors()->to_utf32[enc], utf32_name(), kEncodings[enc]);
}

iconv_t iconv_utils_get_from_utf32_conversion_descriptor(int enc) {
  MY_ASSERT(enc >= 0 && enc < MAX_ICONV_ENCODINGS);
  return descriptor(&thread_descriptors()->from_utf32[enc], kEncodings[enc], utf32_name());
}

int iconv_utils_copy_to_utf32(iconv_t descriptor, UTF32* target, const char* source, int max) {
  MY_ASSERT(target);
  MY_ASSERT(source);
  iconv(descriptor, nullptr, nullptr, nullptr, nullptr);  // start from the initial state
  char* in = (char*)source;
  size_t in_left = strlen(source);
  char* out = (char*)target;
  size_t out_left = (size_t)(max > 0 ? max : 0) * sizeof(UTF32);
  while (iconv(descriptor, &in, &in_left, &out, &out_left) == (size_t)-1) {
    int error = errno;
    if (out_left < sizeof(UTF32) || error == E2BIG) {
      log_print("Warning: iconv UTF32 output buffer exhausted");
      break;
    }
    // A byte that does not convert (or an incomplete sequence at the end) becomes "?".
    ++in;
    --in_left;
    *(UTF32*)out = '?';
    out += sizeof(UTF32);
    out_left -= sizeof(UTF32);
    if (error == EINVAL || in_left == 0) break;
  }
  int count = (int)((UTF32*)out - target);
  target[count] = 0;
  return count;
}

UTF32* iconv_utils_convert_to_utf32(iconv_t descriptor, const char* source) {
  MY_ASSERT(source);
  size_t length = strlen(source);
  UTF32* result = (UTF32*)malloc((length + 1) * sizeof(UTF32));
  iconv_utils_copy_to_utf32(descriptor, result, source, (int)length);
  return result;
}

char* iconv_utils_convert_from_utf32(iconv_t descriptor, int bytes_per_char, const UTF32* source_utf32) {
  MY_ASSERT(source_utf32);
  size_t length = 0;
  while (source_utf32[length]) ++length;
  char* result = (char*)malloc((size_t)bytes_per_char * length + 1);
  iconv(descriptor, nullptr, nullptr, nullptr, nullptr);
  char* in = (char*)source_utf32;
  size_t in_left = length * sizeof(UTF32);
  char* out = result;
  size_t out_left = (size_t)bytes_per_char * length;
  while (iconv(descriptor, &in, &in_left, &out, &out_left) == (size_t)-1) {
    int error = errno;
    if (out_left == 0 || error == E2BIG) {
      log_print("Warning: iconv output buffer exhausted");
      break;
    }
    if (in_left < sizeof(UTF32)) {
      log_print("Warning: iconv UTF32 input buffer illegal state");
      break;
    }
    // A character the encoding lacks becomes "?".
    in += sizeof(UTF32);
    in_left -= sizeof(UTF32);
    *out++ = '?';
    --out_left;
    if (error == EINVAL || in_left == 0) break;
  }
  *out = 0;
  return result;
}
