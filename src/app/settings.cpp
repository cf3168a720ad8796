#include "app/settings.h"

#include <charconv>

#include "app/app_settings.h"
#include "app/settings_values.h"
#include "base/text.h"
#include "base/version.h"

namespace vemko::app {
namespace {

// "12.13" as 1213; what cannot be read counts as 0.
std::int64_t versionNumber(std::u16string_view text) {
  const std::string digits = toUtf8(text);
  const char* const end = digits.data() + digits.size();
  std::int32_t major = 0, minor = 0;
  auto parsed = std::from_chars(digits.data(), end, major);
  if (parsed.ec == std::errc() && parsed.ptr != end && *parsed.ptr == '.')
    std::from_chars(parsed.ptr + 1, end, minor);
  return std::int64_t{major} * 100 + minor;
}

std::optional<StoredValue> readValue(const SettingsStore& store, const SettingRow& row) {
  auto wrapped = [](auto value) {
    return value ? std::optional<StoredValue>(std::move(*value)) : std::nullopt;
  };
  switch (row.storage) {
    case Storage::Binary:
      return wrapped(store.readBinary(row.name));
    case Storage::Dword:
      return wrapped(store.readDword(row.name));
    case Storage::String:
      return wrapped(store.readString(row.name));
  }
  return std::nullopt;
}

void writeValue(SettingsStore& store, std::string_view name, const StoredValue& value) {
  if (const auto* bytes = std::get_if<std::vector<std::byte>>(&value)) {
    store.writeBinary(name, *bytes);
  } else if (const auto* number = std::get_if<std::uint32_t>(&value)) {
    store.writeDword(name, *number);
  } else {
    store.writeString(name, std::get<std::u16string>(value));
  }
}

// A user without a writable folder can work all the same.
void noteVersion(SettingsStore& store) {
  AppSettings& settings = appSettings();
  settings.lastVersion = versionNumber(settings.shell.version);
  if (settings.lastVersion >= kVersionMajor * 100 + kVersionMinor) return;
  settings.shell.version = toUtf16(kVersion);
  store.writeString("VersionNumber", settings.shell.version);
  store.save();
}

}  // namespace

void loadSettings(SettingsStore& store) {
  for (const SettingRow& row : settingRows())
    if (auto value = readValue(store, row)) takeStoredValue(row, *value);
  noteVersion(store);
}

bool saveSettings(SettingsStore& store) {
  for (const SettingRow& row : settingRows())
    if (auto value = storedValue(row)) writeValue(store, row.name, *value);
  return store.save();
}

}  // namespace vemko::app
