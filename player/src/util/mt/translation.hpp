// The in-memory layout of a translation and the file checker behind T_analyze_translation,
// for the tool, the tests and the benchmark.
#ifndef VONAUTIL_TRANSLATION_HPP
#define VONAUTIL_TRANSLATION_HPP

#include "player/src/util/mt/translation.h"

struct translation_entry {
  char* key;
  char* value;
};

struct translation_bucket {
  int count;                   // entries in use; the array holds exactly this many
  translation_entry* entries;  // in insertion order
};

namespace vona {

// Counted as entries are added, by loading and by merging.
struct TranslationStatistics {
  int entries;
  int not_translated;  // entries written with the "@" mark
  int collisions;      // entries that share their bucket with another
  int max_row_entries; // the largest bucket (1 for an empty table)
};

constexpr int kTranslationBuckets = 1 << HASH_CODE_BITS;

// The bucket of a key.
unsigned int translation_hash(const char* key);

// Receives each message of a checked file: its kind (T_MESSAGE_*), the line it is about (0 for
// the byte order mark, an empty file and missing keys) and its text.
typedef void (*TranslationReportFunc)(void* context, int line, int kind, const char* text);

// Checks the file at path as T_analyze_translation does, without printing: against reference,
// or for format errors alone when reference is null. False (errno set) when the file cannot be
// opened.
bool check_translation_file(const char* path, const translation* reference, TranslationReportFunc report,
                            void* context);

}  // namespace vona

struct translation {
  translation_bucket buckets[vona::kTranslationBuckets];
  vona::TranslationStatistics statistics;
};

#endif
