#pragma once
// Samples in memory: 32-bit floats, channels interleaved frame by frame, full scale -1..+1.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace vemko {

/// A block of samples that waveforms, their copies and undo snapshots share; whoever edits makes the block
/// its own first (Waveform::editableSamples). One zero frame lies before the first frame and three behind the
/// last, so that interpolating playback and filters may read past the ends. Block and samples are 16-byte
/// aligned.
class SampleBuffer {
 public:
  /// Nothing when memory is short; the samples themselves are not initialised, the guard frames are zero.
  static std::shared_ptr<SampleBuffer> allocate(std::uint32_t frames, std::uint8_t channels, double rate);
  /// A copy of its own; nothing when memory is short.
  std::shared_ptr<SampleBuffer> clone() const;

  ~SampleBuffer();
  SampleBuffer(const SampleBuffer&) = delete;
  SampleBuffer& operator=(const SampleBuffer&) = delete;

  std::uint32_t frames() const { return frames_; }
  std::uint8_t channels() const { return channels_; }
  double rate() const { return rate_; }

  /// frames() x channels() samples, without the guards.
  std::span<float> samples() { return {first_, std::size_t{frames_} * channels_}; }
  std::span<const float> samples() const { return {first_, std::size_t{frames_} * channels_}; }

 private:
  SampleBuffer() = default;

  void* block_ = nullptr;
  float* first_ = nullptr;
  std::uint32_t frames_ = 0;
  std::uint8_t channels_ = 0;
  double rate_ = 0;
};

/// Number of address bits of this program.
inline constexpr int kAddressBits = static_cast<int>(sizeof(void*)) * 8;

/// Whether frames x channels float samples, computed in 64 bits, can be addressed by a program whose pointers
/// have `addressBits` bits. The parameter lets the answers of the 32-bit program be tested anywhere.
bool fitsAddressSpace(std::uint64_t frames, std::uint32_t channels, int addressBits = kAddressBits);
/// Whether samples that are to be loaded fit. Fails with "Wave too big - use 64-bit version!"; what does not
/// need all of them at once, as converting, works all the same.
bool mayLoad(std::uint64_t frames, std::uint32_t channels, int addressBits = kAddressBits);
/// Whether a waveform may become so long. Fails with "Wave would be too big for the 32-bit app", also for
/// more frames than a waveform can count.
bool mayGrowTo(std::uint64_t frames, std::uint32_t channels, int addressBits = kAddressBits);

}  // namespace vemko
