#include "formats/sfz/sfz_text.h"

#include <utf8.h>

#include "base/text.h"

namespace vemko::sfz {
namespace {

std::u16string decodeUtf16(Bytes bytes, bool bigEndian) {
  ByteReader reader(bytes);
  std::u16string text;
  text.reserve(bytes.size() / 2);
  while (reader.remaining() >= 2)
    text += static_cast<char16_t>(bigEndian ? reader.big<std::uint16_t>() : reader.u16());
  return text;
}

// In pieces between zeros, where decodeText would stop.
std::string decodeWindows1252(std::string_view text) {
  std::string utf8;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t zero = std::min(text.find('\0', at), text.size());
    utf8 += toUtf8(decodeText(asBytes(text.substr(at, zero - at))));
    if (zero < text.size()) utf8 += ' ';
    at = zero + 1;
  }
  return utf8;
}

}  // namespace

std::string_view plainTextOfFile(Bytes bytes, std::string& converted) {
  std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))
    return converted = toUtf8(decodeUtf16(bytes.subspan(2), text.front() == '\xFE'));
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  return text;
}

std::string_view textOfFile(Bytes bytes, std::string& converted) {
  const std::string_view text = plainTextOfFile(bytes, converted);
  if (text.data() == converted.data() || utf8::is_valid(text.begin(), text.end())) return text;
  return converted = decodeWindows1252(text);
}

}  // namespace vemko::sfz
