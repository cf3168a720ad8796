#pragma once
// Level measures and operations on a waveform's samples, shared by the tools.
//
// Some answers look odd and are kept so, since volumes that users stored in names and adjustments depend on
// them: the round answers of toDecibels, and the samples that rms reads.
#include <cstdint>
#include <span>

#include "core/waveform.h"

namespace vemko::tools {

struct Peak {
  float level = 0;
  std::uint32_t frame = 0;  ///< The first one that has this level in any channel.
};
/// The largest absolute sample; {0, 0} without samples.
Peak peak(const Waveform& waveform);

/// The root of the mean square of the first end - start floats of the interleaved samples, whatever `start`
/// is: the range only tells how many values are averaged. An `end` of 0 means the frame count. 0 when start
/// is greater than end, when the range is empty and without samples; values past the samples count as
/// silence.
float rms(const Waveform& waveform, std::uint32_t start, std::uint32_t end);

/// 20 log10 rounded to hundredths, at least -96 (which also stands for not-a-number); but 1, 2, 4, 0.5 and
/// 0.25 give exactly 0, 6, 12, -6 and -12.
float toDecibels(float level);
/// 10^(decibels/20).
double toFactor(double decibels);

/// Multiplies the frames from `start` to before `end` by 10^(decibels/20), clamped to full scale; an `end` of
/// 0 or past the last frame means the frame count. Nothing happens, and that is no failure, for 0 dB, for
/// not-a-number and for an empty range. Loads deferred samples; fails as io::loadSamples, or with "Out of
/// memory".
bool applyGain(Waveform& waveform, float decibels, std::uint32_t start, std::uint32_t end);

enum class MaximizeMode {
  FixedZero,  ///< The larger extreme reaches full scale; silence stays at 0.
  FullRange,  ///< The minimum goes to -1 and the maximum to +1.
  Centred,    ///< The mean goes to 0, and the extreme farther from it to full scale.
};
/// Stretches the samples to full scale, without clamping. False when nothing changed: the samples are there
/// already, silent, without finite extremes, or not present; or with "Out of memory" set.
bool maximize(Waveform& waveform, MaximizeMode mode);

/// The mean of all samples of all channels; 0 without samples.
double mean(const Waveform& waveform);

/// Subtracts the mean from every sample, clamped to full scale. False when nothing changed, as maximize.
bool removeOffset(Waveform& waveform);

struct Extremes {
  float minimum = 1;
  float maximum = -1;
};
/// `initial` widened by the samples; not-a-number is passed over.
Extremes extremes(std::span<const float> samples, Extremes initial = {});

double sumOfSquares(std::span<const float> samples);
double sum(std::span<const float> samples);

}  // namespace vemko::tools
