// UTF-8 conversions against an independent decoder, by round trip, decoded in pieces, and a script
// string read into the core escaped.
#include "convert/utf8_codec.h"

#include <gtest/gtest.h>

#include "convert/text_block.h"

#include <algorithm>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "units.h"

namespace {

// Decodes by code point value ranges, a formulation independent of the production byte checks.
// Returns false for anything that is not well-formed UTF-8.
bool referenceDecode(const std::string& text, std::u16string& out) {
  out.clear();
  for (std::size_t i = 0; i < text.size();) {
    const unsigned char lead = text[i];
    const int extra = lead < 0x80 ? 0 : lead >> 5 == 6 ? 1 : lead >> 4 == 14 ? 2 : lead >> 3 == 30 ? 3 : -1;
    if (extra < 0) return false;
    std::uint32_t cp = lead & (0x7F >> (extra == 0 ? 0 : extra + 1));
    for (int k = 1; k <= extra; ++k) {
      if (i + k >= text.size() || (text[i + k] & 0xC0) != 0x80) return false;
      cp = cp << 6 | (text[i + k] & 0x3F);
    }
    const std::uint32_t smallest[] = {0, 0x80, 0x800, 0x10000};
    if (cp < smallest[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000)) return false;
    if (cp >= 0x10000) out += {char16_t(0xD800 + ((cp - 0x10000) >> 10)), char16_t(0xDC00 + (cp & 0x3FF))};
    else out += char16_t(cp);
    i += extra + 1;
  }
  return true;
}

std::ptrdiff_t decode(const std::string& text, std::u16string& out) {
  const std::optional<std::u16string> units = reference::decode(text);
  out = units ? *units : u"";
  return units ? static_cast<std::ptrdiff_t>(units->size()) : -1;
}

using reference::encode;

TEST(Utf8Codec, GoldenEncodingsAndRejections) {
  EXPECT_EQ(encode(u""), "");
  EXPECT_EQ(encode(u"a\u00e9\u20ac\U0001F600"), "a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");
  // Lone surrogates take the three-byte form of their own value, as the host writes them.
  EXPECT_EQ(encode(std::u16string{char16_t(0xDC00), char16_t(0xD800)}), "\xed\xb0\x80\xed\xa0\x80");
  std::string latin1(512, '\0');
  std::uint8_t chars[256];
  for (int c = 0; c < 256; ++c) chars[c] = static_cast<std::uint8_t>(c);
  tarnwick::Utf8Tally tally;
  latin1.resize(tarnwick::latin1ToUtf8(chars, 256, &latin1[0], false, &tally));
  std::u16string back;
  EXPECT_TRUE(referenceDecode(latin1, back));
  EXPECT_EQ(back, std::u16string(chars, chars + 256));
  std::u16string out;
  for (const char* bad :
       {"\x80", "\xc0\x80", "\xc1\xbf", "\xe0\x80\x80", "\xe0\x9f\xbf", "\xed\xa0\x80", "\xf0\x80\x80\x80",
        "\xf4\x90\x80\x80", "\xf5\x80\x80\x80", "\xff", "\xc3", "\xe2\x82", "\xf0\x9f\x98", "abcdefghijklmnop\xc3"}) {
    EXPECT_LT(decode(bad, out), 0) << bad;
  }
  EXPECT_EQ(decode("\xef\xbf\xbf\xf4\x8f\xbf\xbf", out), 3);
  EXPECT_EQ(tarnwick::leastUtf16Units("a\xe2\x82\xac\xe2\x82\xac\xc3\xa9\xe2\x82\xac", 12), 5u);  // a word and a tail
  // Replacing: one U+FFFD for each stray byte and for each longest start of a cut sequence.
  const std::pair<std::string, std::u16string> replaced[] = {
      {"\xc0\x80", u"\ufffd\ufffd"}, {"\xed\xa0\x80", u"\ufffd\ufffd\ufffd"}, {"\xf4\x90\x80\x80", u"\ufffd\ufffd\ufffd\ufffd"},
      {"\xe2\x82", u"\ufffd"}, {"\xe2\x82" "A", u"\ufffdA"}, {"\xf0\x9f\x98 x", u"\ufffd x"}, {"ab\xc3(\xc3\xa9", u"ab\ufffd(\u00e9"},
      {"\xe0\xa0", u"\ufffd"}, {"\xf0\x8f\x80\x80\U0001F600", u"\ufffd\ufffd\ufffd\ufffd\U0001F600"}};
  for (const auto& [bytes, units] : replaced) {
    std::vector<std::uint16_t> got(bytes.size());
    got.resize(tarnwick::decodeUtf8Replacing(bytes.data(), bytes.size(), got.data()));
    EXPECT_EQ(std::u16string(got.begin(), got.end()), units) << testing::PrintToString(bytes);
  }
}

// Random byte strings biased towards UTF-8 shapes, long ASCII runs included, decoded whole and in
// two pieces cut anywhere, as UTF-16 and as Latin-1. Random code units encode to bytes that decode
// back to them, unless they hold a lone surrogate, whose bytes are not well-formed (left to the host).
TEST(Utf8Codec, MatchesReferenceAndRoundTripsOnGeneratedText) {
  std::mt19937 random(7);
  const std::vector<std::string> pieces = {"a", "plain ascii text run of some length", "\xc3\xa9", "\xe2\x82\xac",
                                           "\xf0\x9f\x98\x80", "\x80", "\xc3", "\xed\xa0\x80", "\xe0\xa0\x80",
                                           "\xf4\x8f\xbf\xbf", "\xf4\x90", "\xff", "\xc4\x80", std::string(1, '\0')};
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    for (int i = random() % 12; i > 0; --i) {
      text += random() % 4 == 0 ? std::string(1, static_cast<char>(random())) : pieces[random() % pieces.size()];
    }
    std::u16string expected, actual;
    const bool valid = referenceDecode(text, expected);
    ASSERT_EQ(decode(text, actual) >= 0, valid) << testing::PrintToString(text);
    ASSERT_EQ(actual, valid ? expected : u"") << testing::PrintToString(text);
    const std::size_t cut = random() % (text.size() + 1);
    std::u16string wide(text.size(), u'\0');
    std::vector<std::uint8_t> narrow(text.size());
    tarnwick::Utf8PieceDecoder<std::uint16_t> wideDecoder(reinterpret_cast<std::uint16_t*>(&wide[0]));
    tarnwick::Utf8PieceDecoder<std::uint8_t> narrowDecoder(narrow.data());
    wideDecoder.add(text.data(), cut) && wideDecoder.add(text.data() + cut, text.size() - cut);
    narrowDecoder.add(text.data(), cut) && narrowDecoder.add(text.data() + cut, text.size() - cut);
    const bool latin1 = valid && std::all_of(expected.begin(), expected.end(), [](char16_t u) { return u < 0x100; });
    ASSERT_EQ(wideDecoder.finish(), valid ? static_cast<std::ptrdiff_t>(expected.size()) : -1) << cut;
    ASSERT_EQ(narrowDecoder.finish(), latin1 ? static_cast<std::ptrdiff_t>(expected.size()) : -1) << cut;
    wide.resize(valid ? expected.size() : 0);
    narrow.resize(latin1 ? expected.size() : 0);
    ASSERT_EQ(wide, valid ? expected : u"") << cut;
    ASSERT_EQ(std::u16string(narrow.begin(), narrow.end()), latin1 ? expected : u"") << cut;

    std::u16string units, back;
    for (int i = random() % 40; i > 0; --i) {
      const unsigned kind = random() % 4;
      units += kind == 0 ? std::u16string(1, random() % 0x80) : kind == 1 ? std::u16string(1, random() % 0x10000)
               : kind == 2 ? u"\U0001F600" : u"ascii <run> & more";
    }
    const bool lone = !reference::wellFormed(units);
    ASSERT_EQ(decode(encode(units), back) < 0, lone) << round;
    ASSERT_EQ(back, lone ? u"" : units) << round;
    // Read as a script string in two slices (a pair never cut), escaped on the way: the bytes of
    // the text escaped first (UTF-8 holds no ASCII byte inside a sequence).
    const std::string plain = encode(units);
    std::string escaped;
    for (char c : plain) escaped += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
    const bool narrowUnits = std::all_of(units.begin(), units.end(), [](char16_t u) { return u < 0x100; });
    tarnwick::TextBlock block(units.size(), narrowUnits && round % 2 == 0, true);
    std::size_t half = units.size() / 2;
    if (half > 0 && units[half - 1] >= 0xD800 && units[half - 1] < 0xDC00) --half;
    for (const auto& [from, count] : {std::pair<std::size_t, std::size_t>{0, half}, {half, units.size() - half}}) {
      const std::vector<std::uint8_t> chars(units.begin() + from, units.begin() + from + count);
      if (narrowUnits && round % 2 == 0) block.addLatin1(chars.data(), count);
      else block.addUtf16(reinterpret_cast<const std::uint16_t*>(units.data()) + from, count);
    }
    ASSERT_EQ(std::string(block.data(), block.size()), escaped) << round;
    ASSERT_EQ(block.units(), units.size() + escaped.size() - plain.size()) << round;
    ASSERT_EQ(block.oneByte(), narrowUnits) << round;
  }
}

}  // namespace
