#pragma once
// SoundFont 2 banks: a collection whose presets are instruments, whose preset zones are layers and whose
// instrument zones, summed with the preset zone above them, are regions. Three file types share the reader:
// plain banks, banks with compressed samples, and packed ones; sfArk archives are unpacked first.
#include "io/format_entry.h"

namespace vemko::soundfont {

int probeBank(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
int probeCompressedBank(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
int probePackedBank(Bytes head, std::uint32_t variant, std::uint64_t fileSize);

/// Reads the tables; samples stay in the file. Fails with "Not a SoundFont2 file" and "Not a Sound Font v2.x
/// file".
bool readBank(Collection& collection, InputFile& file, std::uint32_t variant);

/// "sfArk" where version 2 of the archive has it. Self-extracting archives are not recognised.
int probeArchive(Bytes head, std::uint32_t variant, std::uint64_t fileSize);
/// Unpacks to a temporary file and reads that; samples are deferred as those of any bank. Fails with "Not an
/// sfArk file", "sfArk v1 files are not supported", "Unknown sfArk compression type", "Unsupported sfArk
/// compression", "sfArk decompression failed", "Reading from file failed", "Could not create file", "Out of
/// memory", for a missing program, and as readBank.
bool readArchive(Collection& collection, InputFile& file, std::uint32_t variant);
std::u16string missingForArchive(bool writing);

/// Writes a collection or a single instrument. Fails with "The file format can not save this item" and, where
/// the format's 16-bit indexes do not reach, with "Save failed - Too much data!" and what follows.
bool writeBank(Item& item, OutputFile& file, const io::SaveOptions& options);

inline constexpr FeatureMask kFeatures = profileFeatures(u"SoundFont 2.01 (.SF2)") | kBankFeatures |
                                         featureBits({features::FixedKey, features::HighResonance});
inline constexpr io::CapabilityMask kCapabilities =
    io::encodingBit(SampleEncoding::Pcm16) | io::encodingBit(SampleEncoding::Pcm24) | io::kMono | io::kStereo;

inline constexpr io::CapabilityMask kCompressedCapabilities =
    io::encodingBit(SampleEncoding::Codec) | io::kMono | io::kStereo;

/// Variant of the row whose writer compresses the samples: Ogg Vorbis or FLAC by the compression setting.
inline constexpr std::uint32_t kCompressedVariant = 1;
double describeSetting(int index, std::uint32_t variant, std::u16string* label);
std::u16string missingLibraries(bool writing);

}  // namespace vemko::soundfont
