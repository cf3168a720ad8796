#include <chrono>
#include <random>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include "platform/settings_store.h"
#include "settings_folder.h"
#include "support.h"

namespace vemko {
namespace {

using test::contentOf;
using test::putFile;

TEST(SettingsFile, TakesNothingFromDamagedValues) {
  test::SettingsFolder folder;
  folder.putSettings(
      "[settings]\nd1 = dword:4294967296\nd2 = dword:12x\nd3 = dword:\nd4 = 12\nb1 = hex:0\nb2 = hex:0g\n"
      "b3 = hex:01  02\ns1 = string:\\x4\ns2 = string:\\x\nd5=dword:-1\n b4 =hex:0102 \ns3 = string:\\n\n");
  SettingsStore store;
  for (const char* name : {"d1", "d2", "d3", "d4"}) EXPECT_EQ(store.readDword(name), std::nullopt) << name;
  for (const char* name : {"b1", "b2", "b3"}) EXPECT_EQ(store.readBinary(name), std::nullopt) << name;
  for (const char* name : {"s1", "s2"}) EXPECT_EQ(store.readString(name), std::nullopt) << name;
  EXPECT_EQ(store.readDword("D5"), 0xFFFFFFFFu);
  EXPECT_EQ(store.readBinary("b4"), (std::vector{std::byte{1}, std::byte{2}}));
  EXPECT_EQ(store.readString("s3"), u"\\n");
}

TEST(SettingsFile, KeepsWhatItDoesNotKnow) {
  test::SettingsFolder folder;
  folder.putSettings("; mine\n[other]\nx = 1\n\n[settings]\nfuture.thing = qword:5\na = dword:1\n");
  SettingsStore first, second;
  first.writeDword("a", 2);
  second.writeDword("b", 3);
  ASSERT_TRUE(first.save() && second.save()) << toUtf8(lastError());
  SettingsStore merged;
  EXPECT_EQ(merged.readDword("a"), 2u);
  EXPECT_EQ(merged.readDword("b"), 3u);
  const std::string content = contentOf(folder.file());
  for (const char* kept : {"; mine", "[other]", "x = 1", "future.thing = qword:5"})
    EXPECT_NE(content.find(kept), std::string::npos) << kept;
}

TEST(SettingsFile, FollowsALinkToTheRealFile) {
  test::SettingsFolder folder;
  folder.putSettings("[settings]\n");
  std::filesystem::rename(folder.file(), folder.root() / "dotfiles.ini");
  std::filesystem::create_symlink(folder.root() / "dotfiles.ini", folder.file());
  SettingsStore store;
  store.writeDword("a", 1);
  ASSERT_TRUE(store.save()) << toUtf8(lastError());
  EXPECT_TRUE(std::filesystem::is_symlink(folder.file()));
  EXPECT_NE(contentOf(folder.root() / "dotfiles.ini").find("dword:1"), std::string::npos);
}

TEST(SettingsFile, SaysWhenItCannotSave) {
  test::SettingsFolder folder;
  SettingsStore store;
  EXPECT_TRUE(store.save()) << "nothing to save";
  EXPECT_FALSE(fileExists(folder.file()));
  store.writeDword("a", 1);
  putFile(folder.root() / "vemko-studio", "a file in the folder's place");
  EXPECT_FALSE(store.save());
  EXPECT_EQ(lastError(), u"Could not create file");
  removeFile(folder.root() / "vemko-studio");
  std::filesystem::create_directories(folder.file() / "a folder in the file's place");
  EXPECT_FALSE(store.save());
  EXPECT_EQ(lastError(), u"Writing to file failed");
  std::filesystem::remove_all(folder.file());
  EXPECT_TRUE(store.save()) << toUtf8(lastError());
}

// Saves numbered states without end; all values of a state hold its number.
[[noreturn]] void saveForever() {
  SettingsStore store;
  for (std::uint32_t state = store.readDword("first").value_or(0);; ++state) {
    store.writeDword("first", state);
    store.writeString("long", std::u16string(20000, static_cast<char16_t>(u'a' + state % 26)));
    store.writeDword("last", state);
    if (!store.save()) ::_exit(1);
  }
}

TEST(SettingsFile, StaysWholeWhenTheProgramIsKilled) {
  test::SettingsFolder folder;
  folder.putSettings("[settings]\nunknown = qword:1\n");
  std::minstd_rand random(1);
  std::uint32_t reached = 0;
  for (int round = 0; round < 60; ++round) {
    pid_t child = ::fork();
    if (child == 0) saveForever();
    ASSERT_GT(child, 0);
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 30000));
    ::kill(child, SIGKILL);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status)) << "the child could not save";

    SettingsStore store;
    std::uint32_t state = store.readDword("first").value_or(0);
    EXPECT_GE(state, reached);
    reached = state;
    EXPECT_EQ(store.readDword("last").value_or(0), state);
    const auto text = store.readString("long");
    EXPECT_EQ(text.has_value(), store.readDword("first").has_value());
    EXPECT_TRUE(!text || *text == std::u16string(20000, static_cast<char16_t>(u'a' + state % 26)));
    EXPECT_NE(contentOf(folder.file()).find("unknown = qword:1"), std::string::npos);
  }
  EXPECT_GT(reached, 0u);
}

}  // namespace
}  // namespace vemko
