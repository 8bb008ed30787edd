#include "player/src/util/mt/common.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <algorithm>
#include <limits>
#include <type_traits>

#include "player/src/util/mt/common.hpp"

const char* vonautil_version(void) { return VONAUTIL_VERSION; }

void MY_assertion_failed(const char* file, int line, const char* function, const char* expression) {
  // The module is named by its place in the firmware tree and without its extension, whatever
  // directory the library was built in.
  const char* module = file;
  for (const char* p = file; (p = strstr(p, "player/")) != nullptr; ++p) {
    if (p == file || p[-1] == '/') {
      module = p;
      break;
    }
  }
  const char* slash = strrchr(module, '/');
  const char* dot = strrchr(slash ? slash : module, '.');
  int length = dot ? (int)(dot - module) : (int)strlen(module);
  fflush(stdout);
  fprintf(stderr, "%.*s:%d: %s: Assertion `%s' failed.\n", length, module, line, function, expression);
  fflush(stderr);
  abort();
}

// ---- string segments ------------------------------------------------------------------------

using vona::CharSet;
using vona::is_alpha;
using vona::is_digit;
using vona::is_space;
using vona::to_lower;
using vona::to_upper;

namespace {

// What a null cursor yields: a segment that can still be read safely.
const char kEmptyText[] = "";

inline str_seg make_seg(const char* start, size_t length) { return str_seg{start, (int)length}; }
inline int seg_length(str_seg seg) { return seg.length > 0 ? seg.length : 0; }

inline bool is_letter(unsigned char c, int non_ascii_is_alpha) {
  return is_alpha(c) || (non_ascii_is_alpha && c > 127);
}

}  // namespace

str_seg str_to_seg(const char* c_str) {
  MY_ASSERT(c_str);
  return make_seg(c_str, strlen(c_str));
}

str_seg str_seg_trim_right(str_seg seg) {
  int n = seg_length(seg);
  while (n > 0 && is_space(seg.start[n - 1])) --n;
  return str_seg{seg.start, n};
}

str_seg str_seg_strip(str_seg seg) {
  const char* p = seg.start;
  const char* end = p + seg_length(seg);
  while (p < end && is_space(*p)) ++p;
  while (end > p && is_space(end[-1])) --end;
  return make_seg(p, end - p);
}

str_seg str_seg_trim_nonalpha_right(str_seg seg, int non_ascii_is_alpha) {
  int n = seg_length(seg);
  while (n > 0 && !is_letter(seg.start[n - 1], non_ascii_is_alpha)) --n;
  return str_seg{seg.start, n};
}

str_seg str_seg_trim_nonalpha_left(str_seg seg, int non_ascii_is_alpha) {
  const char* p = seg.start;
  const char* end = p + seg_length(seg);
  while (p < end && !is_letter(*p, non_ascii_is_alpha)) ++p;
  return make_seg(p, end - p);
}

int str_seg_is_spaces(str_seg seg) { return str_seg_strip(seg).length == 0; }

int str_seg_consists_of_chars(str_seg seg, const char* charset) {
  CharSet set(charset);
  for (int i = 0, n = seg_length(seg); i < n; ++i) {
    if (!set.contains(seg.start[i])) return 0;
  }
  return 1;
}

const char* str_seg_get_first_char(str_seg seg, char ch) {
  int n = seg_length(seg);
  return n ? (const char*)memchr(seg.start, ch, n) : nullptr;
}

const char* str_seg_get_last_char(str_seg seg, char ch) {
  int n = seg_length(seg);
  return n ? (const char*)memrchr(seg.start, ch, n) : nullptr;
}

const char* str_seg_get_first_char_multi(str_seg seg, const char* charset) {
  CharSet set(charset);
  for (int i = 0, n = seg_length(seg); i < n; ++i) {
    if (set.contains(seg.start[i])) return seg.start + i;
  }
  return nullptr;
}

int str_seg_parse_int(str_seg seg, int default_value) {
  char buffer[32];
  int n = std::min(seg_length(seg), 31);
  if (n) memcpy(buffer, seg.start, n);
  buffer[n] = 0;
  return str_parse_int(buffer, default_value);
}

// ---- scalar parsers -----------------------------------------------------------------------

namespace {

// The whole of `s` as one decimal number the way strtol/strtoll read it (leading white space,
// an optional sign, at least one digit) with nothing after it. Out-of-range values saturate at
// the limits of T, as strtol does with a long of T's width. False for anything else.
template <typename T>
bool parse_whole_decimal(const char* s, T* out) {
  using U = typename std::make_unsigned<T>::type;
  const unsigned char* p = (const unsigned char*)s;
  while (is_space(*p)) ++p;
  bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  if (!is_digit(*p)) return false;
  const U limit = (U)std::numeric_limits<T>::max() + (negative ? 1 : 0);
  U value = 0;
  for (; is_digit(*p); ++p) {
    unsigned digit = *p - '0';
    value = value <= (limit - digit) / 10 ? value * 10 + digit : limit;
  }
  if (*p) return false;
  if (!negative) *out = (T)value;
  else *out = value == limit ? std::numeric_limits<T>::min() : -(T)value;
  return true;
}

enum class Fast { kParsed, kInvalid, kSlow };

// Plain decimal texts ("0.5", "-23.976", "1e3") whose digits fit in 53 bits and whose power
// of ten is at most 22 convert exactly with one multiplication or division of two exact
// doubles, which rounds as strtod does. kInvalid when strtod would stop before the end;
// kSlow for whatever strtod must decide (hexadecimal, inf, nan, long or far numbers).
Fast parse_simple_double(const char* s, double* out) {
  static const double kPowersOfTen[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                        1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
  const unsigned long long kExact = 1ull << 53;
  const unsigned char* p = (const unsigned char*)s;
  while (is_space(*p)) ++p;
  bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  const unsigned char* digits = p;
  unsigned long long mantissa = 0;
  int exponent = 0;
  for (; is_digit(*p); ++p) {
    if (mantissa >= kExact) return Fast::kSlow;
    mantissa = mantissa * 10 + (*p - '0');
  }
  bool any_digit = p != digits;
  if (p == digits + 1 && *digits == '0' && (*p | 0x20) == 'x') return Fast::kSlow;
  if (*p == '.') {
    for (++p; is_digit(*p); ++p, --exponent) {
      if (mantissa >= kExact) return Fast::kSlow;
      mantissa = mantissa * 10 + (*p - '0');
      any_digit = true;
    }
  }
  if (!any_digit) return Fast::kSlow;
  if ((*p | 0x20) == 'e') {
    const unsigned char* e = p + 1;
    bool negative_exponent = *e == '-';
    if (*e == '-' || *e == '+') ++e;
    if (!is_digit(*e)) return Fast::kInvalid;  // strtod stops before the "e"
    int value = 0;
    for (; is_digit(*e); ++e) {
      if (value > 100000) return Fast::kSlow;
      value = value * 10 + (*e - '0');
    }
    exponent += negative_exponent ? -value : value;
    p = e;
  }
  if (*p) return Fast::kInvalid;
  if (mantissa > kExact) return Fast::kSlow;
  double value;
  if (mantissa == 0) value = 0.0;
  else if (exponent >= 0 && exponent <= 22) value = (double)mantissa * kPowersOfTen[exponent];
  else if (exponent < 0 && exponent >= -22) value = (double)mantissa / kPowersOfTen[-exponent];
  else return Fast::kSlow;
  *out = negative ? -value : value;
  return Fast::kParsed;
}

}  // namespace

int str_parse_int(const char* str, int default_value) {
  int value;
  return str && parse_whole_decimal(str, &value) ? value : default_value;
}

long long str_parse_long_long(const char* str, long long default_value) {
  long long value;
  return str && parse_whole_decimal(str, &value) ? value : default_value;
}

double str_parse_double(const char* str, double default_value) {
  if (!str || !*str) return default_value;
  double value;
  switch (parse_simple_double(str, &value)) {
    case Fast::kParsed: return value;
    case Fast::kInvalid: return default_value;
    case Fast::kSlow: break;
  }
  char* end;
  value = strtod(str, &end);
  return *end ? default_value : value;
}

int str_parse_bool(const char* str, int default_value) {
  if (!str) return default_value;
  // Each test reads the next byte only after the previous one matched a letter.
  if (to_lower(str[0]) == 'y' && to_lower(str[1]) == 'e' && to_lower(str[2]) == 's' && !str[3]) return 1;
  if (to_lower(str[0]) == 'n' && to_lower(str[1]) == 'o' && !str[2]) return 0;
  return default_value;
}

int str_parse_color_rgb(const char* str, int default_value) {
  if (!str || strnlen(str, 7) != 6) return default_value;
  int value = 0;
  for (int i = 0; i < 6; ++i) {
    int nibble = hex_char_to_nibble(str[i]);
    if (nibble < 0) {
      // Not six plain digits: what strtol also takes (blanks, a sign, "0x") decides.
      char* end;
      long number = strtol(str, &end, 16);
      return *end || number >= 0x1000000 ? default_value : (int)number;
    }
    value = value << 4 | nibble;
  }
  return value;
}

// ---- editing strings in place ----------------------------------------------------------------

char* str_trim_right(char* str) {
  if (!str) return str;
  char* end = str + strlen(str);
  char* cut = end;
  while (cut > str && is_space(cut[-1])) --cut;
  memset(cut, 0, end - cut);
  return str;
}

char* str_cut_trailing_whitespace(char* str) { return str_trim_right(str); }

char* str_trim_left(char* str) {
  if (!str) return str;
  while (is_space(*str)) ++str;
  return str;
}

char* str_strip(char* str) {
  if (!str) return str;
  str_trim_right(str);
  char* first = str_trim_left(str);
  if (first != str) memmove(str, first, strlen(first) + 1);
  return str;
}

char* str_to_lower(char* str) {
  if (str) {
    for (char* p = str; *p; ++p) *p = (char)to_lower(*p);
  }
  return str;
}

char* str_to_upper(char* str) {
  if (str) {
    for (char* p = str; *p; ++p) *p = (char)to_upper(*p);
  }
  return str;
}

int str_remove_prefix(char* str, const char* prefix) {
  if (!str || !prefix) return 0;
  char* rest = str;
  while (*prefix && *rest == *prefix) ++rest, ++prefix;
  if (*prefix) return 0;
  if (rest != str) memmove(str, rest, strlen(rest) + 1);
  return 1;
}

int str_remove_first_n_chars(char* str, int n) {
  if (!str) return 0;
  if (n <= 0) return 1;
  if (strnlen(str, n) < (size_t)n) return 0;
  memmove(str, str + n, strlen(str + n) + 1);
  return 1;
}

int str_contains_non_ascii(const char* str) {
  if (str) {
    for (const unsigned char* p = (const unsigned char*)str; *p; ++p) {
      if (*p > 127) return 1;
    }
  }
  return 0;
}

char* str_add_prefix(char** str, const char* prefix) {
  size_t prefix_length = prefix ? strlen(prefix) : 0;
  size_t length = *str ? strlen(*str) : 0;
  char* text = (char*)realloc(*str, prefix_length + length + 1);
  memmove(text + prefix_length, *str ? text : kEmptyText, length + 1);
  if (prefix_length) memcpy(text, prefix, prefix_length);
  return *str = text;
}

int str_replace(char** str, int from_offset, const char* old_text, const char* new_text) {
  if (!*str || !old_text || from_offset < 0) return -1;
  char* text = *str;
  size_t length = strlen(text);
  if ((size_t)from_offset > length) return -1;
  char* hit = strstr(text + from_offset, old_text);
  if (!hit) return -1;
  if (!new_text) new_text = kEmptyText;
  size_t at = hit - text, old_length = strlen(old_text), new_length = strlen(new_text);
  if (new_length > old_length) *str = text = (char*)realloc(text, length - old_length + new_length + 1);
  memmove(text + at + new_length, text + at + old_length, length - at - old_length + 1);
  memcpy(text + at, new_text, new_length);
  return (int)(at + new_length);
}

// One pass over the original text: every search continues just after the previous match, which
// is where a search after the inserted text lands, so the result is that of repeated str_replace.
int str_replace_all(char** str, const char* old_text, const char* new_text) {
  if (!*str || !old_text || !*old_text) return 0;
  if (!new_text) new_text = kEmptyText;
  char* text = *str;
  size_t old_length = strlen(old_text), new_length = strlen(new_text);
  int count = 0;
  if (new_length <= old_length) {
    // Shrinking or equal: write behind the reading position, in place.
    char* write = text;
    const char* read = text;
    for (const char* hit; (hit = strstr(read, old_text)) != nullptr; read = hit + old_length, ++count) {
      if (write != read) memmove(write, read, hit - read);
      write += hit - read;
      memcpy(write, new_text, new_length);
      write += new_length;
    }
    if (count && write != read) memmove(write, read, strlen(read) + 1);
    return count;
  }
  for (const char* hit = strstr(text, old_text); hit; hit = strstr(hit + old_length, old_text)) ++count;
  if (!count) return 0;
  size_t length = strlen(text);
  char* result = (char*)malloc(length + count * (new_length - old_length) + 1);
  char* write = result;
  const char* read = text;
  for (const char* hit; (hit = strstr(read, old_text)) != nullptr; read = hit + old_length) {
    memcpy(write, read, hit - read);
    write += hit - read;
    memcpy(write, new_text, new_length);
    write += new_length;
  }
  memcpy(write, read, text + length - read + 1);
  free(text);
  *str = result;
  return count;
}

void MY_insert_char(char* text, int text_len, int pos, char ch) {
  MY_ASSERT(!text[text_len]);
  MY_ASSERT(0 <= pos && pos <= text_len);
  memmove(text + pos + 1, text + pos, text_len - pos + 1);
  text[pos] = ch;
}

void MY_remove_prev_char(char* text, int pos) {
  MY_ASSERT(pos > 0);
  memmove(text + pos - 1, text + pos, strlen(text + pos) + 1);
}

void MY_replace_char(char* text, int pos, char ch) {
  MY_ASSERT(0 <= pos && text[pos] != 0);
  text[pos] = ch;
}

void* MY_memcpy(void** dst, const void* src, int capacity, int count, int item_size) {
  *dst = capacity < 1 ? nullptr : malloc((size_t)capacity * item_size);
  if (count >= 1) memcpy(*dst, src, (size_t)count * item_size);
  return *dst;
}

// ---- tokenisers -----------------------------------------------------------------------------

str_seg str_next_token(char** cursor, const char* delimiter) {
  char* text = *cursor;
  if (!text) return str_seg{kEmptyText, 0};
  char* hit = delimiter[0] && !delimiter[1] ? strchr(text, delimiter[0]) : strstr(text, delimiter);
  if (!hit) {
    *cursor = nullptr;
    return make_seg(text, strlen(text));
  }
  *cursor = hit + strlen(delimiter);
  return make_seg(text, hit - text);
}

str_seg str_next_token_by_charset(char** cursor, const char* charset, int exclude_separators) {
  char* text = *cursor;
  if (!text) return str_seg{kEmptyText, 0};
  char* separator = text + strcspn(text, charset);
  if (!*separator) {
    *cursor = nullptr;
    return make_seg(text, separator - text);
  }
  char* after_run = separator + strspn(separator, charset);
  if (exclude_separators) {
    *cursor = after_run;
    return make_seg(text, separator - text);
  }
  *cursor = *after_run ? after_run : nullptr;
  return make_seg(text, after_run - text);
}

// ---- hexadecimal ----------------------------------------------------------------------------

int hex_char_to_nibble(char c) {
  unsigned char u = (unsigned char)c;
  if (is_digit(u)) return u - '0';
  u |= 0x20;  // folds "A"-"F" onto "a"-"f" and no other byte into that range
  return (unsigned)(u - 'a') < 6u ? u - 'a' + 10 : -1;
}

char* byte_array_to_hex_str(const unsigned char* bytes, int n, char* out) {
  static const char kDigits[] = "0123456789ABCDEF";
  char* p = out;
  for (int i = 0; i < n; ++i) {
    *p++ = kDigits[bytes[i] >> 4];
    *p++ = kDigits[bytes[i] & 15];
  }
  *p = 0;
  return out;
}

int hex_str_to_byte_array(const char* str, unsigned char* out) {
  if (strlen(str) % 2) return -1;
  for (; *str; str += 2) {
    int high = hex_char_to_nibble(str[0]), low = hex_char_to_nibble(str[1]);
    if (high < 0 || low < 0) return -1;
    *out++ = (unsigned char)(high << 4 | low);
  }
  return 0;
}

// ---- natural orders --------------------------------------------------------------------------

namespace {

// Reads the digit run at *p and moves *p past it. The value saturates at the type's maximum,
// as atoi and strtoll do with numbers too long for them (atoi with a 32-bit long).
template <typename T>
T read_digit_run(const unsigned char** p) {
  const T kMax = std::numeric_limits<T>::max();
  const unsigned char* s = *p;
  T value = 0;
  for (; is_digit(*s); ++s) {
    T digit = *s - '0';
    value = value <= (kMax - digit) / 10 ? value * 10 + digit : kMax;
  }
  *p = s;
  return value;
}

}  // namespace

int str_nat_cmp(const void* a_ptr, const void* b_ptr) {
  const unsigned char* a = *(const unsigned char* const*)a_ptr;
  const unsigned char* b = *(const unsigned char* const*)b_ptr;
  for (;;) {
    // Equal bytes that are neither digits nor the end are the common case: pass them quickly.
    unsigned char ca, cb;
    while ((ca = *a) == (cb = *b) && ca && !is_digit(ca)) ++a, ++b;
    if (!ca) return cb ? -1 : 0;
    if (!cb) return 1;
    bool digit_a = is_digit(ca), digit_b = is_digit(cb);
    if (digit_a != digit_b) return digit_a ? -1 : 1;
    if (!digit_a) return ca - cb;
    int na = read_digit_run<int>(&a), nb = read_digit_run<int>(&b);
    if (na != nb) return na - nb;
    // The character after equal numbers is passed over uncompared; a string that ends there
    // ends the comparison instead.
    if (!*a || !*b) return *a ? 1 : (*b ? -1 : 0);
    ++a, ++b;
  }
}

int alnum_cmp(const char* a_str, const char* b_str) {
  const unsigned char* a = (const unsigned char*)a_str;
  const unsigned char* b = (const unsigned char*)b_str;
  for (;;) {
    unsigned char ca = *a, cb = *b;
    bool digit_a = is_digit(ca), digit_b = is_digit(cb);
    if (!ca || !cb || digit_a != digit_b) return to_lower(ca) - to_lower(cb);
    if (!digit_a) {
      if (int difference = to_lower(ca) - to_lower(cb)) return difference;
      ++a, ++b;
      continue;
    }
    const unsigned char *end_a = a, *end_b = b;
    long long na = read_digit_run<long long>(&end_a), nb = read_digit_run<long long>(&end_b);
    if (na != nb) return na > nb ? 1 : -1;
    if (na == std::numeric_limits<long long>::max()) {
      // Too long to read: equal only if the digits and the characters after them are.
      errno = 0;
      while (*a == *b && is_digit(*a)) ++a, ++b;
      if (*a != *b) return to_lower(*a) - to_lower(*b);
    } else {
      a = end_a, b = end_b;
    }
  }
}

// ---- choice-string tables ---------------------------------------------------------------------

namespace {

template <size_t N>
const char* choice(const char* const (&table)[N], int value) {
  return value >= 0 && (size_t)value < N ? table[value] : nullptr;
}

}  // namespace

const char* get_yes_no_choice_string_by_value(int value) {
  static const char* const kTable[] = {"yes", "no"};
  return choice(kTable, value);
}

const char* get_no_yes_choice_string_by_value(int value) {
  static const char* const kTable[] = {"no", "yes"};
  return choice(kTable, value);
}

const char* get_auto_yes_no_choice_string_by_value(int value) {
  static const char* const kTable[] = {"auto", "yes", "no"};
  return choice(kTable, value);
}

const char* get_enabled_disabled_choice_string_by_value(int value) {
  static const char* const kTable[] = {"enabled", "disabled"};
  return choice(kTable, value);
}

int get_num_items_by_func(choice_string_func func) {
  int count = 0;
  while (func(count)) ++count;
  return count;
}

int get_index_by_func_and_string(choice_string_func func, const char* str, int default_value) {
  if (!str) return default_value;
  for (int i = 0;; ++i) {
    const char* entry = func(i);
    if (!entry) return default_value;
    if (strcmp(entry, str) == 0) return i;
  }
}

// ---- animation ----------------------------------------------------------------------------------

int get_intermediate_int_sqr(int from, int to, int step, int num_steps) {
  const bool linear = num_steps & 1;  // the parity of the count as given
  if (num_steps > 5) {
    // Long animations show the start once more before they move.
    --num_steps;
    if (step >= 1) --step;
  }
  if (step == 0) return from;
  if (step == num_steps || num_steps <= 0) return to;
  const long long n = num_steps;
  if (linear) return (int)(from + (n / 2 + ((long long)to - from) * step) / n);
  // Quadratic ease-in to the middle, then ease-out.
  const long long distance = to > from ? (long long)to - from : (long long)from - to;
  const long long n2 = n * n;
  long long offset;
  if (step <= num_steps / 2) {
    offset = (n2 / 2 + 2 * distance * step * step) / n2;
  } else {
    const long long rest = n - step;
    offset = distance - (n2 / 2 + 2 * distance * rest * rest) / n2;
  }
  return (int)(to > from ? from + offset : from - offset);
}
