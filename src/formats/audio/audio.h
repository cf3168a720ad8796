#pragma once
// General audio files, most of them through codec libraries: one waveform a file. Each needs its library at
// run time only; a row whose library is missing answers with an error that names it.
#include "io/format_entry.h"

namespace vemko::audio {

inline constexpr io::CapabilityMask kMonoAndStereo = io::kMono | io::kStereo;
inline constexpr io::CapabilityMask kCodecCapabilities =
    io::encodingBit(SampleEncoding::Codec) | kMonoAndStereo;

int probeFlac(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
bool readFlac(Collection& collection, InputFile& file, std::uint32_t variant);
/// Variant 0: default compression, 1: the most.
bool writeFlac(Item& item, OutputFile& file, const io::SaveOptions& options);
std::u16string missingForFlac(bool writing);
inline constexpr io::CapabilityMask kFlacCapabilities =
    io::encodingBit(SampleEncoding::Pcm8) | io::encodingBit(SampleEncoding::Pcm12) |
    io::encodingBit(SampleEncoding::Pcm16) | io::encodingBit(SampleEncoding::Pcm20) |
    io::encodingBit(SampleEncoding::Pcm24) | kMonoAndStereo;

}  // namespace vemko::audio
