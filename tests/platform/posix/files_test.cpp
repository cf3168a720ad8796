#include "platform/files.h"

#include <unistd.h>

#include "settings_folder.h"
#include "support.h"

namespace vemko {
namespace {

TEST(InputFile, RefusesWhatMayNotBeRead) {
  if (::geteuid() == 0) GTEST_SKIP() << "root may read everything";
  test::TempFolder folder;
  test::putFile(folder / "locked.wav", "x");
  std::filesystem::permissions(folder / "locked.wav", std::filesystem::perms::none);
  InputFile file;
  EXPECT_FALSE(file.open(folder / "locked.wav"));
  EXPECT_EQ(lastError(), u"Could not open file");
}

// The system raises SIGBUS for a view of bytes that are gone.
TEST(InputFile, ShowsZerosWhereAMappedFileBecameShorter) {
  test::TempFolder folder;
  const std::string content(20000, 'x');
  for (const std::size_t left : {0u, 1u, 4096u, 9000u, 19999u, 20000u}) {
    SCOPED_TRACE(left);
    test::putFile(folder / "a", content);
    test::putFile(folder / "b", content);
    InputFile file, other, part;
    ASSERT_TRUE(file.open(folder / "a") && other.open(folder / "b")) << toUtf8(lastError());
    ASSERT_TRUE(part.openPart(file, 10000, 5000));
    const Bytes bytes = file.bytes(), others = other.bytes();
    ASSERT_EQ(bytes.size(), content.size());
    std::filesystem::resize_file(folder / "a", left);
    const auto exes = static_cast<std::size_t>(std::ranges::count(bytes, std::byte{'x'}));
    EXPECT_EQ(exes, left);
    EXPECT_EQ(file.isIntact(), left == content.size());
    EXPECT_EQ(part.isIntact(), file.isIntact());
    EXPECT_EQ(std::ranges::count(others, std::byte{'x'}), 20000);
    EXPECT_TRUE(other.isIntact());
    InputFile again;
    ASSERT_TRUE(again.open(folder / "b") && again.bytes().size() == 20000u) << toUtf8(lastError());
    EXPECT_TRUE(again.isIntact());
  }
}

TEST(Paths, OfTheSettings) {
  struct Case {
    const char *config, *home, *expected;
  };
  for (const Case& c : {Case{"/c", "/h", "/c/vemko-studio"},
                        {"", "/h", "/h/.config/vemko-studio"},
                        {nullptr, "/h", "/h/.config/vemko-studio"},
                        {"relative", "/h", "/h/.config/vemko-studio"},
                        {nullptr, nullptr, nullptr}}) {
    test::EnvironmentVariable config("XDG_CONFIG_HOME", c.config), home("HOME", c.home);
    if (c.expected != nullptr) {
      EXPECT_EQ(settingsFolder(), c.expected);
    } else {
      EXPECT_TRUE(settingsFolder().is_absolute());
    }
  }
}

}  // namespace
}  // namespace vemko
