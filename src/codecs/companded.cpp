#include "codecs/companded.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <numeric>

namespace vemko {
namespace {

// Both laws code a sign, a segment of doubling step size and a step within it; they differ in bias and in the
// bits that are inverted on the line.
constexpr int kMuLawBias = 132;
constexpr std::uint8_t kALawMask = 0x55;

constexpr std::int16_t expandMuLaw(std::uint8_t code) {
  int bits = ~code & 0xFF;
  int magnitude = ((((bits & 15) << 3) + kMuLawBias) << (bits >> 4 & 7)) - kMuLawBias;
  return static_cast<std::int16_t>(bits & 0x80 ? -magnitude : magnitude);
}

constexpr std::int16_t expandALaw(std::uint8_t code) {
  int bits = code ^ kALawMask;
  int segment = bits >> 4 & 7;
  int magnitude = ((bits & 15) << 4) + 8;
  if (segment > 0) magnitude = (magnitude + 256) << (segment - 1);
  return static_cast<std::int16_t>(bits & 0x80 ? magnitude : -magnitude);
}

template <std::int16_t expand(std::uint8_t)>
constexpr std::array<std::int16_t, 256> tableOf() {
  std::array<std::int16_t, 256> table{};
  for (int code = 0; code < 256; ++code)
    table[static_cast<std::size_t>(code)] = expand(static_cast<std::uint8_t>(code));
  return table;
}

constexpr auto kMuLaw = tableOf<expandMuLaw>();
constexpr auto kALaw = tableOf<expandALaw>();

// For every 16-bit value the nearest code, found by walking the values and the codes in rising order
// together. Where two codes are as near, or stand for the same value (mu-law has two zeros), the later one is
// taken.
std::array<std::uint8_t, 65536> nearestCodes(const std::array<std::int16_t, 256>& table) {
  std::array<std::uint8_t, 256> rising;
  std::iota(rising.begin(), rising.end(), std::uint8_t{0});
  std::stable_sort(rising.begin(), rising.end(), [&](auto a, auto b) { return table[a] < table[b]; });
  std::array<std::uint8_t, 65536> codes;
  std::size_t at = 0;
  for (int value = -32768; value <= 32767; ++value) {
    auto distance = [&](std::size_t i) { return std::abs(table[rising[i]] - value); };
    while (at + 1 < rising.size() && distance(at + 1) <= distance(at)) ++at;
    codes[static_cast<std::uint16_t>(value)] = rising[at];
  }
  return codes;
}

}  // namespace

std::int16_t decodeMuLaw(std::uint8_t code) { return kMuLaw[code]; }
std::int16_t decodeALaw(std::uint8_t code) { return kALaw[code]; }

std::uint8_t encodeMuLaw(std::int16_t value) {
  static const auto codes = nearestCodes(kMuLaw);
  return codes[static_cast<std::uint16_t>(value)];
}

std::uint8_t encodeALaw(std::int16_t value) {
  static const auto codes = nearestCodes(kALaw);
  return codes[static_cast<std::uint16_t>(value)];
}

}  // namespace vemko
