#include "app/settings_values.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace vemko::app {
namespace {

using Binary = std::vector<std::byte>;

template <class T>
Binary bytesOf(const T& value) {
  auto bytes = std::as_bytes(std::span(&value, 1));
  return {bytes.begin(), bytes.end()};
}

template <class T>
T fromBytes(Bytes bytes) {
  T value;
  std::memcpy(&value, bytes.data(), sizeof value);
  return value;
}

// Each field type in its stored form. `row` bounds lists.

std::optional<StoredValue> stored(const SettingRow&, bool* field) {
  return Binary{static_cast<std::byte>(*field)};
}
std::optional<StoredValue> stored(const SettingRow&, std::uint8_t* field) { return bytesOf(*field); }
std::optional<StoredValue> stored(const SettingRow&, std::int32_t* field) {
  return static_cast<std::uint32_t>(*field);
}
std::optional<StoredValue> stored(const SettingRow&, std::uint32_t* field) { return *field; }
std::optional<StoredValue> stored(const SettingRow&, float* field) {
  return std::bit_cast<std::uint32_t>(*field);
}
std::optional<StoredValue> stored(const SettingRow&, std::u16string* field) { return *field; }
std::optional<StoredValue> stored(const SettingRow& row, std::vector<std::u16string>* field) {
  ByteWriter writer;
  for (const std::u16string& file : *field) {
    const auto bytes = std::as_bytes(std::span(file.c_str(), file.size() + 1));
    if (bytes.size() > row.size - writer.size()) break;
    writer.append(bytes);
  }
  return std::move(writer.bytes);
}
std::optional<StoredValue> stored(const SettingRow&, std::optional<ScreenPair>* field) {
  if (!*field) return std::nullopt;
  return bytesOf(**field);
}
std::optional<StoredValue> stored(const SettingRow& row, std::vector<std::uint16_t>* field) {
  const auto bytes = std::as_bytes(std::span(*field));
  const std::size_t size = std::min<std::size_t>(bytes.size(), row.size);
  return Binary(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
}
std::optional<StoredValue> stored(const SettingRow&, std::span<std::byte> field) {
  return Binary(field.begin(), field.end());
}

// And back. The form and the size have been checked against the row.

bool take(Bytes value, bool* field) {
  *field = value[0] != std::byte{0};
  return true;
}
bool take(Bytes value, std::uint8_t* field) {
  *field = std::to_integer<std::uint8_t>(value[0]);
  return true;
}
bool take(Bytes value, std::vector<std::u16string>* field) {
  if (value.size() % 2 != 0) return false;
  std::u16string units(value.size() / 2, u'\0');
  if (!value.empty()) std::memcpy(units.data(), value.data(), value.size());
  field->clear();
  for (std::u16string_view rest = units; !rest.empty();) {
    const std::size_t length = std::min(rest.find(u'\0'), rest.size());
    if (length > 0) field->emplace_back(rest.substr(0, length));
    rest.remove_prefix(std::min(length + 1, rest.size()));
  }
  return true;
}
bool take(Bytes value, std::optional<ScreenPair>* field) {
  *field = fromBytes<ScreenPair>(value);
  return true;
}
bool take(Bytes value, std::vector<std::uint16_t>* field) {
  if (value.size() % 2 != 0) return false;
  field->resize(value.size() / 2);
  if (!value.empty()) std::memcpy(field->data(), value.data(), value.size());
  return true;
}
bool take(Bytes value, std::span<std::byte> field) {
  std::copy(value.begin(), value.end(), field.begin());
  return true;
}
bool take(std::uint32_t value, std::int32_t* field) {
  *field = static_cast<std::int32_t>(value);
  return true;
}
bool take(std::uint32_t value, std::uint32_t* field) {
  *field = value;
  return true;
}
bool take(std::uint32_t value, float* field) {
  const auto number = std::bit_cast<float>(value);
  if (!std::isfinite(number)) return false;
  *field = number;
  return true;
}
bool take(std::u16string_view value, std::u16string* field) {
  *field = value;
  return true;
}

bool isList(const FieldRef& field) {
  return std::holds_alternative<std::vector<std::u16string>*>(field) ||
         std::holds_alternative<std::vector<std::uint16_t>*>(field);
}

bool hasRowsSize(const SettingRow& row, const FieldRef& field, const StoredValue& value) {
  if (const auto* bytes = std::get_if<Binary>(&value))
    return isList(field) ? bytes->size() <= row.size : bytes->size() == row.size;
  if (const auto* text = std::get_if<std::u16string>(&value))
    return row.size == 0 || text->size() <= row.size;
  const auto* number = std::get_if<std::int32_t*>(&field);
  return number == nullptr || static_cast<std::int32_t>(std::get<std::uint32_t>(value)) >= row.minimum;
}

}  // namespace

std::optional<StoredValue> storedValue(const SettingRow& row) {
  return std::visit([&row](auto field) { return stored(row, field); }, row.field());
}

bool takeStoredValue(const SettingRow& row, const StoredValue& value) {
  const FieldRef field = row.field();
  if (value.index() != static_cast<std::size_t>(row.storage) || !hasRowsSize(row, field, value)) return false;
  return std::visit(
      [](auto target, const auto& content) {
        if constexpr (requires { take(content, target); }) {
          return take(content, target);
        } else {
          return false;
        }
      },
      field, value);
}

}  // namespace vemko::app
