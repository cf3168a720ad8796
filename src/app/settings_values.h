#pragma once
// Values of settings in the forms in which they are stored.
#include "app/settings.h"

namespace vemko::app {

/// A value as the store holds it: bytes, a double-word, or text.
using StoredValue = std::variant<std::vector<std::byte>, std::uint32_t, std::u16string>;

/// Nothing for a value that is not known and therefore not stored.
std::optional<StoredValue> storedValue(const SettingRow& row);

/// False, leaving the field, when the stored form or size is not the row's or the value cannot be one.
bool takeStoredValue(const SettingRow& row, const StoredValue& value);

}  // namespace vemko::app
