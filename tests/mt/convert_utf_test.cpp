#include "test_support.hpp"

namespace {

// The outcome of one conversion call: result code, source units consumed, target written.
template <typename Out> struct Outcome {
  ConversionResult result;
  long consumed;
  std::vector<Out> written;
  bool operator==(const Outcome& other) const {
    return result == other.result && consumed == other.consumed && written == other.written;
  }
};

template <typename Out> std::ostream& operator<<(std::ostream& out, const Outcome<Out>& o) {
  out << "result " << o.result << ", consumed " << o.consumed << ", wrote";
  for (Out unit : o.written) out << " " << std::hex << (unsigned long)unit << std::dec;
  return out;
}

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
using U32 = std::vector<UTF32>;
using U16 = std::vector<UTF16>;
using O32 = Outcome<UTF32>;
using O16 = Outcome<UTF16>;
using O8 = Outcome<UTF8>;

}  // namespace

TEST(ConvertUtf8, WellFormedInputAndTheTargetRunningFull) {
  // The last value of each length and the first of the next.
  EXPECT_EQ((O32{conversionOK, 19, {0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10000, 0x10FFFF}}),
            convert(ConvertUTF8toUTF32,
                    bytes("\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"), 8));
  // A full target backs the source up to the start of the character that did not fit.
  EXPECT_EQ((O32{targetExhausted, 1, {'a'}}), convert(ConvertUTF8toUTF32, bytes("a\xE2\x82\xAC" "b"), 1));
  EXPECT_EQ((O16{targetExhausted, 1, {'a'}}), convert(ConvertUTF8toUTF16, bytes("a\xF0\x9F\x98\x80"), 2));
  EXPECT_EQ((O16{conversionOK, 5, {'a', 0xD83D, 0xDE00}}), convert(ConvertUTF8toUTF16, bytes("a\xF0\x9F\x98\x80"), 3));
}

TEST(ConvertUtf8, EveryIllFormedClassStopsOnTheOffendingSequence) {
  const char* illegal[] = {
      "\x80",                                  // lone trailing byte
      "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF",  // overlong forms
      "\xED\xA0\x80", "\xED\xBF\xBF",          // encoded surrogates
      "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",  // above U+10FFFF
      "\xF8\x88\x80\x80\x80", "\xFC\x84\x80\x80\x80\x80",  // five- and six-byte forms
      "\xC3\x28", "\xE2\x82\x28", "\xED\x41\x80", "\xF4\x41\x80\x80",  // trailing bytes out of range
  };
  for (const char* sequence : illegal) {
    std::string text = std::string("ok") + sequence + "z";
    for (ConversionFlags flags : {strictConversion, lenientConversion}) {
      EXPECT_EQ((O32{sourceIllegal, 2, {'o', 'k'}}), convert(ConvertUTF8toUTF32, bytes(text), 16, flags)) << text;
      EXPECT_EQ((O16{sourceIllegal, 2, {'o', 'k'}}), convert(ConvertUTF8toUTF16, bytes(text), 16, flags)) << text;
    }
    EXPECT_FALSE(isLegalUTF8Sequence((const UTF8*)sequence, (const UTF8*)sequence + strlen(sequence))) << text;
  }
  // Truncated at the end of the source: exhausted, not illegal, and the source stays on it.
  for (const char* truncated : {"\xC3", "\xE2\x82", "\xF0\x9F\x98"}) {
    EXPECT_EQ((O32{sourceExhausted, 2, {'a', 'b'}}), convert(ConvertUTF8toUTF32, bytes(std::string("ab") + truncated), 8));
    EXPECT_FALSE(isLegalUTF8Sequence((const UTF8*)truncated, (const UTF8*)truncated + strlen(truncated)));
  }
  EXPECT_TRUE(isLegalUTF8Sequence((const UTF8*)"\xE2\x82\xAC", (const UTF8*)"\xE2\x82\xAC" + 3));
}

TEST(ConvertUtf32, SurrogatesAndValuesAboveTheLastCodePoint) {
  U32 surrogate = {'a', 0xD800, 'b'};
  EXPECT_EQ((O8{sourceIllegal, 1, {'a'}}), convert(ConvertUTF32toUTF8, surrogate, 16, strictConversion));
  EXPECT_EQ((O8{conversionOK, 3, bytes("a\xED\xA0\x80" "b")}), convert(ConvertUTF32toUTF8, surrogate, 16));
  EXPECT_EQ((O16{sourceIllegal, 1, {'a'}}), convert(ConvertUTF32toUTF16, surrogate, 16, strictConversion));
  EXPECT_EQ((O16{conversionOK, 3, {'a', 0xFFFD, 'b'}}), convert(ConvertUTF32toUTF16, surrogate, 16));

  // Above U+10FFFF: UTF-8 gets U+FFFD and a final sourceIllegal under either flag; UTF-16
  // skips it (strict) or writes U+FFFD (lenient), and the conversion goes on.
  U32 huge = {'a', 0x110000, 'b'};
  for (ConversionFlags flags : {strictConversion, lenientConversion}) {
    EXPECT_EQ((O8{sourceIllegal, 3, bytes("a\xEF\xBF\xBD" "b")}), convert(ConvertUTF32toUTF8, huge, 16, flags));
  }
  EXPECT_EQ((O16{sourceIllegal, 3, {'a', 'b'}}), convert(ConvertUTF32toUTF16, huge, 16, strictConversion));
  EXPECT_EQ((O16{conversionOK, 3, {'a', 0xFFFD, 'b'}}), convert(ConvertUTF32toUTF16, huge, 16));

  // A character that does not fit leaves both pointers before it.
  EXPECT_EQ((O8{targetExhausted, 1, {'a'}}), convert(ConvertUTF32toUTF8, U32{'a', 0x20AC}, 3));
  EXPECT_EQ((O16{targetExhausted, 1, {'a'}}), convert(ConvertUTF32toUTF16, U32{'a', 0x1F600}, 2));
}

TEST(ConvertUtf16, PairsAndLoneSurrogates) {
  EXPECT_EQ((O32{conversionOK, 3, {0x1F600, 'x'}}), convert(ConvertUTF16toUTF32, U16{0xD83D, 0xDE00, 'x'}, 4));
  EXPECT_EQ((O8{conversionOK, 3, bytes("\xF0\x9F\x98\x80x")}), convert(ConvertUTF16toUTF8, U16{0xD83D, 0xDE00, 'x'}, 8));
  EXPECT_EQ((O8{targetExhausted, 1, {'a'}}), convert(ConvertUTF16toUTF8, U16{'a', 0xD83D, 0xDE00}, 4));
  // A high surrogate at the very end: exhausted under either flag, the source left on it.
  for (ConversionFlags flags : {strictConversion, lenientConversion}) {
    EXPECT_EQ((O32{sourceExhausted, 1, {'a'}}), convert(ConvertUTF16toUTF32, U16{'a', 0xD83D}, 4, flags));
    EXPECT_EQ((O8{sourceExhausted, 1, {'a'}}), convert(ConvertUTF16toUTF8, U16{'a', 0xD83D}, 8, flags));
  }
  // An unpaired high or low surrogate: illegal when strict, passed through when lenient.
  for (U16 lone : {U16{'a', 0xD83D, 'b'}, U16{'a', 0xDE00, 'b'}}) {
    EXPECT_EQ((O32{sourceIllegal, 1, {'a'}}), convert(ConvertUTF16toUTF32, lone, 4, strictConversion));
    EXPECT_EQ((O8{sourceIllegal, 1, {'a'}}), convert(ConvertUTF16toUTF8, lone, 8, strictConversion));
    EXPECT_EQ((O32{conversionOK, 3, {'a', lone[1], 'b'}}), convert(ConvertUTF16toUTF32, lone, 4));
  }
}
