#pragma once
// Which features an item really uses: what a format that lacks them would drop.
#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "core/collection.h"
#include "core/feature_matrix.h"

namespace vemko {

/// Bit n stands for feature n of the matrix; the features below follow.
using FeatureMask = std::uint64_t;

/// What formats differ in besides the matrix.
namespace features {
enum : int {
  Loops = kFeatureCount,
  MoreLoops,  ///< Loops besides the main loop.
  Markers,
  SectionEnds,  ///< A section's end; a format with positions only keeps its start.
  KeyToDecay,
  FixedKey,  ///< Every note sounds as one key, or with one velocity.
  ExclusiveGroups,
  PlayRules,         ///< Rounds, random choice, controllers, one-shots, groups that others stop.
  Patches,           ///< Bank and program numbers, and the drum kit flag.
  Texts,             ///< Other than names.
  VolumeAdjustment,  ///< Of a waveform.
  Count
};
}  // namespace features
constexpr FeatureMask featureBit(int feature) { return FeatureMask{1} << feature; }
inline constexpr FeatureMask kAllFeatures = ~FeatureMask{0};

/// "Waves: Fractional loop-points", "Waves: Markers", ...; empty for bits that no feature has.
std::u16string_view featureText(int feature);

struct FeatureUse {
  int feature = 0;
  std::vector<ItemId> places;  ///< Regions, waveforms or, for the levels of articulation, instruments.
};

/// What the item and everything that it plays use, by feature. A slot counts when it is not at its default
/// and what it belongs to does something.
std::vector<FeatureUse> featuresUsed(const Item& item);
/// The features of one region, with the articulation that it plays with, and of one waveform.
FeatureMask featuresOf(const Region& region);
FeatureMask featuresOf(const Waveform& waveform);

/// The features that a format must have to hold the slot's value, as far as it needs any.
FeatureMask featuresOfSlot(Slot slot);

/// What of `used` a format loses that holds `held`. Levels of articulation are no loss as long as each region
/// can have its own, and without loops the particulars of loops are no news.
FeatureMask lostFeatures(FeatureMask used, FeatureMask held);

}  // namespace vemko
