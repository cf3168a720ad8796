#pragma once
// Walks long sample data in blocks of a fixed length, several at a time. What is computed per block and then
// combined in block order does not depend on the number of processors.
#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "base/parallel_for.h"
#include "core/waveform.h"

namespace vemko::tools {

inline constexpr std::size_t kBlockSamples = 1 << 18;

/// The waveform's samples that are present: frames x channels, none without a buffer.
inline std::span<const float> presentSamples(const Waveform& waveform) {
  if (!waveform.buffer) return {};
  const std::span<const float> samples = std::as_const(*waveform.buffer).samples();
  return samples.first(std::min(samples.size(), std::size_t{waveform.frames} * waveform.channels));
}

/// Calls work(block, first) for the stretches of `samples`, `first` being the index of a block's first
/// sample.
template <class Sample, class Work>
void forEachBlock(std::span<Sample> samples, Work work) {
  const std::size_t blocks = (samples.size() + kBlockSamples - 1) / kBlockSamples;
  auto run = [&](std::size_t block) {
    const std::size_t first = block * kBlockSamples;
    work(samples.subspan(first, std::min(kBlockSamples, samples.size() - first)), first);
    return true;
  };
  if (blocks == 1)
    run(0);
  else
    parallelFor(blocks, run);
}

/// The results of measure(block) in block order.
template <class Measure>
auto perBlock(std::span<const float> samples, Measure measure) {
  std::vector<decltype(measure(samples))> results((samples.size() + kBlockSamples - 1) / kBlockSamples);
  forEachBlock(samples, [&](std::span<const float> block, std::size_t first) {
    results[first / kBlockSamples] = measure(block);
  });
  return results;
}

}  // namespace vemko::tools
