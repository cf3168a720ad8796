#include "platform/posix/settings_text.h"

#include <charconv>

#include "base/text.h"

namespace vemko::posix {
namespace {

constexpr std::string_view kDword = "dword:", kBinary = "hex:", kString = "string:";
constexpr char kDigits[] = "0123456789abcdef";

void appendHex(std::string& text, std::byte value) {
  text += kDigits[std::to_integer<unsigned>(value) >> 4];
  text += kDigits[std::to_integer<unsigned>(value) & 15];
}

// The two hexadecimal digits that the text begins with.
std::optional<std::byte> hexAt(std::string_view text) {
  unsigned value = 0;
  if (text.size() < 2) return std::nullopt;
  auto [end, error] = std::from_chars(text.data(), text.data() + 2, value, 16);
  if (error != std::errc() || end != text.data() + 2) return std::nullopt;
  return static_cast<std::byte>(value);
}

bool takePrefix(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

}  // namespace

std::string dwordText(std::uint32_t value) { return std::string(kDword) + std::to_string(value); }

std::string binaryText(Bytes value) {
  std::string text(kBinary);
  text.reserve(text.size() + value.size() * 3);
  for (std::byte byte : value) {
    if (text.size() > kBinary.size()) text += ' ';
    appendHex(text, byte);
  }
  return text;
}

std::string stringText(std::u16string_view value) {
  const std::string utf8 = toUtf8(value);
  std::string text(kString);
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const char c = utf8[i];
    const bool isLast = i + 1 == utf8.size();
    if (c == '\\') {
      text += "\\\\";
    } else if ((c >= 0 && c < ' ') || (c == ' ' && isLast)) {  // A line loses its blanks at the end.
      text += "\\x";
      appendHex(text, static_cast<std::byte>(c));
    } else {
      text += c;
    }
  }
  return text;
}

std::optional<std::uint32_t> parseDword(std::string_view text) {
  if (!takePrefix(text, kDword)) return std::nullopt;
  std::int64_t value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  if (value < INT32_MIN || value > std::int64_t{UINT32_MAX}) return std::nullopt;
  return static_cast<std::uint32_t>(value);
}

std::optional<std::vector<std::byte>> parseBinary(std::string_view text) {
  if (!takePrefix(text, kBinary)) return std::nullopt;
  std::vector<std::byte> value;
  while (!text.empty()) {
    auto byte = hexAt(text);
    if (!byte) return std::nullopt;
    value.push_back(*byte);
    text.remove_prefix(2);
    if (text.starts_with(' ')) text.remove_prefix(1);
  }
  return value;
}

std::optional<std::u16string> parseString(std::string_view text) {
  if (!takePrefix(text, kString)) return std::nullopt;
  std::string utf8;
  while (!text.empty()) {
    if (takePrefix(text, "\\\\")) {
      utf8 += '\\';
    } else if (takePrefix(text, "\\x")) {
      auto byte = hexAt(text);
      if (!byte) return std::nullopt;
      utf8 += static_cast<char>(*byte);
      text.remove_prefix(2);
    } else {
      utf8 += text.front();
      text.remove_prefix(1);
    }
  }
  return toUtf16(utf8);
}

}  // namespace vemko::posix
