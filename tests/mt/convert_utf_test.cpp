#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "vonautil.h"

namespace {

// The outcome of one conversion call: result code, source units consumed, target written.
template <typename Out>
struct Outcome {
  ConversionResult result;
  long consumed;
  std::vector<Out> written;
};

// Runs one of the six routines on `source` with room for `room` target units.
template <typename In, typename Out>
Outcome<Out> convert(ConversionResult (*routine)(const In**, const In*, Out**, Out*, ConversionFlags),
                     const std::vector<In>& source, size_t room, ConversionFlags flags = lenientConversion) {
  std::vector<Out> target(room + 1, (Out)0xAB);
  const In* in = source.data();
  Out* out = target.data();
  ConversionResult result = routine(&in, source.data() + source.size(), &out, target.data() + room, flags);
  EXPECT_EQ((Out)0xAB, target[room]) << "wrote past the target end";
  return {result, (long)(in - source.data()), std::vector<Out>(target.data(), out)};
}

std::vector<UTF8> bytes(const std::string& s) { return std::vector<UTF8>(s.begin(), s.end()); }

}  // namespace

TEST(ConvertUtf8, WellFormedInputAndTheTargetRunningFull) {
  auto all = convert(ConvertUTF8toUTF32, bytes("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), 8);
  EXPECT_EQ(conversionOK, all.result);
  EXPECT_EQ(10, all.consumed);
  EXPECT_EQ((std::vector<UTF32>{0x61, 0xE9, 0x20AC, 0x1F600}), all.written);

  // Boundaries of each length: the last value of one length and the first of the next.
  auto edges = convert(ConvertUTF8toUTF32,
                       bytes("\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"), 8);
  EXPECT_EQ(conversionOK, edges.result);
  EXPECT_EQ((std::vector<UTF32>{0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10000, 0x10FFFF}), edges.written);

  // A full target backs the source up to the start of the character that did not fit.
  auto full = convert(ConvertUTF8toUTF32, bytes("a\xE2\x82\xAC" "b"), 1);
  EXPECT_EQ(targetExhausted, full.result);
  EXPECT_EQ(1, full.consumed);

  auto pair_split = convert(ConvertUTF8toUTF16, bytes("a\xF0\x9F\x98\x80"), 2);
  EXPECT_EQ(targetExhausted, pair_split.result);
  EXPECT_EQ(1, pair_split.consumed);
  EXPECT_EQ((std::vector<UTF16>{0x61}), pair_split.written);
  auto pair = convert(ConvertUTF8toUTF16, bytes("a\xF0\x9F\x98\x80"), 3);
  EXPECT_EQ(conversionOK, pair.result);
  EXPECT_EQ((std::vector<UTF16>{0x61, 0xD83D, 0xDE00}), pair.written);
}

TEST(ConvertUtf8, EveryIllFormedClassStopsOnTheOffendingSequence) {
  const char* illegal[] = {
      "\x80",              // lone trailing byte
      "\xC0\x80",          // overlong two-byte forms
      "\xC1\xBF",
      "\xE0\x9F\xBF",      // overlong three-byte form
      "\xF0\x8F\xBF\xBF",  // overlong four-byte form
      "\xED\xA0\x80",      // encoded surrogates
      "\xED\xBF\xBF",
      "\xF4\x90\x80\x80",  // above U+10FFFF
      "\xF5\x80\x80\x80",
      "\xF8\x88\x80\x80\x80",      // five- and six-byte forms
      "\xFC\x84\x80\x80\x80\x80",
      "\xC3\x28",          // trailing byte out of range
      "\xE2\x82\x28",
      "\xED\x41\x80",      // the first trailing byte is checked against 0x80 as well
      "\xF4\x41\x80\x80",
  };
  for (const char* sequence : illegal) {
    std::string text = std::string("ok") + sequence + "z";
    for (ConversionFlags flags : {strictConversion, lenientConversion}) {
      auto outcome = convert(ConvertUTF8toUTF32, bytes(text), 16, flags);
      EXPECT_EQ(sourceIllegal, outcome.result) << text;
      EXPECT_EQ(2, outcome.consumed) << text;
      EXPECT_EQ((std::vector<UTF32>{'o', 'k'}), outcome.written) << text;
      EXPECT_EQ(sourceIllegal, convert(ConvertUTF8toUTF16, bytes(text), 16, flags).result) << text;
    }
    const UTF8* start = (const UTF8*)sequence;
    EXPECT_FALSE(isLegalUTF8Sequence(start, start + strlen(sequence))) << text;
  }

  // Truncated at the end of the source: exhausted, not illegal, and the source stays on it.
  for (const char* truncated : {"\xC3", "\xE2\x82", "\xF0\x9F\x98"}) {
    auto outcome = convert(ConvertUTF8toUTF32, bytes(std::string("ab") + truncated), 8);
    EXPECT_EQ(sourceExhausted, outcome.result);
    EXPECT_EQ(2, outcome.consumed);
    const UTF8* start = (const UTF8*)truncated;
    EXPECT_FALSE(isLegalUTF8Sequence(start, start + strlen(truncated)));
    EXPECT_TRUE(isLegalUTF8Sequence((const UTF8*)"\xE2\x82\xAC", (const UTF8*)"\xE2\x82\xAC" + 3));
  }
}

TEST(ConvertUtf32, SurrogatesAndValuesAboveTheLastCodePoint) {
  std::vector<UTF32> surrogate = {'a', 0xD800, 'b'};
  auto strict8 = convert(ConvertUTF32toUTF8, surrogate, 16, strictConversion);
  EXPECT_EQ(sourceIllegal, strict8.result);
  EXPECT_EQ(1, strict8.consumed);
  auto lenient8 = convert(ConvertUTF32toUTF8, surrogate, 16);
  EXPECT_EQ(conversionOK, lenient8.result);
  EXPECT_EQ(bytes("a\xED\xA0\x80" "b"), lenient8.written);  // written as it stands

  auto strict16 = convert(ConvertUTF32toUTF16, surrogate, 16, strictConversion);
  EXPECT_EQ(sourceIllegal, strict16.result);
  EXPECT_EQ(1, strict16.consumed);
  EXPECT_EQ((std::vector<UTF16>{'a', 0xFFFD, 'b'}), convert(ConvertUTF32toUTF16, surrogate, 16).written);

  // Above U+10FFFF: UTF-8 gets U+FFFD and a final sourceIllegal under either flag; UTF-16
  // skips it (strict) or writes U+FFFD (lenient), and the conversion goes on.
  std::vector<UTF32> huge = {'a', 0x110000, 'b'};
  for (ConversionFlags flags : {strictConversion, lenientConversion}) {
    auto to8 = convert(ConvertUTF32toUTF8, huge, 16, flags);
    EXPECT_EQ(sourceIllegal, to8.result);
    EXPECT_EQ(3, to8.consumed);
    EXPECT_EQ(bytes("a\xEF\xBF\xBD" "b"), to8.written);
  }
  auto strict_huge16 = convert(ConvertUTF32toUTF16, huge, 16, strictConversion);
  EXPECT_EQ(sourceIllegal, strict_huge16.result);
  EXPECT_EQ((std::vector<UTF16>{'a', 'b'}), strict_huge16.written);
  auto lenient_huge16 = convert(ConvertUTF32toUTF16, huge, 16);
  EXPECT_EQ(conversionOK, lenient_huge16.result);
  EXPECT_EQ((std::vector<UTF16>{'a', 0xFFFD, 'b'}), lenient_huge16.written);

  // A character that does not fit leaves both pointers before it.
  auto full8 = convert(ConvertUTF32toUTF8, std::vector<UTF32>{'a', 0x20AC}, 3);
  EXPECT_EQ(targetExhausted, full8.result);
  EXPECT_EQ(1, full8.consumed);
  EXPECT_EQ(bytes("a"), full8.written);
  auto full16 = convert(ConvertUTF32toUTF16, std::vector<UTF32>{'a', 0x1F600}, 2);
  EXPECT_EQ(targetExhausted, full16.result);
  EXPECT_EQ(1, full16.consumed);
}

TEST(ConvertUtf16, PairsAndLoneSurrogates) {
  auto pair = convert(ConvertUTF16toUTF32, std::vector<UTF16>{0xD83D, 0xDE00, 'x'}, 4);
  EXPECT_EQ(conversionOK, pair.result);
  EXPECT_EQ((std::vector<UTF32>{0x1F600, 'x'}), pair.written);
  EXPECT_EQ(bytes("\xF0\x9F\x98\x80x"),
            convert(ConvertUTF16toUTF8, std::vector<UTF16>{0xD83D, 0xDE00, 'x'}, 8).written);

  // A high surrogate at the very end: exhausted under either flag, the source left on it.
  for (ConversionFlags flags : {strictConversion, lenientConversion}) {
    auto end32 = convert(ConvertUTF16toUTF32, std::vector<UTF16>{'a', 0xD83D}, 4, flags);
    EXPECT_EQ(sourceExhausted, end32.result);
    EXPECT_EQ(1, end32.consumed);
    EXPECT_EQ(sourceExhausted, convert(ConvertUTF16toUTF8, std::vector<UTF16>{'a', 0xD83D}, 8, flags).result);
  }

  // An unpaired high or low surrogate: illegal when strict, passed through when lenient.
  for (std::vector<UTF16> lone : {std::vector<UTF16>{'a', 0xD83D, 'b'}, std::vector<UTF16>{'a', 0xDE00, 'b'}}) {
    auto strict = convert(ConvertUTF16toUTF32, lone, 4, strictConversion);
    EXPECT_EQ(sourceIllegal, strict.result);
    EXPECT_EQ(1, strict.consumed);
    EXPECT_EQ(sourceIllegal, convert(ConvertUTF16toUTF8, lone, 8, strictConversion).result);
    auto lenient = convert(ConvertUTF16toUTF32, lone, 4);
    EXPECT_EQ(conversionOK, lenient.result);
    EXPECT_EQ((std::vector<UTF32>{'a', lone[1], 'b'}), lenient.written);
  }

  auto full = convert(ConvertUTF16toUTF8, std::vector<UTF16>{'a', 0xD83D, 0xDE00}, 4);
  EXPECT_EQ(targetExhausted, full.result);
  EXPECT_EQ(1, full.consumed);
  EXPECT_EQ(bytes("a"), full.written);
}
