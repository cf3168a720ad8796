#include "tools/levels.h"

#include <array>
#include <cmath>
#include <numeric>

#include "base/last_error.h"
#include "io/samples.h"
#include "tools/sample_blocks.h"

namespace vemko::tools {
namespace {

// Partial results that the compiler keeps in vector registers. Written out, because it may not reorder sums
// and comparisons of floats by itself.
constexpr std::size_t kLanes = 16;

/// combine(lane, sample) for every sample, the samples dealt to the lanes in turn.
template <class Lane, class Combine>
std::array<Lane, kLanes> inLanes(std::span<const float> samples, Lane initial, Combine combine) {
  std::array<Lane, kLanes> lanes;
  lanes.fill(initial);
  std::size_t i = 0;
  for (; i + kLanes <= samples.size(); i += kLanes)
    for (std::size_t l = 0; l < kLanes; ++l) lanes[l] = combine(lanes[l], samples[i + l]);
  for (std::size_t l = 0; i < samples.size(); ++i, ++l) lanes[l] = combine(lanes[l], samples[i]);
  return lanes;
}

double total(const auto& parts) { return std::accumulate(parts.begin(), parts.end(), 0.0); }

// Comparisons with not-a-number are false, so that such samples are passed over.
float larger(float a, float b) { return b > a ? b : a; }
float smaller(float a, float b) { return b < a ? b : a; }

float peakOf(std::span<const float> block) {
  const auto lanes = inLanes(block, 0.0f, [](float lane, float x) { return larger(lane, std::fabs(x)); });
  return std::accumulate(lanes.begin(), lanes.end(), 0.0f, larger);
}

float clamped(double value) { return static_cast<float>(value > 1 ? 1 : value < -1 ? -1 : value); }

/// Replaces every sample by change(sample). False, with the last error message set, when there is no room.
template <class Change>
bool changeSamples(Waveform& waveform, Change change, std::size_t first = 0,
                   std::size_t count = static_cast<std::size_t>(-1)) {
  std::span<float> samples = waveform.editableSamples();
  if (samples.empty()) return false;
  samples = samples.subspan(std::min(first, samples.size()));
  forEachBlock(samples.first(std::min(count, samples.size())), [&](std::span<float> block, std::size_t) {
    for (float& sample : block) sample = change(sample);
  });
  return true;
}

struct Stretch {
  double factor = 1;
  double offset = 0;
};

Stretch stretchFor(const Waveform& waveform, MaximizeMode mode) {
  const Extremes found = extremes(presentSamples(waveform));
  const double minimum = found.minimum, maximum = found.maximum;
  Stretch stretch;
  if (mode == MaximizeMode::FixedZero) {
    stretch.factor = 1 / std::max(std::fabs(maximum), std::fabs(minimum));
  } else if (mode == MaximizeMode::FullRange) {
    stretch.factor = 2 / (maximum - minimum);
    stretch.offset = 1 - stretch.factor * maximum;
  } else {
    const double centre = mean(waveform);
    stretch.factor = 1 / std::max(std::fabs(maximum - centre), std::fabs(minimum - centre));
    stretch.offset = -stretch.factor * centre;
  }
  return stretch;
}

}  // namespace

Peak peak(const Waveform& waveform) {
  const auto samples = presentSamples(waveform);
  const std::vector<float> peaks = perBlock(samples, peakOf);
  const auto highest = std::max_element(peaks.begin(), peaks.end());
  if (highest == peaks.end() || *highest == 0) return {};
  const std::size_t block = static_cast<std::size_t>(highest - peaks.begin()) * kBlockSamples;
  const auto at = std::find_if(samples.begin() + static_cast<std::ptrdiff_t>(block), samples.end(),
                               [&](float x) { return std::fabs(x) == *highest; });
  return {*highest, static_cast<std::uint32_t>((at - samples.begin()) / waveform.channels)};
}

float rms(const Waveform& waveform, std::uint32_t start, std::uint32_t end) {
  if (end == 0) end = waveform.frames;
  const auto samples = presentSamples(waveform);
  if (start >= end || samples.empty()) return 0;
  const std::size_t count = end - start;
  const double squares = sumOfSquares(samples.first(std::min(count, samples.size())));
  return static_cast<float>(std::sqrt(squares / static_cast<double>(count)));
}

float toDecibels(float level) {
  if (!(level > 1.5848933e-5f)) return -96;
  if (level == 1) return 0;
  if (level == 2) return 6;
  if (level == 4) return 12;
  if (level == 0.5f) return -6;
  if (level == 0.25f) return -12;
  const double hundredths = std::log(static_cast<double>(level)) * 868.5889;
  const double rounded = std::trunc(hundredths + (hundredths > 0 ? 0.499 : -0.499));
  return static_cast<float>(rounded * 0.01 + 0.0);  // 0.0 makes 0 of -0
}

double toFactor(double decibels) { return std::exp(decibels * 0.115129255); }

bool applyGain(Waveform& waveform, float decibels, std::uint32_t start, std::uint32_t end) {
  if (decibels == 0 || std::isnan(decibels)) return true;
  if (!io::loadSamples(waveform, true)) return false;
  if (end == 0 || end > waveform.frames) end = waveform.frames;
  if (end <= start) return true;
  const double factor = toFactor(decibels);
  return changeSamples(
      waveform, [factor](float x) { return clamped(factor * x); }, std::size_t{start} * waveform.channels,
      std::size_t{end - start} * waveform.channels);
}

bool maximize(Waveform& waveform, MaximizeMode mode) {
  if (presentSamples(waveform).empty()) return false;
  const Stretch stretch = stretchFor(waveform, mode);
  const bool isPossible =
      std::isfinite(stretch.factor) && stretch.factor > 0 && std::isfinite(stretch.offset);
  if (!isPossible || (stretch.factor == 1 && stretch.offset == 0)) return false;
  return changeSamples(waveform,
                       [=](float x) { return static_cast<float>(stretch.factor * x + stretch.offset); });
}

double mean(const Waveform& waveform) {
  const auto samples = presentSamples(waveform);
  return samples.empty() ? 0 : sum(samples) / static_cast<double>(samples.size());
}

bool removeOffset(Waveform& waveform) {
  const double offset = mean(waveform);
  if (offset == 0 || !std::isfinite(offset)) return false;
  return changeSamples(waveform, [offset](float x) { return clamped(x - offset); });
}

Extremes extremes(std::span<const float> samples, Extremes initial) {
  const auto blocks = perBlock(samples, [initial](std::span<const float> block) {
    const auto low = inLanes(block, initial.minimum, smaller);
    const auto high = inLanes(block, initial.maximum, larger);
    return Extremes{std::accumulate(low.begin(), low.end(), initial.minimum, smaller),
                    std::accumulate(high.begin(), high.end(), initial.maximum, larger)};
  });
  for (const Extremes& block : blocks) {
    initial.minimum = smaller(initial.minimum, block.minimum);
    initial.maximum = larger(initial.maximum, block.maximum);
  }
  return initial;
}

double sumOfSquares(std::span<const float> samples) {
  return total(perBlock(samples, [](std::span<const float> block) {
    return total(inLanes(block, 0.0, [](double lane, float x) { return lane + double{x} * x; }));
  }));
}

double sum(std::span<const float> samples) {
  return total(perBlock(samples, [](std::span<const float> block) {
    return total(inLanes(block, 0.0, [](double lane, float x) { return lane + x; }));
  }));
}

}  // namespace vemko::tools
