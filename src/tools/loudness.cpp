#include "tools/loudness.h"

#include <algorithm>
#include <cmath>

#include "tools/levels.h"
#include "tools/sample_blocks.h"

namespace vemko::tools {
namespace {

constexpr std::size_t kBins = 12000;
constexpr double kFilteredReference = -31.49, kPlainReference = -21.26;
constexpr std::size_t kBlocksPerTask = 64;  // what one thread measures at a time

std::size_t levelBin(double meanSquare) {
  const double bin = -1000 * std::log10(meanSquare > 1e-37 ? meanSquare : 1e-37);
  return static_cast<std::size_t>(std::clamp(bin, 0.0, static_cast<double>(kBins - 1)));
}

/// The bin that the loudest twentieth of the blocks reaches down to; -1 when that is above the first one.
/// There must be a block.
int percentileBin(std::span<const std::uint32_t> histogram) {
  std::uint64_t blocks = 0;
  for (std::uint32_t count : histogram) blocks += count;
  auto budget = std::int64_t{std::llround(static_cast<double>(blocks) * (1 - 0.95))};
  for (int bin = 0;; ++bin) {
    const std::int64_t count = histogram[static_cast<std::size_t>(bin)];
    const std::int64_t before = budget;
    budget -= count;
    if (count > 0 && budget <= 0) return -budget > before ? bin - 1 : bin;
  }
}

}  // namespace

LoudnessAnalyser::LoudnessAnalyser(bool equalLoudness) : equalLoudness_(equalLoudness), histogram_(kBins) {}

void LoudnessAnalyser::begin(std::size_t channels, std::uint32_t rate) {
  channels_ = channels;
  rate_ = rate;
  blockFrames_ = std::max<std::size_t>(static_cast<std::size_t>(std::llround(rate * 0.05)), 1);
  if (equalLoudness_) taps_ = equalLoudnessTaps(rate);
  window_.assign(framesToSamples(kHalfTaps), 0.0f);
}

void LoudnessAnalyser::feed(std::span<const float> samples, std::size_t channels, std::uint32_t rate) {
  if (channels == 0) return;
  if (channels != channels_ || rate != rate_) {
    endStretch();
    begin(channels, rate);
  }
  for (std::size_t consumed = 0; consumed < samples.size();) {
    consumed += feedWindow(samples.subspan(consumed));
    consumed += feedBlocks(samples, consumed);
  }
}

void LoudnessAnalyser::feed(const Waveform& waveform) {
  feed(presentSamples(waveform), waveform.channels, waveform.rate);
}

// Fills the window. A block is measured once the kHalfTaps frames behind it are there; they stay pending,
// with as many before them, for the next one.
std::size_t LoudnessAnalyser::feedWindow(std::span<const float> samples) {
  const std::size_t full = framesToSamples(kHalfTaps + blockFrames_ + kHalfTaps);
  const std::size_t count = std::min(samples.size(), full - window_.size());
  window_.insert(window_.end(), samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(count));
  if (window_.size() == full) {
    ++histogram_[binOf(window_.data() + framesToSamples(kHalfTaps))];
    window_.erase(window_.begin(),
                  window_.begin() + static_cast<std::ptrdiff_t>(framesToSamples(blockFrames_)));
  }
  return count;
}

// Measures blocks where they lie, as soon as all that the window holds is found before `consumed`.
std::size_t LoudnessAnalyser::feedBlocks(std::span<const float> samples, std::size_t consumed) {
  const std::size_t carried = framesToSamples(2 * kHalfTaps), blockSamples = framesToSamples(blockFrames_);
  if (window_.size() != carried || consumed < carried) return 0;
  const std::size_t blocks = (samples.size() - consumed) / blockSamples;
  if (blocks == 0) return 0;
  const float* first = samples.data() + consumed - framesToSamples(kHalfTaps);
  std::vector<std::uint16_t> bins(blocks);
  parallelFor((blocks + kBlocksPerTask - 1) / kBlocksPerTask, [&](std::size_t task) {
    const std::size_t end = std::min(blocks, (task + 1) * kBlocksPerTask);
    for (std::size_t block = task * kBlocksPerTask; block < end; ++block)
      bins[block] = static_cast<std::uint16_t>(binOf(first + block * blockSamples));
    return true;
  });
  for (std::uint16_t bin : bins) ++histogram_[bin];
  const auto rest = samples.subspan(consumed + blocks * blockSamples - carried, carried);
  window_.assign(rest.begin(), rest.end());
  return blocks * blockSamples;
}

std::size_t LoudnessAnalyser::binOf(const float* block) const {
  const std::size_t count = framesToSamples(blockFrames_);
  const double squares =
      equalLoudness_ ? filteredSquares(taps_, block, count, channels_) : sumOfSquares({block, count});
  return levelBin(squares / static_cast<double>(count));
}

// What is pending is measured as a last block when it is more than half of one.
void LoudnessAnalyser::endStretch() {
  if (channels_ == 0) return;
  const std::size_t pending = window_.size() / channels_ - kHalfTaps;
  if (pending > blockFrames_ / 2) {
    window_.resize(framesToSamples(kHalfTaps + blockFrames_ + kHalfTaps), 0.0f);
    ++histogram_[binOf(window_.data() + framesToSamples(kHalfTaps))];
  }
  channels_ = 0;
}

float LoudnessAnalyser::finish() {
  endStretch();
  if (std::ranges::all_of(histogram_, [](std::uint32_t count) { return count == 0; })) return 0;
  const double reference = equalLoudness_ ? kFilteredReference : kPlainReference;
  return static_cast<float>(reference + 0.01 * percentileBin(histogram_));
}

float loudness(const Waveform& waveform, bool equalLoudness) {
  LoudnessAnalyser analyser(equalLoudness);
  analyser.feed(waveform);
  return analyser.finish();
}

}  // namespace vemko::tools
