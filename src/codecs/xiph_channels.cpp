#include "codecs/xiph_channels.h"

#include <array>

namespace vemko {
namespace {

constexpr std::size_t kFewest = 3, kMost = 8;
using Orders = std::array<std::array<std::uint8_t, kMost>, kMost - kFewest + 1>;

// clang-format off
// Front left and right, centre, low frequency, then rear and side; in Vorbis the centre stands between left
// and right, and the low frequency last.
constexpr Orders kToWave = {{
  {0, 2, 1},
  {0, 1, 2, 3},
  {0, 2, 1, 3, 4},
  {0, 2, 1, 5, 3, 4},
  {0, 2, 1, 6, 5, 3, 4},
  {0, 2, 1, 7, 5, 6, 3, 4},
}};
// clang-format on

constexpr Orders inverse(const Orders& orders) {
  Orders result{};
  for (std::size_t row = 0; row < orders.size(); ++row)
    for (std::size_t i = 0; i < row + kFewest; ++i)
      result[row][orders[row][i]] = static_cast<std::uint8_t>(i);
  return result;
}
constexpr Orders kToXiph = inverse(kToWave);

std::span<const std::uint8_t> orderIn(const Orders& orders, std::uint8_t channels) {
  if (channels < kFewest || channels > kMost) return {};
  return std::span(orders[channels - kFewest]).first(channels);
}

}  // namespace

std::span<const std::uint8_t> waveOrderFromXiph(std::uint8_t channels) { return orderIn(kToWave, channels); }
std::span<const std::uint8_t> xiphOrderFromWave(std::uint8_t channels) { return orderIn(kToXiph, channels); }

}  // namespace vemko
