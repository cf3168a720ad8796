#pragma once
// How far the samples of two waveforms are apart.
#include <cstdint>
#include <optional>

#include "core/waveform.h"

namespace vemko::compare {

struct SampleDifference {
  double largest = 0;  ///< Of the differences, full scale being 1.
  /// The same, leaving out what one side has at full scale and the other one at or beyond it.
  double largestInside = 0;
  double snrDecibels = 0;  ///< Signal to difference; infinite where `largest` is 0.
  std::int64_t shift = 0;  ///< The second lags by so many frames; the other figures are taken so aligned.
};

/// Compares as many frames and channels as both have, through small buffers. A shift is looked for, up to
/// 4096 frames either way, when the samples are far apart. Nothing, with the last error message set, when
/// samples cannot be read.
std::optional<SampleDifference> differenceOf(const Waveform& first, const Waveform& second);

}  // namespace vemko::compare
