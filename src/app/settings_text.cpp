// The text form of settings, for the command line.
#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>

#include "app/settings_values.h"
#include "base/last_error.h"
#include "base/text.h"

namespace vemko::app {
namespace {

using Text = std::optional<std::u16string>;

Text ascii(std::string_view text) { return toUtf16(text); }

std::string hexText(Bytes bytes) {
  std::string text;
  for (std::byte value : bytes)
    text += formatted(text.empty() ? "%02x" : " %02x", std::to_integer<unsigned>(value));
  return text;
}

Text textFor(const bool* field) { return *field ? u"1" : u"0"; }
Text textFor(const std::uint8_t* field) { return ascii(std::to_string(*field)); }
Text textFor(const std::int32_t* field) { return ascii(std::to_string(*field)); }
Text textFor(const std::uint32_t* field) { return ascii(std::to_string(*field)); }
Text textFor(const float* field) {
  char text[32];
  auto [end, error] = std::to_chars(std::begin(text), std::end(text), *field);
  return ascii({text, end});
}
Text textFor(const std::u16string* field) { return *field; }
Text textFor(const std::vector<std::u16string>* field) {
  std::u16string text;
  for (const std::u16string& file : *field) text += (text.empty() ? u"" : u"|") + file;
  return text;
}
Text textFor(const std::optional<ScreenPair>* field) {
  if (!*field) return std::nullopt;
  return ascii(formatted("%d,%d", (*field)->x, (*field)->y));
}
Text textFor(const std::vector<std::uint16_t>* field) {
  return ascii(hexText(std::as_bytes(std::span(*field))));
}
Text textFor(std::span<std::byte> field) { return ascii(hexText(field)); }

// The parsers answer nothing, with the last error set, for text that is no such value.

std::nullopt_t refuse(std::u16string_view message) {
  setLastError(message);
  return std::nullopt;
}

std::optional<std::int64_t> parseInteger(std::string_view text, std::int64_t least, std::int64_t most) {
  std::int64_t value = 0;
  const bool isHex = text.starts_with("0x") || text.starts_with("0X");
  const char* const begin = text.data() + (isHex ? 2 : 0);
  const char* const end = text.data() + text.size();
  auto [parsed, error] = std::from_chars(begin, end, value, isHex ? 16 : 10);
  if (error == std::errc::result_out_of_range) return refuse(u"Value out of range");
  if (error != std::errc() || parsed != end) return refuse(u"Expected a whole number");
  if (value < least || value > most) return refuse(u"Value out of range");
  return value;
}

std::optional<StoredValue> parseAs(const SettingRow&, std::u16string_view text, const bool*) {
  constexpr std::u16string_view kWords[][2] = {
      {u"0", u"1"}, {u"false", u"true"}, {u"off", u"on"}, {u"no", u"yes"}};
  for (const auto& words : kWords)
    for (int value = 0; value < 2; ++value)
      if (equalsIgnoringCase(text, words[value])) return std::vector{static_cast<std::byte>(value)};
  return refuse(u"Expected 0 or 1");
}

template <class T>
requires std::is_integral_v<T> std::optional<StoredValue> parseAs(const SettingRow& row,
                                                                  std::u16string_view text, const T*) {
  using Limits = std::numeric_limits<T>;
  auto value = parseInteger(toUtf8(text), std::max<std::int64_t>(Limits::min(), row.minimum), Limits::max());
  if (!value) return std::nullopt;
  if constexpr (sizeof(T) == 1) return std::vector{static_cast<std::byte>(*value)};
  return static_cast<std::uint32_t>(*value);
}

std::optional<StoredValue> parseAs(const SettingRow&, std::u16string_view text, const float*) {
  const std::string digits = toUtf8(text);
  float value = 0;
  auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error == std::errc::result_out_of_range) return refuse(u"Value out of range");
  if (error != std::errc() || end != digits.data() + digits.size() || !std::isfinite(value))
    return refuse(u"Expected a number");
  return std::bit_cast<std::uint32_t>(value);
}

std::optional<StoredValue> parseAs(const SettingRow& row, std::u16string_view text, const std::u16string*) {
  if (row.size != 0 && text.size() > row.size) return refuse(u"Text too long");
  return std::u16string(text);
}

std::optional<StoredValue> parseAs(const SettingRow& row, std::u16string_view text,
                                   const std::vector<std::u16string>*) {
  std::u16string units(text);
  std::replace(units.begin(), units.end(), u'|', u'\0');
  if (!units.empty()) units += u'\0';
  const auto bytes = std::as_bytes(std::span(units));
  if (bytes.size() > row.size) return refuse(u"Text too long");
  return std::vector<std::byte>(bytes.begin(), bytes.end());
}

std::optional<StoredValue> parseAs(const SettingRow&, std::u16string_view text,
                                   const std::optional<ScreenPair>*) {
  const std::string pair = toUtf8(text);
  const std::size_t comma = pair.find(',');
  if (comma == std::string::npos) return refuse(u"Expected two numbers separated by a comma");
  ByteWriter writer;
  for (std::string_view part :
       {std::string_view(pair).substr(0, comma), std::string_view(pair).substr(comma + 1)}) {
    auto value = parseInteger(part, INT32_MIN, INT32_MAX);
    if (!value) return std::nullopt;
    writer.little(static_cast<std::int32_t>(*value));
  }
  return std::move(writer.bytes);
}

std::optional<std::vector<std::byte>> parseHex(std::string_view text) {
  std::vector<std::byte> bytes;
  while (!text.empty()) {
    unsigned value = 0;
    const char* const end = text.data() + std::min<std::size_t>(text.size(), 2);
    auto [parsed, error] = std::from_chars(text.data(), end, value, 16);
    if (error != std::errc() || parsed != text.data() + 2) return refuse(u"Expected hexadecimal bytes");
    bytes.push_back(static_cast<std::byte>(value));
    text.remove_prefix(2);
    if (text.starts_with(' ')) text.remove_prefix(1);
  }
  return bytes;
}

std::optional<StoredValue> parseAs(const SettingRow& row, std::u16string_view text, std::span<std::byte>) {
  auto bytes = parseHex(toUtf8(text));
  if (!bytes) return std::nullopt;
  if (bytes->size() != row.size) return refuse(toUtf16(formatted("Expected %u bytes", row.size)));
  return std::move(*bytes);
}

std::optional<StoredValue> parseAs(const SettingRow& row, std::u16string_view text,
                                   const std::vector<std::uint16_t>*) {
  auto bytes = parseHex(toUtf8(text));
  if (!bytes) return std::nullopt;
  if (bytes->size() % 2 != 0) return refuse(u"Expected an even number of bytes");
  if (bytes->size() > row.size) return refuse(u"Text too long");
  return std::move(*bytes);
}

}  // namespace

std::optional<std::u16string> settingText(const SettingRow& row) {
  return std::visit([](auto field) { return textFor(field); }, row.field());
}

bool setSettingText(const SettingRow& row, std::u16string_view text) {
  auto value = std::visit([&](auto field) { return parseAs(row, text, field); }, row.field());
  return value && takeStoredValue(row, *value);
}

}  // namespace vemko::app
