#include "tools/statistics.h"

#include <array>
#include <cmath>
#include <limits>

#include "base/text.h"
#include "tools/levels.h"
#include "tools/sample_blocks.h"

namespace vemko::tools {
namespace {

struct Changes {
  float maximumDelta = 0;
  std::uint64_t zeroCrossings = 0;

  void add(const Changes& other) {
    maximumDelta = std::max(maximumDelta, other.maximumDelta);
    zeroCrossings += other.zeroCrossings;
  }
};

// From each sample to the one at the same place in `next`. The lanes let the loop run in vector registers.
Changes changesBetween(const float* before, const float* next, std::size_t count) {
  constexpr std::size_t kLanes = 16;
  std::array<float, kLanes> deltas{};
  std::array<std::uint32_t, kLanes> crossings{};
  auto step = [&](std::size_t lane, float a, float b) {
    const float delta = std::fabs(b - a);
    deltas[lane] = delta > deltas[lane] ? delta : deltas[lane];
    crossings[lane] += static_cast<std::uint32_t>((a < 0) & (b > 0)) | ((a > 0) & (b < 0));
  };
  std::size_t i = 0;
  for (; i + kLanes <= count; i += kLanes)
    for (std::size_t lane = 0; lane < kLanes; ++lane) step(lane, before[i + lane], next[i + lane]);
  for (; i < count; ++i) step(0, before[i], next[i]);
  Changes changes;
  for (std::size_t lane = 0; lane < kLanes; ++lane) changes.add({deltas[lane], crossings[lane]});
  return changes;
}

Changes changesIn(std::span<const float> samples, std::size_t channels) {
  if (samples.size() <= channels) return {};
  const auto next = samples.subspan(channels);
  Changes changes;
  for (const Changes& block : perBlock(next, [channels](std::span<const float> part) {
         return changesBetween(part.data() - channels, part.data(), part.size());
       }))
    changes.add(block);
  return changes;
}

}  // namespace

Statistics statisticsOf(std::span<Waveform* const> waveforms) {
  Statistics all;
  Changes changes;
  double total = 0, squares = 0;
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  Extremes range{kInfinity, -kInfinity};
  for (const Waveform* waveform : waveforms) {
    const auto samples = presentSamples(*waveform);
    if (samples.empty()) continue;
    all.samples += samples.size();
    if (waveform->rate > 0) all.seconds += static_cast<double>(waveform->frames) / waveform->rate;
    total += sum(samples);
    squares += sumOfSquares(samples);
    range = extremes(samples, range);
    changes.add(changesIn(samples, waveform->channels));
  }
  if (all.samples == 0) return all;
  if (range.minimum <= range.maximum) {
    all.minimum = range.minimum;
    all.maximum = range.maximum;
  }
  all.peak = std::max(std::fabs(all.minimum), std::fabs(all.maximum));
  all.rms = static_cast<float>(std::sqrt(squares / static_cast<double>(all.samples)));
  all.mean = total / static_cast<double>(all.samples);
  all.maximumDelta = changes.maximumDelta;
  all.zeroCrossings = changes.zeroCrossings;
  return all;
}

std::vector<StatisticsRow> statisticsRows(const Statistics& s) {
  auto level = [](float value) { return toUtf16(formatted("%.3f / %.2f dB", value, toDecibels(value))); };
  return {
      {u"Wavesamples:",
       toUtf16(formatted("%llu / %.2f s", static_cast<unsigned long long>(s.samples), s.seconds))},
      {u"Max level:", level(s.peak)},
      {u"RMS:", level(s.rms)},
      {u"Min..Max value:", toUtf16(formatted("%f..%f", s.minimum, s.maximum))},
      {u"Mean value:", toUtf16(formatted("%.3f", s.mean))},
      {u"Maximum delta:", toUtf16(formatted("%f", s.maximumDelta))},
      {u"Zero crossings:", toUtf16(std::to_string(s.zeroCrossings))},
  };
}

}  // namespace vemko::tools
