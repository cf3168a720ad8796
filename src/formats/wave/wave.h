#pragma once
// RIFF WAVE, RF64 and RIFX: one waveform a file, with its loops, markers and texts.
#include "io/format_entry.h"

namespace vemko::wave {

int probeWave(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
int probeBroadcastWave(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
int probeSmartSound(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
/// Answers 4 for GSM 06.10 in a WAVE file: enough to win under this extension, not under any other.
int probeUsrGsm(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
int probeBigEndianWave(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
bool readWave(Collection& collection, InputFile& file, std::uint32_t variant);
bool readBigEndianWave(Collection& collection, InputFile& file, std::uint32_t variant);
bool writeWave(Item& item, OutputFile& file, const io::SaveOptions& options);

inline constexpr FeatureMask kFeatures = kAllFeatures;
inline constexpr io::CapabilityMask kCapabilities =
    io::encodingBit(SampleEncoding::Pcm8) | io::encodingBit(SampleEncoding::Pcm16) |
    io::encodingBit(SampleEncoding::Pcm24) | io::encodingBit(SampleEncoding::Pcm32) |
    io::encodingBit(SampleEncoding::Float32) | io::encodingBit(SampleEncoding::MuLaw) |
    io::encodingBit(SampleEncoding::ALaw) | io::encodingBit(SampleEncoding::Gsm610) |
    io::encodingBit(SampleEncoding::Adpcm2) | io::encodingBit(SampleEncoding::Adpcm3) |
    io::encodingBit(SampleEncoding::Adpcm4) | io::encodingBit(SampleEncoding::Adpcm5) |
    io::encodingBit(SampleEncoding::Codec) | io::kMono | io::kStereo;

inline constexpr std::uint32_t kExtensible = 65534;  ///< Writer variant: extensible "fmt " body.
inline constexpr std::uint32_t kBare = 0xFFFFFFFF;   ///< Writer variant: nothing after "data".

}  // namespace vemko::wave
