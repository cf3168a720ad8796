#pragma once
// DownLoadable Sounds collections, levels 1 and 2: a collection of items whose regions hang below their
// instrument and play waves of a pool.
#include "io/format_entry.h"

namespace vemko::dls {

int probeCollection(Bytes head, std::uint32_t variant, std::uint64_t fileSize);

/// Reads the lists; samples stay in the file. Fails with "Not a RIFF DLS file".
bool readCollection(Collection& collection, InputFile& file, std::uint32_t variant);

/// Writes a collection or a single instrument; the variant is the level: 1, 2, 3 for 2+ and 4 for 2++. Fails
/// with "The file format can not save this item", and with "Empty item - nothing to save" for a collection of
/// songs alone.
bool writeCollection(Item& item, OutputFile& file, const io::SaveOptions& options);

// Level 2 keeps the sides of stereo waves apart, as players expect that join the regions of a phase group.
// Level 1 cannot play two regions at once: stereo waves stay whole there, for players that have more than the
// level asks for.
inline constexpr io::CapabilityMask kLevel2Capabilities = io::encodingBit(SampleEncoding::Pcm8) |
                                                          io::encodingBit(SampleEncoding::Pcm16) | io::kMono |
                                                          io::kLinkedStereo;
/// Texts stand with every item. Level 1 has one LFO, which the mod wheel alone can open.
inline constexpr FeatureMask kTextFeatures =
    featureBits({features::InstrumentTexts, features::WaveTexts, features::Artists});
inline constexpr FeatureMask kLevel1Features =
    (profileFeatures(u"DLS level 1 melodic (.DLS)") | kBankFeatures | kTextFeatures |
     featureBit(features::PannedStereo)) &
    ~featureBits({features::AftertouchToLfos, features::FourthLfo});
inline constexpr FeatureMask kLevel2Features =
    profileFeatures(u"DLS level 2 (.DLS)") | kBankFeatures | kTextFeatures;
inline constexpr FeatureMask kLevel2PlusFeatures = profileFeatures(u"DLS level 2+ (.DLS)") | kBankFeatures |
                                                   kTextFeatures | featureBit(features::PannedStereo);
inline constexpr FeatureMask kLevel2PlusPlusFeatures =
    profileFeatures(u"DLS level 2++ (.DLS)") | kBankFeatures | kTextFeatures |
    featureBits({features::HighResonance, features::PannedStereo});
inline constexpr io::CapabilityMask kLevel1Capabilities =
    io::encodingBit(SampleEncoding::Pcm8) | io::encodingBit(SampleEncoding::Pcm16) | io::kMono | io::kStereo;
inline constexpr io::CapabilityMask kLevel2PlusCapabilities =
    kLevel1Capabilities | io::encodingBit(SampleEncoding::Pcm24) | io::encodingBit(SampleEncoding::MuLaw) |
    io::encodingBit(SampleEncoding::ALaw);

}  // namespace vemko::dls
