#include "codecs/base64.h"

#include <cstdint>

namespace vemko {
namespace {

constexpr std::string_view kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string encodeBase64(Bytes data) {
  std::string text;
  text.reserve((data.size() + 2) / 3 * 4);
  for (std::size_t at = 0; at < data.size(); at += 3) {
    const std::size_t count = std::min<std::size_t>(3, data.size() - at);
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < 3; ++i)
      bits = bits << 8 | (i < count ? static_cast<std::uint32_t>(data[at + i]) : 0);
    for (std::size_t i = 0; i < 4; ++i) text += i <= count ? kDigits[bits >> (18 - 6 * i) & 63] : '=';
  }
  return text;
}

std::vector<std::byte> decodeBase64(std::string_view text) {
  std::vector<std::byte> data;
  data.reserve(text.size() / 4 * 3);
  std::uint32_t bits = 0;
  unsigned held = 0;
  for (char c : text) {
    const std::size_t digit = kDigits.find(c);
    if (digit == kDigits.npos) break;
    bits = bits << 6 | static_cast<std::uint32_t>(digit);
    held += 6;
    if (held < 8) continue;
    held -= 8;
    data.push_back(static_cast<std::byte>(bits >> held & 0xFF));
  }
  return data;
}

}  // namespace vemko
