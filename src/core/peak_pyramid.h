#pragma once
// The picture of a waveform at any zoom: lowest and highest sample and the power of every 256 frames, and of
// 16 times as many, thrice.
#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <vector>

#include "core/sample_access.h"

namespace vemko {

/// One channel of a stretch of frames. Samples that are no numbers are passed over.
struct Peak {
  float low = std::numeric_limits<float>::infinity();  ///< Above `high` when there was no sample.
  float high = -std::numeric_limits<float>::infinity();
  float power = 0;  ///< Mean of the squares.
};

struct PeakBlock;

/// The peak of one channel of interleaved samples.
Peak peakOf(std::span<const float> samples, unsigned channels, unsigned channel);

/// build() runs on one thread, once; everything else may be called meanwhile on any other. What is not built
/// yet is answered from a thousand short probes, which come first, or not at all.
class PeakPyramid {
 public:
  static constexpr std::uint32_t kBlockFrames = 256;

  PeakPyramid(std::uint32_t frames, std::uint8_t channels);
  ~PeakPyramid();

  std::uint32_t frames() const { return frames_; }
  std::uint8_t channels() const { return channels_; }

  /// Reads all samples, where they allow it on all processors, and keeps none. Calls `onProgress`, from any
  /// thread, whenever there is more to see. False when stopped, or with the last error message set; what was
  /// built until then stays.
  bool build(const SampleAccess& samples, const std::stop_token& stop,
             const std::function<void()>& onProgress = {});

  /// The peak of all blocks that the frames [first, end) touch; nothing where none is known yet. Takes time
  /// by the logarithm of the length.
  std::optional<Peak> peak(unsigned channel, std::uint64_t first, std::uint64_t end) const;

  /// Built from 0 to 1.
  double share() const;
  bool isComplete() const { return share() >= 1; }

 private:
  struct Page;
  struct Sum;

  bool buildPages(const SampleAccess& samples, const std::stop_token& stop,
                  const std::function<void()>& onProgress);
  bool buildInOrder(const SampleAccess& samples, const std::stop_token& stop,
                    const std::function<void()>& onProgress);
  bool buildProbes(const SampleAccess& samples, const std::stop_token& stop);
  std::unique_ptr<Page> emptyPage(std::size_t page) const;
  void publish(std::size_t index, std::unique_ptr<Page> page);
  std::uint64_t firstFrameOfProbe(std::uint32_t probe) const;
  void addProbes(Sum& sum, unsigned channel, std::uint64_t first, std::uint64_t end) const;

  std::uint32_t frames_;
  std::uint8_t channels_;
  // Each is written once and read only after its mark is set.
  std::vector<std::unique_ptr<Page>> pages_;
  std::vector<std::atomic<bool>> isBuilt_;
  std::atomic<std::size_t> builtCount_ = 0;
  std::vector<PeakBlock> probes_;  // the channels of a probe side by side; none for short waveforms
  std::vector<std::atomic<bool>> isProbed_;
};

}  // namespace vemko
