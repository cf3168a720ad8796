#include "io/missing_file.h"

#include <gtest/gtest.h>

#include "io/decisions.h"
#include "support.h"
#include "system/system.h"

namespace vemko::io {
namespace {

using test::putFile;
using test::TempFolder;

class MissingFile : public testing::Test {
 protected:
  MissingFile() {
    resetMissingFileSearch();
    std::filesystem::create_directories(bank() / "Samples" / "Deep" / "er");
    std::filesystem::create_directories(bank() / "folder.wav");
    std::filesystem::create_directories(folder / "elsewhere");
    for (const char* file : {"bank/plain.wav", "bank/Mixed Case.WAV", "bank/Samples/one.wav", "other.wav",
                             "bank/Samples/Deep/er/hidden.wav", "bank/Samples/Deep/one.wav",
                             "elsewhere/far.wav", "elsewhere/Farther.wav"})
      putFile(folder / file, "x");
  }
  ~MissingFile() override { setDecisions({}); }

  Path bank() const { return folder / "bank"; }
  std::string locate(std::u16string_view stored) {
    const auto found = locateMissingFile(stored, bank());
    return found ? found->lexically_normal().lexically_relative(folder.path()).generic_string() : "";
  }

  TempFolder folder;
};

TEST_F(MissingFile, FollowsTheReference) {
  const std::u16string absolute = textOf(folder / "other.wav");
  struct Case {
    std::u16string stored;
    const char* found;
  };
  for (const Case& c : {
           Case{absolute, "other.wav"},
           Case{u"plain.wav", "bank/plain.wav"},
           Case{u"  plain.wav ", "bank/plain.wav"},
           Case{u"Samples/one.wav", "bank/Samples/one.wav"},
           Case{u"Samples\\one.wav", "bank/Samples/one.wav"},
           Case{u".\\samples\\ONE.wav", "bank/Samples/one.wav"},
           Case{u"..\\other.wav", "other.wav"},
           Case{u"..\\OTHER.WAV", "other.wav"},
           Case{u"mixed case.wav", "bank/Mixed Case.WAV"},
           Case{u"C:\\Library\\Piano\\plain.wav", "bank/plain.wav"},
           Case{u"C:PLAIN.wav", "bank/plain.wav"},
           Case{u"/no/such/folder/plain.wav", "bank/plain.wav"},
           Case{u"hidden.wav", "bank/Samples/Deep/er/hidden.wav"},
           Case{u"D:\\x\\one.wav", "bank/Samples/one.wav"},  // the nearer of two
           Case{u"folder.wav", ""},
           Case{u"Samples", ""},
           Case{u"Samples/", ""},
           Case{u"..", ""},
           Case{u"///", ""},
           Case{u"", ""},
           Case{u"nowhere.wav", ""},
       }) {
    SCOPED_TRACE(toUtf8(c.stored));
    const std::string found = locate(c.stored);
    if (test::kPosix) {
      EXPECT_EQ(found, c.found);
    } else {  // where the system ignores case the name that was asked for is the file's
      EXPECT_TRUE(equalsIgnoringCase(toUtf16(found), toUtf16(c.found))) << found;
    }
  }
}

// Opening a pipe would wait for somebody to write to it.
TEST_F(MissingFile, IsNeverAPipeOrADevice) {
  if (!test::kPosix) GTEST_SKIP() << test::kPosixOnly;
  ASSERT_TRUE(test::makePipe(bank() / "pipe.wav"));
  for (const char16_t* stored : {u"pipe.wav", u"PIPE.wav", u"/dev/zero", u"/dev/stdin"})
    EXPECT_EQ(locate(stored), "");
}

TEST_F(MissingFile, RemembersTheFolderThatTheUserChose) {
  int asked = 0;
  setDecisions({{},
                [&](std::u16string_view title, std::u16string_view wanted) {
                  ++asked;
                  EXPECT_EQ(title, u"Please locate the missing file:");
                  EXPECT_EQ(wanted, u"gone\\near.wav");
                  return folder / "elsewhere" / "far.wav";
                },
                {}});
  EXPECT_EQ(locate(u"gone\\near.wav"), "elsewhere/far.wav");
  EXPECT_EQ(locate(u"plain.wav"), "bank/plain.wav");
  EXPECT_EQ(locate(u"gone\\farther.wav"), "elsewhere/Farther.wav");
  EXPECT_EQ(asked, 1);
}

TEST_F(MissingFile, DoesNotAskAgainAfterACancel) {
  int asked = 0;
  setDecisions({{},
                [&](std::u16string_view, std::u16string_view) -> std::optional<Path> {
                  ++asked;
                  return std::nullopt;
                },
                {}});
  EXPECT_EQ(locate(u"gone.wav") + locate(u"gone too.wav"), "");
  EXPECT_EQ(asked, 1);
  resetMissingFileSearch();
  EXPECT_EQ(locate(u"gone.wav"), "");
  EXPECT_EQ(asked, 2);
}

}  // namespace
}  // namespace vemko::io
