// String builder, str_buf and heap formatting beside the plain C++ ways of doing the same jobs.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "vonautil.h"

namespace {

const char* const kNames[] = {"Music", "Albums", "Some Artist - Greatest Hits (2019)", "CD1",
                              "01 - Opening Track.flac", "Video", "Series", "Season 02"};
constexpr int kNames_count = sizeof kNames / sizeof kNames[0];

// ---- formatted appends --------------------------------------------------------------------

void BM_AppendFormatted_Library(benchmark::State& state) {
  for (auto _ : state) {
    str_buf sb = {};
    for (int i = 0; i < 1000; ++i) str_buf_append_fmt(&sb, "%s = %d\n", kNames[i % kNames_count], i);
    benchmark::DoNotOptimize(sb.data);
    free(sb.data);
  }
}
BENCHMARK(BM_AppendFormatted_Library);

void BM_AppendFormatted_SnprintfString(benchmark::State& state) {
  for (auto _ : state) {
    std::string s;
    char line[1024];
    for (int i = 0; i < 1000; ++i) s.append(line, snprintf(line, sizeof line, "%s = %d\n", kNames[i % kNames_count], i));
    benchmark::DoNotOptimize(s.data());
  }
}
BENCHMARK(BM_AppendFormatted_SnprintfString);

// ---- JSON strings -------------------------------------------------------------------------

const char kJsonText[] = "Caf\xc3\xa9 \"live\" at the \\ hall\tpart 1 of 3, recorded in 2019 - remastered edition";

void BM_AppendJsonString_Library(benchmark::State& state) {
  for (auto _ : state) {
    str_buf sb = {};
    for (int i = 0; i < 1000; ++i) str_buf_append_json_string(&sb, kJsonText);
    benchmark::DoNotOptimize(sb.data);
    free(sb.data);
  }
}
BENCHMARK(BM_AppendJsonString_Library);

// The usual hand-written escaper: one byte at a time into a std::string.
void append_json(std::string& out, const char* text) {
  out += '"';
  for (const unsigned char* p = (const unsigned char*)text; *p; ++p) {
    switch (*p) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\b': out += "\\b"; break;
      case '\t': out += "\\t"; break;
      case '\n': out += "\\n"; break;
      case '\f': out += "\\f"; break;
      case '\r': out += "\\r"; break;
      default:
        if (*p < 32) {
          char escape[8];
          snprintf(escape, sizeof escape, "\\u%04X", *p);
          out += escape;
        } else {
          out += (char)*p;
        }
    }
  }
  out += '"';
}

void BM_AppendJsonString_ByteEscaper(benchmark::State& state) {
  for (auto _ : state) {
    std::string s;
    for (int i = 0; i < 1000; ++i) append_json(s, kJsonText);
    benchmark::DoNotOptimize(s.data());
  }
}
BENCHMARK(BM_AppendJsonString_ByteEscaper);

// ---- formatting to the heap ---------------------------------------------------------------

void BM_FormatNew_Library(benchmark::State& state) {
  int i = 0;
  for (auto _ : state) {
    char* text = sprintf_new("%s/%s/%d.jpg", kNames[i % kNames_count], kNames[(i + 3) % kNames_count], i);
    benchmark::DoNotOptimize(text);
    free(text);
    ++i;
  }
}
BENCHMARK(BM_FormatNew_Library);

void BM_FormatNew_SnprintfTwice(benchmark::State& state) {
  int i = 0;
  for (auto _ : state) {
    const char* a = kNames[i % kNames_count];
    const char* b = kNames[(i + 3) % kNames_count];
    std::string text;
    text.resize(snprintf(nullptr, 0, "%s/%s/%d.jpg", a, b, i));
    snprintf(&text[0], text.size() + 1, "%s/%s/%d.jpg", a, b, i);
    benchmark::DoNotOptimize(text.data());
    ++i;
  }
}
BENCHMARK(BM_FormatNew_SnprintfTwice);

// ---- path stacks --------------------------------------------------------------------------

// A folder walk: down four levels, visiting every name at each level.
template <typename Push, typename Pop, typename Use>
void walk(int depth, Push push, Pop pop, Use use) {
  for (int i = 0; i < kNames_count; ++i) {
    push(kNames[i]);
    use();
    if (depth > 1) walk(depth - 1, push, pop, use);
    pop();
  }
}

void BM_PathStack_Library(benchmark::State& state) {
  string_builder* sb = string_builder_create();
  string_builder_push_abs(sb, "/tmp/mnt/D");
  for (auto _ : state) {
    walk(
        4, [&](const char* name) { string_builder_push_rel(sb, name, sb->num_items); },
        [&] { string_builder_pop(sb); }, [&] { benchmark::DoNotOptimize(string_builder_top(sb)); });
  }
  string_builder_free(sb);
}
BENCHMARK(BM_PathStack_Library);

void BM_PathStack_VectorOfString(benchmark::State& state) {
  std::vector<std::string> stack{"/tmp/mnt/D"};
  for (auto _ : state) {
    walk(
        4, [&](const char* name) { stack.push_back(stack.back() + "/" + name); }, [&] { stack.pop_back(); },
        [&] { benchmark::DoNotOptimize(stack.back().c_str()); });
  }
}
BENCHMARK(BM_PathStack_VectorOfString);

}  // namespace

BENCHMARK_MAIN();
