#include "player/src/util/mt/translation.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>

#include "player/src/util/mt/common.h"

namespace {

// Keys and values stay below this many characters; the messages name the limit itself.
constexpr int kMaxLength = 1000;
// The largest number of "%s" that a key name may ask for.
constexpr int kMaxArguments = 100;

// Where the messages of a parse go, with the line each is about.
struct Reporter {
  vona::TranslationReportFunc report;
  void* context;

  void say(int line, int kind, const char* format, ...) const VONA_PRINTF(4, 5) {
    char text[2 * kMaxLength + 100];  // room for a key of the longest length and the words around it
    va_list args;
    va_start(args, format);
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    report(context, line, kind, text);
  }
};

void print_to_stderr(void*, int, int, const char* text) { fprintf(stderr, "%s\n", text); }
// Loading, merging and iterating report on standard error only.
const Reporter kStandardError{print_to_stderr, nullptr};

bool is_digit(int c) { return c >= '0' && c <= '9'; }
bool is_letter_or_digit(int c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || is_digit(c); }
bool is_key_char(int c) { return (c >= 'a' && c <= 'z') || is_digit(c) || c == '_'; }
bool is_plugin_name_char(int c) { return is_letter_or_digit(c) || c == '_' || c == '-' || c == '.'; }

// A key of a plug-in's own texts: "NAME_plugin_..." with a valid plug-in name.
bool is_plugin_key(const char* key) {
  const char* marker = strstr(key, "_plugin_");
  if (marker == nullptr) return false;
  long length = marker - key;
  if (length < 1 || length > 64 || !is_letter_or_digit((unsigned char)key[0])) return false;
  return std::all_of(key, marker, [](char c) { return is_plugin_name_char((unsigned char)c); });
}

// Checks the placeholders of a value and the number of "%s" that the key name asks for.
bool validate_value(const char* key, const char* value, const Reporter& reporter, int line) {
  int required = 0;  // "%s" the key asks for; none for a key without "__"
  if (const char* suffix = strstr(key, "__")) {
    suffix += 2;
    if (*suffix == 0) return true;  // "name__": no check
    const char* end = suffix;
    for (; is_digit(*end); ++end) required = std::min(required * 10 + (*end - '0'), kMaxArguments + 1);
    if (end == suffix || *end != 0) {
      reporter.say(line, T_MESSAGE_ERROR, "Key \"%s\": Unable to read the number after \"__\".", key);
      return false;
    }
    if (required > kMaxArguments) {
      reporter.say(line, T_MESSAGE_ERROR, "Key \"%s\": The number after \"__\" is too big.", key);
      return false;
    }
    if (required == 0) return true;  // "name__0": no check
  }
  int found = 0;
  for (const char* p = value; (p = strchr(p, '%')) != nullptr;) {
    ++p;
    if (*p == '%') {
      ++p;
    } else if (*p == 's') {
      ++found;
      ++p;
    } else if (*p == '{') {
      const char* name = p + 1;
      const char* close = strchr(name, '}');
      const char* problem = close == nullptr ? "'}' is missing in the value."
                            : close == name  ? "parameter name is missing in the value."
                            : !std::all_of(name, close, [](char c) { return is_letter_or_digit(c) || c == '_'; })
                                ? "invalid parameter name in the value."
                                : nullptr;
      if (problem != nullptr) {
        reporter.say(line, T_MESSAGE_ERROR, "Key \"%s\": %s", key, problem);
        return false;
      }
      p = close + 1;
    } else {
      reporter.say(line, T_MESSAGE_ERROR,
                   "Key \"%s\": Only \"%%\", \"%%{param-name}\" and \"%%s\" are allowed in the value.", key);
      return false;
    }
  }
  if (strstr(key, "__") == nullptr && found > 0) {
    reporter.say(line, T_MESSAGE_ERROR, "Key \"%s\": No \"%%s\" are allowed by the key name, but %d found.", key,
                 found);
    return false;
  }
  if (required > 0 && found != required) {
    reporter.say(line, T_MESSAGE_ERROR, "Key \"%s\": Wrong number of \"%%s\": %d instead of %d.", key, found,
                 required);
    return false;
  }
  return true;
}

// Reads the entries of a translation file's text one by one.
class Parser {
 public:
  enum Result { kEntry, kBad, kEnd };

  Parser(const std::string& text, const Reporter& reporter) : text_(text), reporter_(reporter) {}

  // Steps over the byte order mark; false (reported) for an empty file or a broken mark.
  bool start() {
    if (text_.empty()) {
      reporter_.say(0, T_MESSAGE_NO_KEYS, "Language file does not contain any keys.");
      return false;
    }
    if (peek() != 0xEF) return true;
    static const struct {
      int byte;
      const char* name;
    } kMark[] = {{0xBB, "2nd"}, {0xBF, "3rd"}};
    ++pos_;
    for (const auto& mark : kMark) {
      if (peek() != mark.byte) {
        reporter_.say(0, T_MESSAGE_ERROR, "Incorrect language file: %s %s byte of the Byte Order Mark.",
                      peek() == EOF ? "missing" : "wrong", mark.name);
        return false;
      }
      ++pos_;
    }
    return true;
  }

  // The next entry; after kBad (reported) the rest of its line has been skipped.
  Result next() {
    key_.clear();
    value_.clear();
    not_translated_ = false;
    for (int c; (c = peek()) == ' ' || c == '\n' || c == '#';) {
      if (c == '#') skip_line();
      else take();
    }
    line_ = current_line_;
    if (peek() == EOF) return kEnd;
    if (peek() == '@') {
      not_translated_ = true;
      take();
    }
    Result result = read_key();
    return result == kEntry ? read_value() : result;
  }

  const char* key() const { return key_.c_str(); }
  const char* value() const { return value_.c_str(); }
  bool not_translated() const { return not_translated_; }
  int line() const { return line_; }  // where the entry starts

 private:
  int peek() const { return pos_ < text_.size() ? (unsigned char)text_[pos_] : EOF; }
  int take() {
    int c = peek();
    if (c == EOF) return c;
    ++pos_;
    if (c == '\n') ++current_line_;
    return c;
  }
  void skip_spaces() {
    while (peek() == ' ') take();
  }
  // Up to the line feed, which the next entry steps over.
  void skip_line() {
    while (peek() != EOF && peek() != '\n') take();
  }
  Result bad() {
    skip_line();
    return kBad;
  }
  Result bad_key_char(int c) {
    reporter_.say(current_line_, T_MESSAGE_ERROR,
                  c > 31 ? "Line %d: Invalid char '%c' in a key." : "Line %d: Invalid char #%d in a key.",
                  current_line_, c);
    return bad();
  }

  Result read_key() {
    if (is_digit(peek())) {
      reporter_.say(current_line_, T_MESSAGE_ERROR, "Line %d: Invalid key first char: '%d'.", current_line_, peek());
      return bad();
    }
    int first_plugin_char = 0;  // the first character that only a plug-in key may hold
    for (int c; is_plugin_name_char(c = peek()); take()) {
      if (!is_key_char(c) && first_plugin_char == 0) first_plugin_char = c;
      if (key_.size() == kMaxLength - 1) {
        reporter_.say(current_line_, T_MESSAGE_ERROR, "Line %d: Key length exceeds %d chars.", current_line_,
                      kMaxLength);
        return bad();
      }
      key_ += (char)c;
    }
    if (key_.empty()) return peek() == EOF ? kEnd : bad_key_char(peek());
    if (first_plugin_char != 0 && !is_plugin_key(key())) return bad_key_char(first_plugin_char);
    skip_spaces();
    int c = peek();
    if (c == EOF) {
      reporter_.say(current_line_, T_MESSAGE_ERROR, "Unexpected end of file.");
      return kBad;
    }
    if (c != '=') {
      reporter_.say(current_line_, T_MESSAGE_ERROR,
                    c > 31 ? "Line %d: '=' expected, '%c' found." : "Line %d: '=' expected, #%d found.",
                    current_line_, c);
      return bad();
    }
    take();
    skip_spaces();
    return kEntry;
  }

  Result read_value() {
    for (int c; (c = peek()) != EOF && c != '\n';) {
      take();
      if (c == '\\') {
        c = peek();
        bool continued = c == ' ' || c == '\n';  // on the next line, with the byte after the blanks
        while ((c = peek()) == ' ' || c == '\n') take();
        if (c == EOF) break;
        take();
        if (c == 'n' && !continued) c = '\n';
      } else if (c < 0x20) {
        reporter_.say(current_line_, T_MESSAGE_ERROR, "Line %d: Invalid char #%d in a value for key '%s'.",
                      current_line_, c, key());
        return bad();
      }
      if (value_.size() == kMaxLength - 1) {
        reporter_.say(current_line_, T_MESSAGE_ERROR, "Line %d: Value length exceeds %d chars.", current_line_,
                      kMaxLength);
        return bad();
      }
      value_ += (char)c;
    }
    value_.erase(value_.find_last_not_of(' ') + 1);
    return kEntry;
  }

  const std::string& text_;
  const Reporter& reporter_;
  size_t pos_ = 0;
  int current_line_ = 1;
  int line_ = 1;
  std::string key_;
  std::string value_;
  bool not_translated_ = false;
};

// Walks the entries of a file's text. A bad entry ends the walk with 1 when stop_at_error is
// set and is skipped otherwise. Each well-formed entry goes to on_entry; a non-zero result ends
// the walk and is returned. A broken start of the file gives 1.
template <typename OnEntry>
int walk(const std::string& text, const Reporter& reporter, bool stop_at_error, OnEntry&& on_entry) {
  Parser parser(text, reporter);
  if (!parser.start()) return 1;
  for (;;) {
    switch (parser.next()) {
      case Parser::kEnd:
        return 0;
      case Parser::kBad:
        if (stop_at_error) return 1;
        break;
      case Parser::kEntry:
        if (int result = on_entry(parser)) return result;
        break;
    }
  }
}

bool validate(const Parser& entry, const Reporter& reporter) {
  return validate_value(entry.key(), entry.value(), reporter, entry.line());
}

// The whole file, opened in text mode; false (errno set) when it cannot be opened or read.
bool read_file(const char* path, std::string* text) {
  FILE* file = fopen(path, "rt");
  if (file == nullptr) return false;
  char buffer[65536];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, file)) > 0) text->append(buffer, n);
  int error = ferror(file) ? errno : 0;
  fclose(file);
  errno = error;
  return error == 0;
}

translation* new_translation() {
  translation* t = static_cast<translation*>(calloc(1, sizeof(translation)));
  t->statistics.max_row_entries = 1;
  return t;
}

translation_entry* find(const translation* t, const char* key) {
  const translation_bucket& bucket = t->buckets[vona::translation_hash(key)];
  for (int i = 0; i < bucket.count; ++i) {
    if (strcmp(bucket.entries[i].key, key) == 0) return &bucket.entries[i];
  }
  return nullptr;
}

// Appends to the key's bucket, which grows by exactly one entry.
void add(translation* t, const char* key, const char* value, bool not_translated) {
  translation_bucket& bucket = t->buckets[vona::translation_hash(key)];
  bucket.entries =
      static_cast<translation_entry*>(realloc(bucket.entries, (size_t)(bucket.count + 1) * sizeof(translation_entry)));
  bucket.entries[bucket.count++] = translation_entry{strdup(key), strdup(value)};
  vona::TranslationStatistics& s = t->statistics;
  s.entries++;
  if (not_translated) s.not_translated++;
  if (bucket.count == 2) s.collisions += 2;  // the first entry of the bucket is counted now too
  if (bucket.count > 2) s.collisions++;
  s.max_row_entries = std::max(s.max_row_entries, bucket.count);
}

// Merges the entries of a file into t; bad entries are reported and skipped.
void merge(translation* t, const std::string& text, const char* prefix, bool replace, bool only_existing) {
  size_t prefix_length = prefix ? strlen(prefix) : 0;
  std::string key;
  walk(text, kStandardError, false, [&](const Parser& entry) {
    if (!validate(entry, kStandardError)) return 0;
    key = entry.key();
    if (prefix_length > 0 && prefix_length + key.size() < (size_t)kMaxLength) key.insert(0, prefix);
    if (translation_entry* found = find(t, key.c_str())) {
      if (replace) {
        free(found->value);
        found->value = strdup(entry.value());
      }
    } else if (!(replace && only_existing)) {
      add(t, key.c_str(), entry.value(), entry.not_translated());
    }
    return 0;
  });
}

}  // namespace

unsigned int vona::translation_hash(const char* key) {
  unsigned int hash = 0;
  for (unsigned int i = 0; key[i]; ++i) hash ^= (unsigned int)(unsigned char)key[i] << (i % LIMIT_BITS_TO_SHIFT);
  return hash & ((1u << HASH_CODE_BITS) - 1);
}

bool vona::check_translation_file(const char* path, const translation* reference, TranslationReportFunc report,
                                  void* context) {
  std::string text;
  if (!read_file(path, &text)) return false;
  Reporter reporter{report, context};
  std::set<std::string> seen;
  if (walk(text, reporter, false, [&](const Parser& entry) {
        bool known = reference != nullptr && T_get_value(reference, entry.key()) != nullptr;
        if (known && !seen.insert(entry.key()).second) {
          reporter.say(entry.line(), T_MESSAGE_DUPLICATE_KEY, "Duplicate key found: \"%s\".", entry.key());
        }
        validate(entry, reporter);
        if (reference != nullptr && !known && !is_plugin_key(entry.key())) {
          reporter.say(entry.line(), T_MESSAGE_UNKNOWN_KEY, "Unknown key found: \"%s\".", entry.key());
        }
        return 0;
      }) != 0) {
    return true;  // the start of the file is broken: nothing more to say
  }
  if (reference == nullptr) return true;
  translation_all_keys* keys = T_get_all_keys(reference);
  for (int i = 0; i < keys->count; ++i) {
    if (seen.count(keys->keys[i]) == 0) reporter.say(0, T_MESSAGE_MISSING_KEY, "Key \"%s\" is missing.", keys->keys[i]);
  }
  T_free_all_keys(keys);
  return true;
}

translation* T_load_translation(const char* path, int quiet) {
  if (!quiet) fprintf(stderr, "Text Manager:\n    Loading translation from file: \"%s\".\n", path);
  std::string text;
  if (!read_file(path, &text)) {
    fprintf(stderr, "%s: %s\n", "Unable to open translation file", strerror(errno));
    return nullptr;
  }
  translation* t = new_translation();
  if (!quiet) {
    fprintf(stderr, "    Settings: HASH_CODE_BITS: %d, LIMIT_BITS_TO_SHIFT: %d.\n", HASH_CODE_BITS, LIMIT_BITS_TO_SHIFT);
    fprintf(stderr, "    Memory allocated for the hash table: %d bytes.\n", (int)sizeof t->buckets);
  }
  int failed = walk(text, kStandardError, true, [&](const Parser& entry) {
    if (!validate(entry, kStandardError)) return 1;
    if (find(t, entry.key()) != nullptr) {
      fprintf(stderr, "ERROR: Duplicate key \"%s\".\n", entry.key());
      return 1;
    }
    add(t, entry.key(), entry.value(), entry.not_translated());
    return 0;
  });
  if (failed) {
    T_free_translation(t);
    return nullptr;
  }
  if (!quiet) {
    const vona::TranslationStatistics& s = t->statistics;
    fprintf(stderr, "    Hash status: %d entries, %d non-translated, %d collisions (%%%d). Max row entries: %d.\n",
            s.entries, s.not_translated, s.collisions, s.entries ? 100 * s.collisions / s.entries : 0,
            s.max_row_entries);
  }
  return t;
}

void T_append_translation(translation* translation, const char* path, const char* prefix) {
  MY_ASSERT(translation != NULL);
  std::string text;
  if (!read_file(path, &text)) return;
  fprintf(stderr, "Text Manager: appending translation from file: '%s' prefix '%s'.\n", path, prefix ? prefix : "");
  merge(translation, text, prefix, false, false);
}

void T_replace_translation(translation* translation, const char* path, int only_existing) {
  MY_ASSERT(translation != NULL);
  fprintf(stderr, "Text Manager:\n    Replacing translation from file: \"%s\".\n", path);
  std::string text;
  if (!read_file(path, &text)) {
    fprintf(stderr, "%s: %s\n", "Unable to open translation file", strerror(errno));
    return;
  }
  merge(translation, text, nullptr, true, only_existing != 0);
}

void T_free_translation(translation* translation) {
  if (translation == nullptr) return;
  for (translation_bucket& bucket : translation->buckets) {
    for (int i = 0; i < bucket.count; ++i) {
      free(bucket.entries[i].key);
      free(bucket.entries[i].value);
    }
    free(bucket.entries);
  }
  free(translation);
}

translation* T_copy_translation(const translation* translation) {
  if (translation == nullptr) return nullptr;
  ::translation* copy = static_cast<::translation*>(malloc(sizeof(::translation)));
  copy->statistics = translation->statistics;
  for (int b = 0; b < vona::kTranslationBuckets; ++b) {
    const translation_bucket& from = translation->buckets[b];
    translation_bucket& to = copy->buckets[b];
    to.count = from.count;
    to.entries = from.count ? static_cast<translation_entry*>(malloc((size_t)from.count * sizeof(translation_entry)))
                            : nullptr;
    for (int i = 0; i < from.count; ++i) to.entries[i] = {strdup(from.entries[i].key), strdup(from.entries[i].value)};
  }
  return copy;
}

const char* T_get_value(const translation* translation, const char* key) {
  if (translation == nullptr) return nullptr;
  const translation_entry* entry = find(translation, key);
  return entry ? entry->value : nullptr;
}

translation_all_keys* T_get_all_keys(const translation* translation) {
  MY_ASSERT(translation != NULL);
  int count = 0;
  for (const translation_bucket& bucket : translation->buckets) count += bucket.count;
  translation_all_keys* list = static_cast<translation_all_keys*>(malloc(sizeof(translation_all_keys)));
  list->count = 0;
  list->keys = static_cast<char**>(malloc((size_t)std::max(count, 1) * sizeof(char*)));
  for (const translation_bucket& bucket : translation->buckets) {
    for (int i = 0; i < bucket.count; ++i) list->keys[list->count++] = strdup(bucket.entries[i].key);
  }
  return list;
}

void T_free_all_keys(translation_all_keys* list) {
  if (list == nullptr) return;
  for (int i = 0; i < list->count; ++i) free(list->keys[i]);
  free(list->keys);
  free(list);
}

int T_iterate_translation_file(const char* path, T_file_entry_func callback, void* user) {
  std::string text;
  if (!read_file(path, &text)) {
    fprintf(stderr, "Unable to open translation file '%s': %s\n", path, strerror(errno));
    return 1;
  }
  return walk(text, kStandardError, true, [&](const Parser& entry) {
    if (!validate(entry, kStandardError)) return 1;
    return callback(entry.key(), entry.value(), entry.not_translated(), user);
  });
}

void T_iterate_translation_entries(translation* translation, T_entry_func callback, void* user) {
  MY_ASSERT(translation != NULL);
  for (translation_bucket& bucket : translation->buckets) {
    for (int i = 0; i < bucket.count; ++i) callback(user, &bucket.entries[i].key, &bucket.entries[i].value, bucket.count);
  }
}

message_list* T_analyze_translation(const translation* reference, const char* path, int quiet) {
  if (!quiet) fprintf(stderr, "Text Manager:\n    Analyzing translation from file: \"%s\".\n", path);
  struct Sink {
    message_list* messages;
    int quiet;
  } sink{ML_create_message_list(), quiet};
  auto add_message = [](void* context, int, int kind, const char* text) {
    Sink* s = static_cast<Sink*>(context);
    ML_add_message(s->messages, kind, s->quiet, "%s", text);
  };
  if (!vona::check_translation_file(path, reference, add_message, &sink)) {
    ML_free_message_list(sink.messages);
    return nullptr;
  }
  return sink.messages;
}

void T_test_value_retrieval(const translation* translation) {
  MY_ASSERT(translation != NULL);
  for (const translation_bucket& bucket : translation->buckets) {
    for (int i = 0; i < bucket.count; ++i) {
      const translation_entry* entry = &bucket.entries[i];
      const char* value = T_get_value(translation, entry->key);
      MY_ASSERT(value == entry->value);
    }
  }
}
