#pragma once
// The filter that weights frequencies as the ear does at a moderate level: a symmetric FIR of 128 taps.
#include <array>
#include <cstddef>
#include <cstdint>

namespace vemko::tools {

inline constexpr std::size_t kHalfTaps = 64;

/// Taps 0 to 63 for a sample rate in Hz; tap 127 - t is tap t.
using EqualLoudnessTaps = std::array<float, kHalfTaps>;
EqualLoudnessTaps equalLoudnessTaps(std::uint32_t rate);

/// The sum of the squares of `count` filtered samples, frames of `channels` interleaved samples. The
/// kHalfTaps frames before samples[0] and as many behind the last sample are read too. The same on every
/// processor.
double filteredSquares(const EqualLoudnessTaps& taps, const float* samples, std::size_t count,
                       std::size_t channels);

}  // namespace vemko::tools
