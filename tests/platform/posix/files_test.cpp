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
