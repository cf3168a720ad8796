#pragma once
// MPEG audio: layers I to III are read through libmpg123, layer III is written through libmp3lame.
#include <span>

#include "codecs/bridge.h"

namespace vemko::mpeg {

std::u16string missingLibrary(bool encoding);

/// Encoder delay and padding are left out where the stream tells them (the tag frame of LAME and others);
/// without one, `delayFrames` at the start are left out. Fails with "Not an MPEG audio file" and for a
/// missing library.
bool open(const FilePart& part, CompressedSamples& samples, std::uint32_t delayFrames = 0);

enum class RateMode : std::uint8_t { Constant, Average, Variable };

struct EncodeOptions {
  RateMode mode = RateMode::Constant;
  std::uint32_t bitsPerSecond = 320000;  ///< Constant and average.
  int quality = 0;                       ///< Variable: 0 the best, 9 the smallest.
  bool jointStereo = true;
  /// A first frame that tells length, delay and padding. Files have it; streams in other containers do not.
  bool tagFrame = true;
};

/// The sample rate that a stream of that rate is stored with: the same one where MPEG has it, else the next
/// higher one, at most 48000 Hz, which the encoder converts to.
std::uint32_t storedRate(std::uint32_t rate);
/// The bit rate nearest to that which the sample rate allows.
std::uint32_t storedBitRate(std::uint32_t bitsPerSecond, std::uint32_t rate);

/// Kilobits a second of compression setting 0, 1, 2 ..., from the highest down; 0 past the last.
double kilobitsOfSetting(int setting);
/// The bit rate of that setting; 128000 where there is no such setting.
std::uint32_t bitRateOfSetting(std::uint32_t setting);

/// Frames that a decoder gives before the first one of a stream without tag frame.
inline constexpr std::uint32_t kTotalDelay = 1105;

/// One or two channels. Appends to the sink.
bool encode(const EncoderInput& input, const EncodeOptions& options, ByteSink& sink);

}  // namespace vemko::mpeg
