#pragma once
// The user's settings: one table that names every stored value and binds it to a field of the options record
// of the room that uses it, so that rooms below know nothing of how settings are kept.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "platform/settings_store.h"

namespace vemko::app {

/// A position or a size on the screen, in pixels.
struct ScreenPair {
  std::int32_t x = 0;
  std::int32_t y = 0;
};

/// Where a setting lives, in the type that its room uses.
using FieldRef = std::variant<bool*, std::uint8_t*, std::int32_t*, std::uint32_t*, float*, std::u16string*,
                              std::vector<std::u16string>*, std::optional<ScreenPair>*,
                              std::vector<std::uint16_t>*, std::span<std::byte>>;

enum class Storage : std::uint8_t { Binary, Dword, String };

struct SettingRow {
  std::string_view name;
  Storage storage;
  std::uint32_t size;  ///< Binary: bytes, or the most bytes of a list. String: most characters, 0: any.
  std::u16string_view initial;  ///< The default, in the form of settingText().
  std::u16string_view meaning;
  FieldRef (*field)();
  std::int64_t minimum = std::numeric_limits<std::int64_t>::min();  ///< Stored numbers below it are refused.
};

/// Every setting, in the order in which they are read and written.
std::span<const SettingRow> settingRows();
/// The row of that name, case ignored; null when there is none.
const SettingRow* findSetting(std::string_view name);

/// Fills the rooms' records from the store; what is absent there, or stored in another size, keeps its value.
/// Notes the running version in the store when the one noted is older, see AppSettings::lastVersion.
void loadSettings(SettingsStore& store);
/// Writes every setting and makes it lasting. Fails as SettingsStore::save().
bool saveSettings(SettingsStore& store);

/// The value as text: numbers in decimal, switches as 0 or 1, a position as "x,y", file lists separated by
/// "|", other binary values as hexadecimal bytes. Nothing for a position that is not known.
std::optional<std::u16string> settingText(const SettingRow& row);

/// Sets the value from text in the form of settingText(); switches also take true, false, on, off, yes and
/// no. Fails, leaving the value, with "Expected ..." for text of another form, "Value out of range" or "Text
/// too long".
bool setSettingText(const SettingRow& row, std::u16string_view text);

}  // namespace vemko::app
