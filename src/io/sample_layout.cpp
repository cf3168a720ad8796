#include "io/sample_layout.h"

#include <algorithm>
#include <iterator>

namespace vemko::io {
namespace {

/// What an encoding holds exactly: integers of so many bits, or floats of so many; 0 for what loses.
struct Precision {
  SampleEncoding encoding;
  std::uint8_t integerBits;
  std::uint8_t floatBits;
  /// Bits of the integers that its decoder gives; those of a lossless encoding are integerBits.
  std::uint8_t decodedBits;
};

// From the poorest to the richest.
// clang-format off
constexpr Precision kPrecisions[] = {
  {SampleEncoding::Adpcm2,         0,  0, 16},
  {SampleEncoding::Adpcm3,         0,  0, 16},
  {SampleEncoding::Gsm610,         0,  0, 16},
  {SampleEncoding::Adpcm4,         0,  0, 16},
  {SampleEncoding::Adpcm5,         0,  0, 16},
  {SampleEncoding::ALaw,           0,  0, 13},
  {SampleEncoding::MuLaw,          0,  0, 14},
  {SampleEncoding::Codec,          0,  0,  0},
  {SampleEncoding::Pcm8,           8,  0,  8},
  {SampleEncoding::Alternative8,   8,  0,  8},
  {SampleEncoding::Pcm12,         12,  0, 12},
  {SampleEncoding::Pcm16,         16,  0, 16},
  {SampleEncoding::Alternative16, 16,  0, 16},
  {SampleEncoding::Pcm20,         20,  0, 20},
  {SampleEncoding::Pcm24,         24,  0, 24},
  {SampleEncoding::Pcm32,         32,  0, 32},
  {SampleEncoding::Float32,       24, 32,  0},
  {SampleEncoding::Float64,       53, 64,  0},
};
// clang-format on

const Precision& precisionOf(SampleEncoding encoding) {
  const auto* row = std::ranges::find(kPrecisions, encoding, &Precision::encoding);
  return row != std::end(kPrecisions)
             ? *row
             : *std::ranges::find(kPrecisions, SampleEncoding::Float32, &Precision::encoding);
}

bool holds(const Precision& target, const Precision& samples) {
  if (samples.decodedBits > 0) return target.integerBits >= samples.decodedBits;
  return target.floatBits >= std::max<int>(samples.floatBits, 32);
}

SampleEncoding ownEncoding(const Waveform& waveform) {
  if (waveform.sourceIsIntact()) return waveform.source->encoding();
  return waveform.sourceFormat <= static_cast<int>(SampleEncoding::Float32)
             ? static_cast<SampleEncoding>(waveform.sourceFormat)
             : SampleEncoding::Float32;
}

constexpr bool isSpeechCode(SampleEncoding encoding) {
  return encoding >= SampleEncoding::Gsm610 && encoding <= SampleEncoding::Adpcm5;
}

// Samples that were decoded and are encoded again become others.
constexpr bool losesEachTime(SampleEncoding encoding) {
  return isSpeechCode(encoding) || encoding == SampleEncoding::Codec;
}

SampleEncoding chooseEncoding(const Waveform& waveform, CapabilityMask requested, CapabilityMask available) {
  const SampleEncoding own = ownEncoding(waveform);
  for (const Precision& row : kPrecisions)
    if (requested & available & encodingBit(row.encoding)) return row.encoding;
  const bool hasOwn = available & encodingBit(own);
  if (hasOwn && !losesEachTime(own)) return own;
  SampleEncoding richest = own;
  for (const Precision& row : kPrecisions) {
    if (!(available & encodingBit(row.encoding))) continue;
    richest = row.encoding;
    if (holds(row, precisionOf(own))) return richest;
  }
  return hasOwn ? own : richest;
}

std::uint8_t chooseChannels(std::uint8_t channels, CapabilityMask requested, CapabilityMask capabilities) {
  const bool keepsPairs = (capabilities & kLinkedStereo) && !(capabilities & kStereo);
  if (capabilities & kLinkedStereo) capabilities |= kStereo;
  const bool mono = capabilities & kMono, stereo = capabilities & kStereo;
  if (mono && !stereo) return 1;
  if (stereo && !mono && channels == 1) return 2;
  const CapabilityMask asked = requested & (kMono | kStereo);
  if (asked == kMono && mono) return 1;
  if (asked == kStereo && stereo) return keepsPairs && channels == 1 ? 1 : 2;
  return channels;
}

}  // namespace

SampleLayout chooseLayout(const Waveform& waveform, const SaveOptions& options, CapabilityMask capabilities) {
  const SampleEncoding encoding = chooseEncoding(waveform, options.requested, capabilities & kEncodingBits);
  const CapabilityMask layouts = isSpeechCode(encoding) ? kMono : capabilities;
  return {encoding, chooseChannels(waveform.channels, options.requested, layouts)};
}

}  // namespace vemko::io
