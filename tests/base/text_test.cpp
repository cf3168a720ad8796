#include "base/text.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vemko {
namespace {

TEST(Text, Utf8GoesToUtf16AndBackToTheByte) {
  struct Case {
    const char* name;
    std::string utf8;
    std::u16string text;
  };
  const Case cases[] = {
      {"plain", "bank", u"bank"},
      {"umlauts", "Fl\xC3\xB6te", u"Fl\u00F6te"},
      {"beyond the basic plane", "\xF0\x9D\x84\x9E", u"\U0001D11E"},
      {"bytes that are no UTF-8", "a\xFF\xC3(", u"a\xDCFF\xDCC3("},
      {"a surrogate written as UTF-8", "\xED\xA0\x80", u"\xDCED\xDCA0\xDC80"},
      {"an overlong slash", "\xC0\xAF", u"\xDCC0\xDCAF"},
      {"a character cut off", "x\xE2\x82", u"x\xDCE2\xDC82"},
      {"zero within", std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(toUtf16(c.utf8), c.text);
    EXPECT_EQ(toUtf8(c.text), c.utf8);
  }
  EXPECT_EQ(toUtf8(u"\xD800x"), "\xEF\xBF\xBDx") << "a lone surrogate that stands for no byte";
}

TEST(Text, CutsUtf8BetweenCharacters) {
  EXPECT_EQ(toUtf8(u"ab\u20AC", 4), "ab");
  EXPECT_EQ(toUtf8(u"ab\u20AC", 5), "ab\xE2\x82\xAC");
  EXPECT_EQ(toUtf8(u"\u20AC", 0), "");
}

TEST(Text, DecodesFieldsOfFiles) {
  struct Case {
    const char* name;
    std::string field;
    std::u16string text;
  };
  const Case cases[] = {
      {"ends at the first zero", std::string("Piano\0junk\xFF", 11), u"Piano"},
      {"UTF-8 where valid", "\xC3\xA9t\xC3\xA9", u"\u00E9t\u00E9"},
      {"Windows-1252 otherwise", "caf\xE9 \x80 \x93", u"caf\u00E9 \u20AC \u201C"},
      {"an unassigned code", "\x81", u"\u0081"},
      {"empty", "", u""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(decodeText(asBytes(c.field)), c.text);
  }
}

TEST(Text, ComparesWithoutCase) {
  EXPECT_TRUE(equalsIgnoringCase(u"GR\u00DCN \u0416 \u03A9.WAV", u"gr\u00FCn \u0436 \u03C9.wav"));
  EXPECT_FALSE(equalsIgnoringCase(u"a\u00D7", u"a\u00F7")) << "signs, not letters";
  EXPECT_FALSE(equalsIgnoringCase(u"a", u"ab"));
}

TEST(Text, SortsNamesAsPeopleDo) {
  const std::vector<std::u16string> sorted = {u"",         u"2 b",    u"10 a",    u"Wave 1",   u"wave 1",
                                              u"wave 002", u"wave 2", u"WAVE 10", u"wave 10x", u"xylo"};
  for (std::size_t i = 0; i < sorted.size(); ++i)
    for (std::size_t j = 0; j < sorted.size(); ++j) {
      const int order = compareNatural(sorted[i], sorted[j]);
      EXPECT_EQ((order > 0) - (order < 0), (i > j) - (i < j))
          << toUtf8(sorted[i]) << " | " << toUtf8(sorted[j]);
    }
}

}  // namespace
}  // namespace vemko
