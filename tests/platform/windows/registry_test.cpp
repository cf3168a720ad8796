// Settings and file types in the registry itself.
#include <windows.h>

#include "platform/environment.h"
#include "platform/file_types.h"
#include "settings_folder.h"
#include "support.h"

namespace vemko {
namespace {

struct Stored {
  DWORD type = REG_NONE;
  std::string bytes;
  bool operator==(const Stored&) const = default;
};

Stored stored(const std::string& key, const wchar_t* name) {
  Stored value{REG_NONE, std::string(1000, '\0')};
  DWORD size = static_cast<DWORD>(value.bytes.size());
  EXPECT_EQ(::RegGetValueW(HKEY_CURRENT_USER, Path(key).c_str(), name, RRF_RT_ANY, &value.type,
                           value.bytes.data(), &size),
            ERROR_SUCCESS);
  value.bytes.resize(size);
  return value;
}

TEST(SettingsStore, StoresRegistryValues) {
  const test::SettingsFolder folder;
  const std::string key = environmentValue("VEMKO_SETTINGS_KEY").value_or("");
  test::storeSetting("b", "hex:01 ff 00");
  test::storeSetting("d", "dword:-2");
  test::storeSetting("s", "string:ä");
  test::storeSetting("empty", "string:");
  EXPECT_EQ(stored(key, L"b"), (Stored{REG_BINARY, std::string("\x01\xff\x00", 3)}));
  EXPECT_EQ(stored(key, L"d"), (Stored{REG_DWORD, "\xfe\xff\xff\xff"}));
  EXPECT_EQ(stored(key, L"s"), (Stored{REG_SZ, std::string("\xe4\0\0\0", 4)}));
  EXPECT_EQ(stored(key, L"empty"), (Stored{REG_SZ, std::string("\0\0", 2)}));
}

TEST(SettingsStore, TakesWhatOthersStoredInTheirWays) {
  const test::SettingsFolder folder;
  const std::wstring key = Path(environmentValue("VEMKO_SETTINGS_KEY").value_or("")).native();
  auto put = [&key](const wchar_t* name, DWORD type, std::string_view bytes) {
    EXPECT_EQ(::RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), name, type, bytes.data(),
                                static_cast<DWORD>(bytes.size())),
              ERROR_SUCCESS);
  };
  put(L"unended", REG_SZ, std::string_view("a\0b\0", 4));
  put(L"odd", REG_SZ, std::string_view("a\0b", 3));
  put(L"short", REG_DWORD, "ab");
  put(L"expanding", REG_EXPAND_SZ, std::string_view("a\0\0\0", 4));
  put(L"long", REG_BINARY, std::string(40000, 'x'));
  const SettingsStore store;
  EXPECT_EQ(store.readString("unended"), u"ab");
  EXPECT_EQ(store.readString("odd"), u"a");
  EXPECT_EQ(store.readDword("short"), std::nullopt);
  EXPECT_EQ(store.readString("expanding"), std::nullopt);
  EXPECT_EQ(store.readBinary("long").value().size(), 40000u);
}

TEST(FileTypes, ComeFromTheRegisteredClasses) {
  struct Class {
    const wchar_t *key, *value;
  };
  const std::wstring longText(79, L'd'), longer(80, L'd'), longClass(63, L'c'), longerClass(64, L'c');
  const Class classes[] = {{L".vemkot1", L"vemko.test.1"},        {L"vemko.test.1", L"Größe 音"},
                           {L".vemkot2", L"vemko.test.none"},     {L".vemkot3", L"vemko.test.3"},
                           {L"vemko.test.3", longText.c_str()},   {L".vemkot4", L"vemko.test.4"},
                           {L"vemko.test.4", longer.c_str()},     {L".vemkot5", longClass.c_str()},
                           {longClass.c_str(), L"long class"},    {L".vemkot6", longerClass.c_str()},
                           {longerClass.c_str(), L"longer class"}};
  // The classes of this user go into those of all; where they do not, they are those of all.
  const std::wstring root = L"Software\\Classes\\";
  for (const Class& c : classes) {
    const auto bytes = static_cast<DWORD>((std::wstring_view(c.value).size() + 1) * sizeof(wchar_t));
    ::RegSetKeyValueW(HKEY_CURRENT_USER, (root + c.key).c_str(), nullptr, REG_SZ, c.value, bytes);
    if (::RegGetValueW(HKEY_CLASSES_ROOT, c.key, nullptr, RRF_RT_REG_SZ, nullptr, nullptr, nullptr) !=
        ERROR_SUCCESS)
      ::RegSetKeyValueW(HKEY_CLASSES_ROOT, c.key, nullptr, REG_SZ, c.value, bytes);
  }
  EXPECT_EQ(systemFileTypeDescription(u"vemkot1"), u"Größe 音");
  EXPECT_EQ(systemFileTypeDescription(u"VEMKOT1"), u"Größe 音");
  EXPECT_EQ(systemFileTypeDescription(u"vemkot2"), u"");
  EXPECT_EQ(systemFileTypeDescription(u"vemkot3"), std::u16string(79, u'd'));
  EXPECT_EQ(systemFileTypeDescription(u"vemkot4"), u"");
  EXPECT_EQ(systemFileTypeDescription(u"vemkot5"), u"long class");
  EXPECT_EQ(systemFileTypeDescription(u"vemkot6"), u"");
  for (const char16_t* none : {u"vemko-no-such", u"", u"a\\b", u"*"})
    EXPECT_EQ(systemFileTypeDescription(none), u"") << toUtf8(none);
  for (const Class& c : classes) {
    ::RegDeleteTreeW(HKEY_CURRENT_USER, (root + c.key).c_str());
    ::RegDeleteTreeW(HKEY_CLASSES_ROOT, c.key);
  }
}

}  // namespace
}  // namespace vemko
