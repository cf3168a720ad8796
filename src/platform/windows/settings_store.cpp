#include "platform/settings_store.h"

#include <map>

#include "base/last_error.h"
#include "base/text.h"
#include "base/version.h"
#include "platform/environment.h"
#include "platform/windows/system.h"

namespace vemko {
namespace {

struct CloseKey {
  using pointer = HKEY;
  void operator()(HKEY key) const { ::RegCloseKey(key); }
};
using Key = std::unique_ptr<HKEY, CloseKey>;

struct Value {
  DWORD type = REG_NONE;
  std::vector<std::byte> bytes;
  bool operator==(const Value&) const = default;
};

// Below the current user's hive.
std::wstring keyName() {
  const std::string other = environmentValue("VEMKO_SETTINGS_KEY").value_or("");
  return windows::wide(
      toUtf16(other.empty() ? std::string("Software\\Quorvel-Labs\\") + kProductName : other));
}

Key openKey(REGSAM rights) {
  HKEY key = nullptr;
  const LSTATUS error = ::RegCreateKeyExW(HKEY_CURRENT_USER, keyName().c_str(), 0, nullptr,
                                          REG_OPTION_NON_VOLATILE, rights, nullptr, &key, nullptr);
  if (error != ERROR_SUCCESS) windows::logSystemErrorOf(u"Settings", static_cast<DWORD>(error));
  return Key(error == ERROR_SUCCESS ? key : nullptr);
}

std::wstring valueName(std::string_view name) { return windows::wide(toUtf16(name)); }

}  // namespace

struct SettingsStore::System {
  Key key = openKey(KEY_QUERY_VALUE);
  std::map<std::string, Value, std::less<>> changed;  // Not stored yet.

  std::optional<Value> stored(std::string_view name) const {
    Value value;
    DWORD bytes = 0;
    const std::wstring wideName = valueName(name);
    // Another program may make it longer between the two calls.
    LSTATUS error = ERROR_MORE_DATA;
    while (key && error == ERROR_MORE_DATA) {
      value.bytes.resize(bytes);
      error = ::RegQueryValueExW(key.get(), wideName.c_str(), nullptr, &value.type,
                                 reinterpret_cast<BYTE*>(value.bytes.data()), &bytes);
      if (error == ERROR_SUCCESS && bytes > value.bytes.size()) error = ERROR_MORE_DATA;
    }
    if (error != ERROR_SUCCESS) return std::nullopt;
    value.bytes.resize(bytes);
    return value;
  }

  std::optional<std::vector<std::byte>> read(std::string_view name, DWORD type) const {
    const auto at = changed.find(name);
    std::optional<Value> value = at != changed.end() ? std::optional(at->second) : stored(name);
    if (!value || value->type != type) return std::nullopt;
    return std::move(value->bytes);
  }

  void write(std::string_view name, DWORD type, Bytes bytes) {
    Value value{type, {bytes.begin(), bytes.end()}};
    if (!changed.contains(name) && stored(name) == value) return;
    changed.insert_or_assign(std::string(name), std::move(value));
  }
};

SettingsStore::SettingsStore() : system_(std::make_unique<System>()) {}
SettingsStore::~SettingsStore() = default;

std::optional<std::vector<std::byte>> SettingsStore::readBinary(std::string_view name) const {
  return system_->read(name, REG_BINARY);
}

std::optional<std::uint32_t> SettingsStore::readDword(std::string_view name) const {
  const auto bytes = system_->read(name, REG_DWORD);
  if (!bytes || bytes->size() != sizeof(std::uint32_t)) return std::nullopt;
  return ByteReader(*bytes).u32();
}

std::optional<std::u16string> SettingsStore::readString(std::string_view name) const {
  const auto bytes = system_->read(name, REG_SZ);
  if (!bytes) return std::nullopt;
  std::u16string value;
  ByteReader reader(*bytes);
  for (std::size_t i = 0; i < bytes->size() / sizeof(char16_t); ++i)
    value += static_cast<char16_t>(reader.u16());
  if (value.ends_with(u'\0')) value.pop_back();
  return value;
}

void SettingsStore::writeBinary(std::string_view name, Bytes value) {
  system_->write(name, REG_BINARY, value);
}

void SettingsStore::writeDword(std::string_view name, std::uint32_t value) {
  system_->write(name, REG_DWORD, std::as_bytes(std::span(&value, 1)));
}

void SettingsStore::writeString(std::string_view name, std::u16string_view value) {
  const std::u16string ended(value);
  system_->write(name, REG_SZ, std::as_bytes(std::span(ended.c_str(), ended.size() + 1)));
}

bool SettingsStore::save() {
  if (system_->changed.empty()) return true;
  const Key key = openKey(KEY_SET_VALUE);
  if (!key) return fail(u"Could not create file");
  for (const auto& [name, value] : system_->changed) {
    const LSTATUS error = ::RegSetValueExW(key.get(), valueName(name).c_str(), 0, value.type,
                                           reinterpret_cast<const BYTE*>(value.bytes.data()),
                                           static_cast<DWORD>(value.bytes.size()));
    if (error == ERROR_SUCCESS) continue;
    windows::logSystemErrorOf(toUtf16(name), static_cast<DWORD>(error));
    return fail(u"Writing to file failed");
  }
  ::RegFlushKey(key.get());
  system_->changed.clear();
  return true;
}

}  // namespace vemko
