#include "io/detect.h"

#include <gtest/gtest.h>

#include "support.h"

namespace vemko::io {
namespace {

using test::putFile;
using test::TempFolder;

bool read(Collection&, InputFile&, std::uint32_t) { return true; }
int probeAny(Bytes, std::uint32_t, std::uint64_t) { return 2; }
/// The variant names the first letter that is certain; the small letter is a weak sign.
int probeLetter(Bytes head, std::uint32_t variant, std::uint64_t) {
  if (head.empty()) return 0;
  const auto first = static_cast<std::uint32_t>(head[0]);
  return first == variant ? 6 : first == variant + 32 ? 2 : 0;
}

constexpr FormatEntry kRows[] = {
    {u"*", read, nullptr, probeAny, u"Unrecognized", 1, 0, kAllFeatures, 0, nullptr},
    {u"one", read, nullptr, probeLetter, u"A files", 1, 0, kAllFeatures, 'A', nullptr},
    {u"two", read, nullptr, probeLetter, u"A files again", 1, 0, kAllFeatures, 'A', nullptr},
    {u"b?", read, nullptr, probeLetter, u"B files", 1, 0, kAllFeatures, 'B', nullptr},
};

TEST(Detect, ScoresNameAndHead) {
  struct Case {
    const char* file;
    std::string_view content;
    int row, confidence;
  };
  const TempFolder folder;
  for (const Case& c : {
           Case{"certain.one", "A", 1, 100},
           Case{"case.ONE", "A", 1, 100},
           Case{"other-name.dat", "A", 1, 66},  // the first of equal totals
           Case{"later-row.two", "A", 2, 100},
           Case{"weak.one", "a", 1, 55},
           Case{"weak.dat", "a", 0, 0},
           Case{"name-only.one", "x", 0, 0},
           Case{"no-extension", "x", 0, 0},
           Case{"pattern.b7", "b", 3, 55},
           Case{"pattern.b", "b", 0, 0},
           Case{"two.dots.one", "A", 1, 100},
       }) {
    SCOPED_TRACE(c.file);
    putFile(folder / c.file, c.content);
    InputFile file;
    ASSERT_TRUE(file.open(folder / c.file)) << toUtf8(lastError());
    file.seek(1);
    const Detection found = detect(folder / c.file, file, kRows);
    EXPECT_EQ(found.row, c.row);
    EXPECT_EQ(found.confidence, c.confidence);
    EXPECT_EQ(file.position(), 1u);
  }
}

TEST(Detect, FindsNothingInEmptyFilesOrWithoutTheCatchAll) {
  const TempFolder folder;
  putFile(folder / "empty.one", "");
  putFile(folder / "weak.dat", "a");
  InputFile empty, weak;
  ASSERT_TRUE(empty.open(folder / "empty.one") && weak.open(folder / "weak.dat"));
  EXPECT_EQ(detect(empty.path(), empty, kRows).row, kNoRow);
  constexpr FormatEntry kWithoutCatchAll[] = {kRows[3], kRows[1]};
  EXPECT_EQ(detect(weak.path(), weak, kWithoutCatchAll).row, kNoRow);
}

TEST(Detect, ShowsProbesTheHeadOnly) {
  static std::size_t seen;
  static std::uint64_t size;
  constexpr FormatEntry kMeasuring[] = {{u"*", read, nullptr,
                                         [](Bytes head, std::uint32_t, std::uint64_t fileSize) {
                                           seen = head.size();
                                           size = fileSize;
                                           return 2;
                                         },
                                         u"Unrecognized", 1, 0, kAllFeatures, 0, nullptr}};
  const TempFolder folder;
  for (std::size_t bytes : {std::size_t{10}, kHeadBytes, kHeadBytes + 1}) {
    putFile(folder / "file", std::string(bytes, 'x'));
    InputFile file;
    ASSERT_TRUE(file.open(folder / "file")) << toUtf8(lastError());
    detect(file.path(), file, kMeasuring);
    EXPECT_EQ(seen, std::min(bytes, kHeadBytes));
    EXPECT_EQ(size, bytes);
  }
}

TEST(Detect, DescribesFiles) {
  const TempFolder folder;
  putFile(folder / "a.one", "A");
  putFile(folder / "x.no-such-extension-anywhere", "x");
  putFile(folder / "empty", "");
  EXPECT_EQ(describeFile(folder / "a.one", kRows).text, u"A files");
  EXPECT_EQ(describeFile(folder / "a.one", kRows).confidence, 100);
  EXPECT_EQ(describeFile(folder / "x.no-such-extension-anywhere", kRows).text, u"Unknown file type");
  EXPECT_EQ(describeFile(folder / "empty", kRows).text, u"Unknown file type");
  EXPECT_EQ(describeFile(folder / "missing", kRows).text, u"");
}

}  // namespace
}  // namespace vemko::io
