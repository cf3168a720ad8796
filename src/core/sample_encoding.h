#pragma once
#include <cstdint>

namespace vemko {

/// How samples are stored in a file; the number is also the encoding's bit in a capability mask.
enum class SampleEncoding : std::uint8_t {
  Pcm8 = 0,
  Pcm12 = 1,
  Pcm16 = 2,
  Pcm20 = 3,
  Pcm24 = 4,
  Pcm32 = 5,
  Float32 = 6,
  Float64 = 7,
  MuLaw = 8,
  ALaw = 9,
  Gsm610 = 10,
  Adpcm2 = 11,
  Adpcm3 = 12,
  Adpcm4 = 13,
  Adpcm5 = 14,
  Alternative8 = 15,
  Alternative16 = 16,
  Codec = 17,
  Text = 18,
  MidiEvents = 19,
};

/// A waveform's source-format code: the narrowest of Pcm8..Float32 that holds the stored samples exactly, or
/// kUnclassified until the fix-up pass after loading has looked.
using SourceFormat = std::uint8_t;
inline constexpr SourceFormat kUnclassified = 21;

}  // namespace vemko
