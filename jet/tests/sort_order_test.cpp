// The General sort order as Access applies it to comparisons and keys. The
// byte-exact keys are checked against real files in index_keys_test.cpp;
// these cases pin the ordering rules and the refusals.
#include "jet/sort_order.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace jet {
namespace {

std::string Key(std::string_view text, SortOrderVersion version = SortOrderVersion::kGeneral) {
  std::string key;
  Status s = GeneralSortKey(text, version, &key);
  EXPECT_TRUE(s.ok()) << text << ": " << s.ToString();
  return key;
}

// Access 97's General order places some letters elsewhere than Jet 4's;
// comparisons on a Jet 3 file follow the same keys its indexes hold.
TEST(SortOrderTest, Jet3ComparesByItsOwnVersionOfTheOrder) {
  const auto jet3 = SortOrderVersion::kGeneral97;
  EXPECT_LT(CompareGeneral("København", "Köln"), 0);
  EXPECT_GT(CompareGeneral("København", "Köln", jet3), 0);
  EXPECT_LT(CompareGeneral("ø", "z"), 0);
  EXPECT_GT(CompareGeneral("ø", "z", jet3), 0);
  EXPECT_EQ(CompareGeneral("Smith", "SMITH", jet3), 0);
  EXPECT_LT(CompareGeneral("abc", "abd", jet3), 0);

  std::vector<std::string> texts = {"Zaandam", "Århus", "Aachen", "Köln", "København", "Kirkland", "Luleå",
                                    "Lyngby", "Øster", "oster", "Ostend", "Bern", "bergamo", "Æbeltoft", "Ærø"};
  std::vector<std::string> by_compare = texts, by_key = texts;
  std::stable_sort(by_compare.begin(), by_compare.end(),
                   [&](const std::string& a, const std::string& b) { return CompareGeneral(a, b, jet3) < 0; });
  std::stable_sort(by_key.begin(), by_key.end(),
                   [&](const std::string& a, const std::string& b) { return Key(a, jet3) < Key(b, jet3); });
  EXPECT_EQ(by_compare, by_key);
}

TEST(SortOrderTest, CompareFoldsCaseAndRanksAccentsAfterLetters) {
  EXPECT_LT(CompareGeneral("a", "B"), 0);
  EXPECT_LT(CompareGeneral("B", "c"), 0);
  EXPECT_GT(CompareGeneral("c", "a"), 0);
  // Case is not part of the order at all: Access treats these as equal.
  EXPECT_EQ(CompareGeneral("Smith", "SMITH"), 0);
  EXPECT_EQ(CompareGeneral("straße", "STRASSE"), 0);
  // An accent only breaks a tie between otherwise equal letters.
  EXPECT_NE(CompareGeneral("é", "e"), 0);
  EXPECT_LT(CompareGeneral("e", "é"), 0);
  EXPECT_LT(CompareGeneral("é", "f"), 0);
  EXPECT_LT(CompareGeneral("é", "ea"), 0);
  EXPECT_LT(CompareGeneral("cote", "côte"), 0);
  EXPECT_LT(CompareGeneral("coté", "côte"), 0);  // the earlier accent weighs more
  // Shorter prefix first; digits before letters; punctuation before digits.
  EXPECT_LT(CompareGeneral("abc", "abcd"), 0);
  EXPECT_LT(CompareGeneral("9", "a"), 0);
  EXPECT_LT(CompareGeneral("!", "0"), 0);
  EXPECT_EQ(CompareGeneral("", ""), 0);
  EXPECT_LT(CompareGeneral("", "a"), 0);
}

TEST(SortOrderTest, SortsAListAsAccessDoes) {
  std::vector<std::string> words = {"zebra", "Äpfel", "apple", "Zürich", "émile", "Emile", "10", "2", "éclair",
                                    "eclair", "Ω", "α", "Я", "а"};
  std::sort(words.begin(), words.end(), [](const std::string& a, const std::string& b) {
    return CompareGeneral(a, b) < 0;
  });
  // Letters decide before accents ("Äpfel" < "apple"); digits compare one
  // by one; Latin before Greek before Cyrillic.
  const std::vector<std::string> expected = {"10", "2", "Äpfel", "apple", "eclair", "éclair", "Emile", "émile",
                                             "zebra", "Zürich", "α", "Ω", "а", "Я"};
  EXPECT_EQ(words, expected);
}

// CompareGeneral decides most pairs from the letters alone; it must agree
// with comparing whole keys, including where only accents, ligatures,
// unprintable characters or kana flags differ.
TEST(SortOrderTest, ComparisonAgreesWithKeys) {
  const std::vector<std::string> texts = {"", "a", "A", "á", "ae", "Æ", "æb", "aeb", "ss", "ß", "ßa", "ssa",
                                          "co-op", "coop", "co'op", "coo", "résumé", "resume", "résume", "x\ty", "xy",
                                          "\u3042", "\u30A2", "\u3041", "Bon app'", "Bottom-Dollar", "Bólido",
                                          "\u0416\u0443\u043A", "\u0436\u0443\u043A", "\u4E2D\u6587", "9", "10"};
  auto sign = [](int v) { return (v > 0) - (v < 0); };
  for (const std::string& a : texts) {
    for (const std::string& b : texts) {
      EXPECT_EQ(sign(CompareGeneral(a, b)), sign(Key(a).compare(Key(b)))) << "[" << a << "] vs [" << b << "]";
      EXPECT_EQ(CompareGeneral(a, b), -CompareGeneral(b, a)) << "[" << a << "] vs [" << b << "]";
    }
  }
}

TEST(SortOrderTest, KeysIgnoreTrailingBlanksAndStopAt255Characters) {
  EXPECT_EQ(Key("abc   "), Key("abc"));
  EXPECT_NE(Key("  abc"), Key("abc"));
  const std::string long_a(255, 'a');
  EXPECT_EQ(Key(long_a + "zzz"), Key(long_a));
  EXPECT_NE(Key(long_a.substr(1) + "z"), Key(long_a));
  // The cut counts characters, not UTF-8 bytes.
  const std::string long_e = [] {
    std::string s;
    for (int i = 0; i < 255; ++i) s += "é";
    return s;
  }();
  EXPECT_EQ(Key(long_e + "x"), Key(long_e));
  EXPECT_EQ(Key("abc  ", SortOrderVersion::kGeneral97), Key("abc", SortOrderVersion::kGeneral97));
}

TEST(SortOrderTest, KeysOfBothVersionsOrderLikeTheComparison) {
  const std::vector<std::string> ascending = {"", "0", "1", "A", "ab", "Ab", "abc", "Äbc", "b", "éa", "ez", "f", "z"};
  for (SortOrderVersion version : {SortOrderVersion::kGeneral, SortOrderVersion::kGeneral97}) {
    for (size_t i = 1; i < ascending.size(); ++i) {
      EXPECT_LE(Key(ascending[i - 1], version), Key(ascending[i], version))
          << ascending[i - 1] << " / " << ascending[i] << " version " << int(version);
    }
    // Case never reaches the key in either version.
    EXPECT_EQ(Key("MiXeD", version), Key("mixed", version));
    EXPECT_NE(Key("e", version), Key("é", version));
  }
}

std::string Utf8(char32_t cp) {
  std::string out;
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
  return out;
}

TEST(SortOrderTest, CoversTheWholeBasicPlaneAndRefusesTheRest) {
  std::string key;
  // Jet 4: every character of the Basic Multilingual Plane has a code.
  for (char32_t cp = 0; cp <= 0xFFFF; ++cp) {
    if (cp >= 0xD800 && cp <= 0xDFFF) continue;
    Status s = GeneralSortKey("a" + Utf8(cp) + "b", SortOrderVersion::kGeneral, &key);
    ASSERT_TRUE(s.ok()) << std::hex << unsigned(cp) << ": " << s.ToString();
  }
  // Jet 3: Latin-1 and the extra characters of Windows-1252.
  for (char32_t cp = 0; cp <= 0xFF; ++cp) {
    EXPECT_TRUE(GeneralSortKey("a" + Utf8(cp) + "b", SortOrderVersion::kGeneral97, &key).ok()) << unsigned(cp);
  }

  // Characters outside the Basic Multilingual Plane are not in the tables.
  Status s = GeneralSortKey("a\xF0\x9F\x98\x80", SortOrderVersion::kGeneral, &key);
  EXPECT_EQ(s.code(), Status::Code::kUnsupported) << s.ToString();
  EXPECT_NE(s.message().find("U+D83D"), std::string::npos) << s.message();
  // Jet 3 text is Windows-1252: Cyrillic cannot be keyed, the euro sign can.
  s = GeneralSortKey("Я", SortOrderVersion::kGeneral97, &key);
  EXPECT_EQ(s.code(), Status::Code::kUnsupported) << s.ToString();
  EXPECT_TRUE(GeneralSortKey("5 €", SortOrderVersion::kGeneral97, &key).ok());
  EXPECT_TRUE(GeneralSortKey("Я", SortOrderVersion::kGeneral, &key).ok());
  // Malformed UTF-8 is the caller's error; comparison still works on it.
  for (const char* bad : {"\xC3", "\xC0\xAF", "\xED\xA0\x80", "a\xFF"}) {
    EXPECT_EQ(GeneralSortKey(bad, SortOrderVersion::kGeneral, &key).code(), Status::Code::kInvalidArgument) << bad;
  }
  EXPECT_EQ(CompareGeneral("\xF0\x9F\x98\x80", "\xF0\x9F\x98\x80"), 0);
  EXPECT_LT(CompareGeneral("\xF0\x9F\x98\x80", "\xF0\x9F\x98\x81"), 0);
}

}  // namespace
}  // namespace jet
