#include "app/settings.h"

#include <set>

#include "app/app_settings.h"
#include "app/save_formats.h"
#include "formats/riff/description.h"
#include "io/fixup.h"
#include "io/registry.h"
#include "settings_folder.h"
#include "support.h"

namespace vemko::app {
namespace {

/// A user without settings; every record has its defaults before and after.
class Settings : public testing::Test {
 protected:
  Settings() { reset(); }
  ~Settings() override { reset(); }

  static void reset() {
    appSettings() = {};
    io::fixupOptions() = {};
    riff::options() = {};
  }
  static void load() {
    SettingsStore store;
    loadSettings(store);
  }
  static std::u16string text(std::string_view name) {
    return settingText(*findSetting(name)).value_or(u"none");
  }

  test::SettingsFolder folder_;
};

TEST_F(Settings, HaveTheDefaultsThatTheTableSays) {
  std::set<std::string_view> names;
  for (const SettingRow& row : settingRows()) {
    SCOPED_TRACE(row.name);
    EXPECT_TRUE(names.insert(row.name).second);
    EXPECT_EQ(settingText(row).value_or(u""), row.initial);
    EXPECT_EQ(findSetting(row.name), &row);
  }
  EXPECT_EQ(findSetting("LOAD.bautosortcoll"), findSetting("load.bAutoSortColl"));
  EXPECT_EQ(findSetting("load.bAutoSort"), nullptr);
}

TEST_F(Settings, OfAFreshUserAreTheDefaults) {
  load();
  EXPECT_EQ(appSettings().lastVersion, 0);
  for (const SettingRow& row : settingRows())
    if (row.name != "VersionNumber") {
      EXPECT_EQ(settingText(row).value_or(u""), row.initial) << row.name;
    }
  SettingsStore store;
  EXPECT_EQ(store.readString("VersionNumber"), u"12.13");
}

// Another value than the default, in the text form.
std::u16string anotherValue(const SettingRow& row) {
  struct Visitor {
    const SettingRow& row;
    std::u16string operator()(bool*) { return row.initial == u"1" ? u"0" : u"1"; }
    std::u16string operator()(std::uint8_t*) { return u"7"; }
    std::u16string operator()(std::int32_t*) { return row.minimum > 0 ? u"17" : u"-2147483648"; }
    std::u16string operator()(std::uint32_t*) { return u"4294967295"; }
    std::u16string operator()(float*) { return u"-3.25"; }
    std::u16string operator()(std::u16string*) { return u"Größe \\ 12.99\n"; }
    std::u16string operator()(std::vector<std::u16string>*) { return u"/a/b.wav|C:\\日本.sf2"; }
    std::u16string operator()(std::optional<ScreenPair>*) { return u"-20,30"; }
    std::u16string operator()(std::vector<std::uint16_t>*) { return u"01 02 ff 00"; }
    std::u16string operator()(std::span<std::byte> bytes) {
      std::u16string text = u"01";
      for (std::size_t i = 1; i < bytes.size(); ++i) text += u" a5";
      return text;
    }
  };
  if (row.name == "VersionNumber") return u"99.1";
  return std::visit(Visitor{row}, row.field());
}

TEST_F(Settings, AreStoredEachInItsFormAndSize) {
  for (const SettingRow& row : settingRows())
    ASSERT_TRUE(setSettingText(row, anotherValue(row))) << row.name << ": " << toUtf8(lastError());
  {
    SettingsStore store;
    ASSERT_TRUE(saveSettings(store)) << toUtf8(lastError());
  }
  reset();
  SettingsStore store;
  loadSettings(store);
  for (const SettingRow& row : settingRows()) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(settingText(row), anotherValue(row));
    const auto bytes = store.readBinary(row.name);
    EXPECT_EQ(bytes.has_value(), row.storage == Storage::Binary);
    EXPECT_EQ(store.readDword(row.name).has_value(), row.storage == Storage::Dword);
    EXPECT_EQ(store.readString(row.name).has_value(), row.storage == Storage::String);
    if (bytes && row.size <= 24) {
      EXPECT_EQ(bytes->size(), row.size);
    }
  }
}

TEST_F(Settings, KeepTheirDefaultsWhereTheStoreDoesNotFit) {
  struct Case {
    const char* name;
    std::string stored;
    std::u16string text;
  };
  const std::string longName(64, 'd');
  for (const Case& c :
       {Case{"app.iPaneSplitL", "dword:16", u"221"},
        Case{"app.iPaneSplitL", "dword:17", u"17"},
        Case{"app.iPaneSplitL", "dword:-300", u"221"},
        Case{"app.iPaneSplitL", "hex:00 01 00 00", u"221"},
        Case{"app.bShowNoteNames", "hex:00", u"0"},
        Case{"app.bShowNoteNames", "hex:02", u"1"},
        Case{"app.bShowNoteNames", "hex:00 00", u"1"},
        Case{"app.bShowNoteNames", "hex:", u"1"},
        Case{"app.bShowNoteNames", "dword:0", u"1"},
        Case{"app.bCheckForUpdates", "hex:00", u"0"},
        Case{"load.bAutoSplitStereo", "hex:01", u"1"},
        Case{"fmt.wav.bNoLoopOff", "hex:00", u"0"},
        Case{"aio.nLatency", "dword:4294967295", u"-1"},
        Case{"aio.fdbMixGain", "dword:3231711232", u"-5"},
        Case{"aio.fdbMixGain", "dword:2143289344", u"0"},
        Case{"aio.szAudioOutDev", "string:" + longName, toUtf16(longName)},
        Case{"aio.szAudioOutDev", "string:" + longName + "d", u"Windows default"},
        Case{"app.ptLastPos", "hex:01 00 00 00 fe ff ff ff", u"1,-2"},
        Case{"app.ptLastPos", "hex:01 00 00 00", u"none"},
        Case{"app.LastFilesW", "hex:61 00 00 00 00 00 62 00 63 00", u"a|bc"},
        Case{"app.LastFilesW", "hex:61 00 00", u""},
        Case{"batch.SaveFmts", "hex:61", u""},
        Case{"app.awColWidths", "hex:01 02 03 04 05 06 07 08 09", u"dc 00 50 00 50 00 46 00 5a 00"}}) {
    SCOPED_TRACE(std::string(c.name) + " = " + c.stored);
    reset();
    test::storeSetting("VersionNumber", "string:12.13");
    test::storeSetting(c.name, c.stored);
    load();
    EXPECT_EQ(text(c.name), c.text);
  }
}

TEST_F(Settings, NoteTheNewestVersion) {
  struct Case {
    const char* stored;
    std::u16string kept;
    std::int64_t last;
  };
  for (const Case& c :
       {Case{"0.0", u"12.13", 0}, Case{"9.99", u"12.13", 999}, Case{"12.12", u"12.13", 1212},
        Case{"12.13", u"12.13", 1213}, Case{"12.14", u"12.14", 1214}, Case{"13.0", u"13.0", 1300},
        Case{"12", u"12.13", 1200}, Case{"new", u"12.13", 0}, Case{"99999999999.1", u"12.13", 0},
        Case{"2147483647.1", u"2147483647.1", 214748364701}}) {
    SCOPED_TRACE(c.stored);
    reset();
    test::storeSetting("VersionNumber", std::string("string:") + c.stored);
    load();
    EXPECT_EQ(appSettings().lastVersion, c.last);
    SettingsStore store;
    EXPECT_EQ(store.readString("VersionNumber"), c.kept);
    ASSERT_TRUE(saveSettings(store)) << toUtf8(lastError());
    EXPECT_EQ(store.readString("VersionNumber"), c.kept);
  }
}

TEST_F(Settings, AreSetFromText) {
  struct Case {
    const char* name;
    std::u16string_view text;
    std::u16string_view result;  // Empty: refused.
    std::u16string_view error = u"";
  };
  const std::u16string name64(64, u'n'), name65(65, u'n'), files(17000, u'f');
  for (const Case& c : {Case{"app.bDispLoBank", u"1", u"1"},
                        Case{"app.bDispLoBank", u"TRUE", u"1"},
                        Case{"app.bDispBankPrgs", u"off", u"0"},
                        Case{"app.bDispBankPrgs", u"No", u"0"},
                        Case{"app.bDispBankPrgs", u"2", u"", u"Expected 0 or 1"},
                        Case{"app.bDispBankPrgs", u"", u"", u"Expected 0 or 1"},
                        Case{"aio.cAudioOutFormat", u"255", u"255"},
                        Case{"aio.cAudioOutFormat", u"256", u"", u"Value out of range"},
                        Case{"aio.cAudioOutFormat", u"-1", u"", u"Value out of range"},
                        Case{"aio.nLatency", u"-2147483648", u"-2147483648"},
                        Case{"aio.nLatency", u"2147483648", u"", u"Value out of range"},
                        Case{"aio.nLatency", u"99999999999999999999", u"", u"Value out of range"},
                        Case{"aio.nLatency", u"12ms", u"", u"Expected a whole number"},
                        Case{"aio.nLatency", u"", u"", u"Expected a whole number"},
                        Case{"app.iPaneSplitL", u"17", u"17"},
                        Case{"app.iPaneSplitL", u"16", u"", u"Value out of range"},
                        Case{"fmt.vox.dwDataFormat", u"0xFFFFFFFF", u"4294967295"},
                        Case{"fmt.vox.dwDataFormat", u"4294967296", u"", u"Value out of range"},
                        Case{"fmt.vox.dwDataFormat", u"0x", u"", u"Expected a whole number"},
                        Case{"aio.fdbMixGain", u"-4.5", u"-4.5"},
                        Case{"aio.fdbMixGain", u"nan", u"", u"Expected a number"},
                        Case{"aio.fdbMixGain", u"1e99", u"", u"Value out of range"},
                        Case{"aio.fdbMixGain", u"4,5", u"", u"Expected a number"},
                        Case{"aio.szAudioOutDev", name64, name64},
                        Case{"aio.szAudioOutDev", name65, u"", u"Text too long"},
                        Case{"app.LastFilesW", u"a|b", u"a|b"},
                        Case{"app.LastFilesW", files, u"", u"Text too long"},
                        Case{"app.ptLastSize", u"800,600", u"800,600"},
                        Case{"app.ptLastSize", u"800", u"", u"Expected two numbers separated by a comma"},
                        Case{"app.ptLastSize", u"800,x", u"", u"Expected a whole number"},
                        Case{"app.SaveFmt", u"0102030405060708090A", u"01 02 03 04 05 06 07 08 09 0a"},
                        Case{"app.SaveFmt", u"01 02", u"", u"Expected 10 bytes"},
                        Case{"app.SaveFmt", u"0", u"", u"Expected hexadecimal bytes"},
                        Case{"batch.SaveFmts", u"01", u"", u"Expected an even number of bytes"},
                        Case{"batch.SaveFmts", u"zz", u"", u"Expected hexadecimal bytes"}}) {
    SCOPED_TRACE(std::string(c.name) + " = " + toUtf8(c.text.substr(0, 70)));
    reset();
    const SettingRow& row = *findSetting(c.name);
    const bool succeeds = c.error.empty();
    setLastError(u"");
    EXPECT_EQ(setSettingText(row, c.text), succeeds) << toUtf8(lastError());
    EXPECT_EQ(lastError(), c.error);
    EXPECT_EQ(settingText(row).value_or(u""), succeeds ? c.result : row.initial);
  }
}

TEST_F(Settings, LeaveOutFilesThatTheListCannotHold) {
  auto& files = appSettings().shell.lastFiles;
  for (char16_t c = u'a'; c < u'u'; ++c) files.emplace_back(999, c);  // 2000 bytes each
  SettingsStore store;
  ASSERT_TRUE(saveSettings(store)) << toUtf8(lastError());
  reset();
  loadSettings(store);
  ASSERT_EQ(files.size(), 16u);
  EXPECT_EQ(files.front(), std::u16string(999, u'a'));
  EXPECT_EQ(files.back(), std::u16string(999, u'p'));
}

TEST_F(Settings, ChooseTheFormatToSaveIn) {
  const int wav = io::findWritingRow(u"wav", kindBit(ItemKind::Waveform));
  ASSERT_NE(wav, io::kNoRow);
  EXPECT_EQ(saveFormatRow(ItemKind::Waveform), wav);
  EXPECT_EQ(saveFormatRow(ItemKind::Instrument), io::findWritingRow(u"sfz", kindBit(ItemKind::Instrument)));
  EXPECT_EQ(saveFormatRow(ItemKind::Region), io::kNoRow);

  std::set<std::uint16_t> keys;
  for (int row = io::nextWritingRow(0); row != io::kNoRow; row = io::nextWritingRow(row + 1)) {
    SCOPED_TRACE(toUtf8(io::descriptionOf(row)));
    EXPECT_TRUE(keys.insert(formatKey(row)).second);
    if (!io::canHold(row, ItemKind::Waveform)) continue;
    setSaveFormatRow(ItemKind::Waveform, row);
    EXPECT_EQ(saveFormatRow(ItemKind::Waveform), row);
  }
  // A key of a format that is gone, and the way back.
  appSettings().shell.saveFormats[0] = 1;
  EXPECT_EQ(saveFormatRow(ItemKind::Waveform), wav);
  setSaveFormatRow(ItemKind::Waveform, io::kNoRow);
  EXPECT_EQ(settingText(*findSetting("app.SaveFmt")), findSetting("app.SaveFmt")->initial);
}

}  // namespace
}  // namespace vemko::app
