#include "platform/settings_store.h"

#include "settings_folder.h"
#include "support.h"

namespace vemko {
namespace {

std::vector<std::byte> binary(std::initializer_list<int> values) {
  std::vector<std::byte> bytes;
  for (int value : values) bytes.push_back(static_cast<std::byte>(value));
  return bytes;
}

TEST(SettingsStore, GivesBackEveryForm) {
  test::SettingsFolder folder;
  const std::u16string strings[] = {u"",
                                    u"C:\\music\\new\\x41",
                                    u" blanks ",
                                    u"two\nlines\r\n",
                                    u"; [x] =",
                                    u"日本 \xD83C\xDFB9",
                                    u"\xDCE9 byte",
                                    u"\"quoted\"",
                                    u"<<<MULTI",
                                    u"string:x",
                                    std::u16string(u"a\0b", 3)};
  {
    SettingsStore store;
    EXPECT_EQ(store.readBinary("b"), std::nullopt);
    store.writeBinary("b", binary({0, 1, 0x7F, 0x80, 0xFF}));
    store.writeBinary("none", {});
    store.writeDword("zero", 0);
    store.writeDword("most", 0xFFFFFFFF);
    for (std::size_t i = 0; i < std::size(strings); ++i)
      store.writeString("s" + std::to_string(i), strings[i]);
    ASSERT_TRUE(store.save()) << toUtf8(lastError());
    store.writeDword("not saved", 1);
  }
  SettingsStore store;
  EXPECT_EQ(store.readBinary("b"), binary({0, 1, 0x7F, 0x80, 0xFF}));
  EXPECT_EQ(store.readBinary("none"), binary({}));
  EXPECT_EQ(store.readDword("zero"), 0u);
  EXPECT_EQ(store.readDword("most"), 0xFFFFFFFFu);
  for (std::size_t i = 0; i < std::size(strings); ++i)
    EXPECT_EQ(store.readString("s" + std::to_string(i)), strings[i]) << i;
  // Another form than the stored one, and what was never saved.
  EXPECT_EQ(store.readDword("b"), std::nullopt);
  EXPECT_EQ(store.readString("b"), std::nullopt);
  EXPECT_EQ(store.readBinary("zero"), std::nullopt);
  EXPECT_EQ(store.readDword("not saved"), std::nullopt);
}

TEST(SettingsStore, KeepsWhatAnotherProgramStored) {
  test::SettingsFolder folder;
  SettingsStore first, second;
  first.writeDword("a", 2);
  second.writeDword("b", 3);
  first.writeString("c", u"first");
  ASSERT_TRUE(first.save() && second.save()) << toUtf8(lastError());
  SettingsStore merged;
  EXPECT_EQ(merged.readDword("a"), 2u);
  EXPECT_EQ(merged.readDword("B"), 3u);
  EXPECT_EQ(merged.readString("c"), u"first");
  EXPECT_TRUE(merged.save()) << "nothing to save";
}

}  // namespace
}  // namespace vemko
