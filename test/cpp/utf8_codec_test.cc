#include "convert/utf8_codec.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace {

// Decodes by code point value ranges, a formulation independent of the production byte checks.
// Returns false for anything that is not well-formed UTF-8.
bool referenceDecode(const std::string& text, std::u16string& out) {
  out.clear();
  std::size_t i = 0;
  while (i < text.size()) {
    const unsigned char lead = static_cast<unsigned char>(text[i]);
    int extra;
    std::uint32_t cp;
    if (lead < 0x80) {
      extra = 0, cp = lead;
    } else if ((lead & 0xE0) == 0xC0) {
      extra = 1, cp = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
      extra = 2, cp = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
      extra = 3, cp = lead & 0x07;
    } else {
      return false;
    }
    if (i + static_cast<std::size_t>(extra) >= text.size() && extra > 0) return false;
    for (int k = 1; k <= extra; ++k) {
      const unsigned char c = static_cast<unsigned char>(text[i + k]);
      if ((c & 0xC0) != 0x80) return false;
      cp = (cp << 6) | (c & 0x3F);
    }
    const std::uint32_t smallest[] = {0, 0x80, 0x800, 0x10000};
    if (cp < smallest[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp < 0xE000)) return false;
    if (cp >= 0x10000) {
      out += static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10));
      out += static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF));
    } else {
      out += static_cast<char16_t>(cp);
    }
    i += static_cast<std::size_t>(extra) + 1;
  }
  return true;
}

std::ptrdiff_t decode(const std::string& text, std::u16string& out) {
  std::vector<std::uint16_t> units(text.size() + 1);
  const std::ptrdiff_t n = tarnwick::decodeUtf8(text.data(), text.size(), units.data());
  out.assign(units.begin(), units.begin() + (n < 0 ? 0 : n));
  return n;
}

std::string encode(const std::u16string& units) {
  std::string out = "prefix:";
  tarnwick::appendUtf16AsUtf8(reinterpret_cast<const std::uint16_t*>(units.data()), units.size(), out);
  return out.substr(7);
}

TEST(Utf8Codec, GoldenEncodings) {
  EXPECT_EQ(encode(u""), "");
  EXPECT_EQ(encode(u"a\u00e9\u20ac\U0001F600"), "a\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80");
  // Lone surrogates take the three-byte form of their own value, as the host writes them.
  EXPECT_EQ(encode(std::u16string(1, char16_t(0xD800))), "\xed\xa0\x80");
  EXPECT_EQ(encode(std::u16string{char16_t(0xDC00), char16_t(0xD800)}), "\xed\xb0\x80\xed\xa0\x80");
  std::string latin1Out;
  const std::uint8_t latin1[] = {'a', 0xE9, 0xFF, 0x00};
  tarnwick::appendLatin1AsUtf8(latin1, 4, latin1Out);
  EXPECT_EQ(latin1Out, std::string("a\xc3\xa9\xc3\xbf\0", 6));
}

TEST(Utf8Codec, RejectsWhatIsNotWellFormed) {
  std::u16string out;
  for (const char* bad : {"\x80", "\xc0\x80", "\xc1\xbf", "\xe0\x80\x80", "\xe0\x9f\xbf", "\xed\xa0\x80",
                          "\xf0\x80\x80\x80", "\xf4\x90\x80\x80", "\xf5\x80\x80\x80", "\xff", "\xc3", "\xe2\x82",
                          "\xf0\x9f\x98", "abcdefghijklmnop\xc3"}) {
    EXPECT_LT(decode(bad, out), 0) << bad;
  }
  EXPECT_EQ(decode("\xef\xbf\xbf\xf4\x8f\xbf\xbf", out), 3);
}

// Random byte strings biased towards UTF-8 shapes, long ASCII runs included, decoded by both.
TEST(Utf8Codec, DecodeMatchesReferenceOnGeneratedBytes) {
  std::mt19937 random(7);
  const std::vector<std::string> pieces = {"a", "plain ascii text run of some length", "\xc3\xa9", "\xe2\x82\xac",
                                           "\xf0\x9f\x98\x80", "\x80", "\xc3", "\xed\xa0\x80", "\xe0\xa0\x80",
                                           "\xf4\x8f\xbf\xbf", "\xf4\x90", "\xff", std::string(1, '\0')};
  for (int round = 0; round < 20000; ++round) {
    std::string text;
    const int count = static_cast<int>(random() % 12);
    for (int i = 0; i < count; ++i) {
      if (random() % 4 == 0) {
        text += static_cast<char>(random() % 256);
      } else {
        text += pieces[random() % pieces.size()];
      }
    }
    std::u16string expected, actual;
    const bool valid = referenceDecode(text, expected);
    const std::ptrdiff_t n = decode(text, actual);
    ASSERT_EQ(valid, n >= 0) << "round " << round;
    if (valid) {
      ASSERT_EQ(actual, expected) << "round " << round;
    }
    // The same bytes in two pieces cut anywhere, as UTF-16 and as Latin-1.
    const std::size_t cut = random() % (text.size() + 1);
    std::u16string wide(text.size() + 1, u'\0');
    std::vector<std::uint8_t> narrow(text.size() + 1);
    tarnwick::Utf8PieceDecoder<std::uint16_t> wideDecoder(reinterpret_cast<std::uint16_t*>(&wide[0]));
    tarnwick::Utf8PieceDecoder<std::uint8_t> narrowDecoder(narrow.data());
    wideDecoder.add(text.data(), cut) && wideDecoder.add(text.data() + cut, text.size() - cut);
    narrowDecoder.add(text.data(), cut) && narrowDecoder.add(text.data() + cut, text.size() - cut);
    wide.resize(wideDecoder.finish() < 0 ? 0 : static_cast<std::size_t>(wideDecoder.finish()));
    narrow.resize(narrowDecoder.finish() < 0 ? 0 : static_cast<std::size_t>(narrowDecoder.finish()));
    const bool latin1 = valid && std::all_of(expected.begin(), expected.end(), [](char16_t u) { return u < 0x100; });
    ASSERT_EQ(wideDecoder.finish() >= 0, valid) << "round " << round;
    ASSERT_EQ(narrowDecoder.finish() >= 0, latin1) << "round " << round;
    ASSERT_EQ(wide, valid ? expected : u"") << "round " << round;
    ASSERT_EQ(std::u16string(narrow.begin(), narrow.end()), latin1 ? expected : u"") << "round " << round;
  }
}

// Any sequence of code units encodes to bytes that decode back to it, unless it holds a lone
// surrogate, whose bytes are not well-formed and are left to the host.
TEST(Utf8Codec, EncodeRoundTripsThroughDecode) {
  std::mt19937 random(11);
  for (int round = 0; round < 20000; ++round) {
    std::u16string units;
    const int count = static_cast<int>(random() % 40);
    for (int i = 0; i < count; ++i) {
      switch (random() % 4) {
        case 0: units += static_cast<char16_t>(random() % 0x80); break;
        case 1: units += static_cast<char16_t>(random() % 0x10000); break;
        case 2: units += u"\U0001F600"; break;
        default: units += u"ascii run!"; break;
      }
    }
    bool lone = false;
    for (std::size_t i = 0; i < units.size(); ++i) {
      if (units[i] >= 0xD800 && units[i] < 0xDC00 && i + 1 < units.size() && units[i + 1] >= 0xDC00 &&
          units[i + 1] < 0xE000) {
        ++i;
      } else if (units[i] >= 0xD800 && units[i] < 0xE000) {
        lone = true;
      }
    }
    std::u16string back;
    const std::ptrdiff_t n = decode(encode(units), back);
    ASSERT_EQ(n < 0, lone) << "round " << round;
    if (!lone) {
      ASSERT_EQ(back, units) << "round " << round;
    }
  }
}

}  // namespace
