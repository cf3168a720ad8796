#include "io/registry.h"

#include <gtest/gtest.h>

#include "base/text.h"

namespace vemko::io {
namespace {

bool read(Collection&, InputFile&, std::uint32_t) { return true; }
bool write(Item&, OutputFile&, const SaveOptions&) { return true; }
int probe(Bytes, std::uint32_t, std::uint64_t) { return 0; }

constexpr KindMask kWave = kindBit(ItemKind::Waveform), kBank = kindBit(ItemKind::Collection);
constexpr FormatEntry kRows[] = {
    {u"*", read, nullptr, probe, u"Unrecognized", kWave, 0, kAllFeatures, 0, nullptr},
    {u"abc", read, nullptr, probe, u"Abc reading", kWave, 1, kAllFeatures, 1, nullptr},
    {u"abc", nullptr, write, nullptr, u"Abc one", kBank, 2, kAllFeatures, 2, nullptr},
    {u"abc", nullptr, write, nullptr, u"Abc two", kWave, 3, kAllFeatures, 3, nullptr},
    {u"ABC", read, nullptr, probe, u"Other case", kWave, 4, kAllFeatures, 4, nullptr},
    {u"xyz", read, write, probe, u"Xyz", kWave, 5, kAllFeatures, 5, nullptr},
};

TEST(Registry, AnswersNoneOutsideTheTable) {
  for (int row : {-1, -100, 6, 1000}) {
    SCOPED_TRACE(row);
    EXPECT_EQ(formatRow(row, kRows), nullptr);
    EXPECT_EQ(descriptionOf(row, kRows), u"<none>");
    EXPECT_EQ(extensionOf(row, kRows), u"");
    EXPECT_EQ(capabilitiesOf(row, kRows).capabilities, 0u);
    EXPECT_FALSE(canHold(row, ItemKind::Waveform, kRows));
    EXPECT_EQ(nextReadingRow(row, kRows), kNoRow);
    EXPECT_EQ(nextWritingRow(row, kRows), kNoRow);
  }
  EXPECT_EQ(descriptionOf(5, kRows), u"Xyz");
  EXPECT_TRUE(canHold(2, ItemKind::Collection, kRows));
  EXPECT_FALSE(canHold(2, ItemKind::Waveform, kRows));
}

TEST(Registry, FindsWritingRows) {
  struct Case {
    std::u16string_view extension;
    KindMask kinds;
    int row;
  };
  for (const Case& c : {Case{u"abc", kWave, 3}, Case{u".AbC", kBank, 2}, Case{u"abc", kWave | kBank, 2},
                        Case{u"xyz", kBank, kNoRow}, Case{u"*", kWave, kNoRow}, Case{u"", kWave, kNoRow}}) {
    SCOPED_TRACE(toUtf8(c.extension));
    EXPECT_EQ(findWritingRow(c.extension, c.kinds, kRows), c.row);
  }
  EXPECT_EQ(findWritingRowByDescription(u"ABC TWO", kRows), 3);
  EXPECT_EQ(findWritingRowByDescription(u"Abc reading", kRows), kNoRow);
}

TEST(Registry, TakesCapabilitiesFromTheNextWriterOfTheExtension) {
  constexpr std::uint32_t kExpected[] = {0, 2, 2, 3, 0, 5};  // by row; row 4 differs in case from its writers
  for (int row = 0; row < 6; ++row) {
    SCOPED_TRACE(row);
    EXPECT_EQ(capabilitiesOf(row, kRows).capabilities, kExpected[row]);
    EXPECT_EQ(capabilitiesOf(row, kRows).variant, kExpected[row]);
  }
}

TEST(Registry, MatchesExtensions) {
  struct Case {
    std::u16string_view pattern, extension;
    bool matches;
  };
  for (const Case& c :
       {Case{u"wav", u"WAV", true}, Case{u"PCG", u"pcg", true}, Case{u"wav", u"wave", false},
        Case{u"wave", u"wav", false}, Case{u"s?", u"s1", true}, Case{u"s?", u"s", false},
        Case{u"*", u"", true}, Case{u"a*", u"abc", true}, Case{u"a*", u"b", false}, Case{u"", u"", true}}) {
    SCOPED_TRACE(toUtf8(c.pattern) + " " + toUtf8(c.extension));
    EXPECT_EQ(matchesExtension(c.pattern, c.extension), c.matches);
  }
}

}  // namespace
}  // namespace vemko::io
