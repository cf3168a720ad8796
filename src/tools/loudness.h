#pragma once
// How loud a recording sounds: the level of its louder passages, by blocks of 50 ms whose levels go into a
// histogram. Told as the gain in decibels that brings the recording to a reference level.
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "core/waveform.h"
#include "tools/equal_loudness.h"

namespace vemko::tools {

/// The analyser of one recording, which may consist of several waveforms fed one after another. Waveforms of
/// the same rate and channel count join without a seam; at a change of either the stretch so far ends as the
/// recording would, and the histogram goes on.
class LoudnessAnalyser {
 public:
  /// Levels are taken behind the equal-loudness filter, or of the samples as they are.
  explicit LoudnessAnalyser(bool equalLoudness);

  /// The next samples, interleaved. Nothing happens without channels.
  void feed(std::span<const float> samples, std::size_t channels, std::uint32_t rate);
  void feed(const Waveform& waveform);

  /// Ends the recording. 0 when it had no block: less than 25 ms.
  float finish();

  /// Blocks by level: 12000 bins of 0.01 dB below full scale, the loudest first.
  std::span<const std::uint32_t> histogram() const { return histogram_; }

 private:
  void begin(std::size_t channels, std::uint32_t rate);
  void endStretch();
  std::size_t feedWindow(std::span<const float> samples);
  std::size_t feedBlocks(std::span<const float> samples, std::size_t consumed);
  std::size_t binOf(const float* block) const;
  std::size_t framesToSamples(std::size_t frames) const { return frames * channels_; }

  bool equalLoudness_;
  std::size_t channels_ = 0;
  std::uint32_t rate_ = 0;
  std::size_t blockFrames_ = 0;
  EqualLoudnessTaps taps_{};
  std::vector<float> window_;  // the kHalfTaps frames before the next block, and the frames pending for it
  std::vector<std::uint32_t> histogram_;
};

/// The loudness of one waveform; 0 without samples in memory.
float loudness(const Waveform& waveform, bool equalLoudness);

}  // namespace vemko::tools
