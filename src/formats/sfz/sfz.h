#pragma once
// SFZ instrument definitions: a text of headers and opcodes that refers to sample files. One file is one
// instrument, each <group> a layer, each <region> a region.
#include "io/format_entry.h"

namespace vemko::sfz {

/// Variants of the writing rows: the dialect, and where the sample files go.
inline constexpr std::uint32_t kSubFolder = 1;  ///< Into the folder kSampleFolder beside the file.
inline constexpr std::uint32_t kVersion2 = 2;
inline constexpr std::u16string_view kSampleFolder = u"samples";

int probeSfz(Bytes head, std::uint32_t variant, std::uint64_t fileSize);

/// Reads the text and the headers of the sample files. A sample that cannot be opened is logged as "Couldn't
/// openwave" and its regions play nothing; files that are no audio are never read as samples, wherever they
/// are.
bool readSfz(Collection& collection, InputFile& file, std::uint32_t variant);

/// Writes an instrument, or a collection of one, and the sample files that it plays. SaveOptions::extra names
/// their format (io::SampleFiles), SaveOptions::companions knows what other saves of the run have written.
/// Fails with "The file format can not save this item", "Could not create file" and what reading and writing
/// of samples can fail with; the sample files of a failed save are removed.
bool writeSfz(Item& item, OutputFile& file, const io::SaveOptions& options);

/// What one of the formats for samples can store.
/// Texts and loops go into the sample files, as far as these take them.
inline constexpr FeatureMask kVersion1Features =
    (profileFeatures(u"SFZ v1 (.SFZ)") & ~featureBits({features::KeyToAttackRelease})) |
    featureBits({features::Loops, features::MoreLoops, features::Markers, features::SectionEnds,
                 features::ExclusiveGroups, features::FixedKey, features::PlayRules, features::SeparateLfos,
                 features::SeparateEnvelopes, features::RandomPan, features::SilentRegions,
                 features::PannedStereo, features::HighResonance, features::AftertouchToLfos,
                 features::MoreSends, features::HoldPedal, features::WaveTexts, features::Images,
                 features::RootKeys});
inline constexpr FeatureMask kVersion2Features =
    profileFeatures(u"SFZ v2 (.SFZ)") | kVersion1Features |
    featureBits({features::ChannelDepths, features::SteepFilters, features::PanModulation,
                 features::KeyToDecay, features::FourthLfo, features::EqualizerShelves});
inline constexpr io::CapabilityMask kCapabilities =
    io::kMono | io::kStereo | io::encodingBit(SampleEncoding::Pcm8) | io::encodingBit(SampleEncoding::Pcm12) |
    io::encodingBit(SampleEncoding::Pcm16) | io::encodingBit(SampleEncoding::Pcm20) |
    io::encodingBit(SampleEncoding::Pcm24) | io::encodingBit(SampleEncoding::Pcm32) |
    io::encodingBit(SampleEncoding::Float32) | io::encodingBit(SampleEncoding::MuLaw) |
    io::encodingBit(SampleEncoding::ALaw) | io::encodingBit(SampleEncoding::Codec);

}  // namespace vemko::sfz
