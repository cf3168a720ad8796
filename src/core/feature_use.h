#pragma once
// Which features an item really uses: what a format that lacks them would drop.
#include <array>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "core/collection.h"
#include "core/feature_matrix.h"

namespace vemko {

/// A set of features: bit n of `low` stands for feature n of the matrix, the features below follow.
struct FeatureMask {
  std::uint64_t low = 0, high = 0;

  constexpr FeatureMask(std::uint64_t lowBits = 0, std::uint64_t highBits = 0)
      : low(lowBits), high(highBits) {}
  constexpr explicit operator bool() const { return (low | high) != 0; }
  constexpr bool has(int feature) const { return ((feature < 64 ? low : high) >> feature % 64 & 1) != 0; }
  constexpr FeatureMask operator~() const { return {~low, ~high}; }
  constexpr FeatureMask& operator|=(FeatureMask o) { return *this = {low | o.low, high | o.high}; }
  constexpr FeatureMask& operator&=(FeatureMask o) { return *this = {low & o.low, high & o.high}; }
  friend constexpr FeatureMask operator|(FeatureMask a, FeatureMask b) { return a |= b; }
  friend constexpr FeatureMask operator&(FeatureMask a, FeatureMask b) { return a &= b; }
  friend constexpr bool operator==(FeatureMask a, FeatureMask b) = default;
};

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
  Texts,             ///< Of the collection, other than its name.
  RootKeys,          ///< Root key, fine tune and volume adjustment of a waveform.
  SilentRegions,     ///< Regions that play no waveform.
  AftertouchToLfos,  ///< And velocity; the matrix takes these together with the mod wheel.
  FourthLfo,         ///< The X-LFO.
  InstrumentTexts,   ///< Other than names.
  WaveTexts,         ///< Other than names.
  Images,
  HighResonance,  ///< More than kModestResonanceDb.
  SteepFilters,   ///< Of more than two poles.
  MoreSends,      ///< Sends beside reverb and chorus.
  PanModulation,  ///< An LFO or an envelope moves the pan.
  PannedStereo,   ///< Stereo out of the centre: a pair of mono waveforms loses the pan of its near side.
  EqualizerShelves,
  HoldPedal,  ///< CC 69 makes the release longer.
  Artists,    ///< Of the collection, in a place that is not the engineer's.
  Count
};
static_assert(Count <= 128);
}  // namespace features
constexpr FeatureMask featureBit(int feature) {
  const std::uint64_t bit = std::uint64_t{1} << feature % 64;
  return feature < 64 ? FeatureMask(bit) : FeatureMask(0, bit);
}
constexpr FeatureMask featureBits(std::initializer_list<int> list) {
  FeatureMask mask = 0;
  for (int feature : list) mask |= featureBit(feature);
  return mask;
}
inline constexpr float kModestResonanceDb = 22.5f;
inline constexpr FeatureMask kAllFeatures = ~FeatureMask();

/// What sound banks hold besides their profile of the matrix.
inline constexpr FeatureMask kBankFeatures =
    featureBits({features::Loops, features::KeyToDecay, features::ExclusiveGroups, features::Patches,
                 features::Texts, features::AftertouchToLfos, features::FourthLfo, features::RootKeys});

/// What a file of one waveform holds: `held` of all that there is to say of waveforms besides their samples.
/// Of articulation nobody asks it. What is played of a waveform is a marker there, or a section.
constexpr FeatureMask waveFileFeatures(std::initializer_list<int> held) {
  using namespace features;
  constexpr FeatureMask kOfWaves =
      featureBits({features::Loops, features::MoreLoops, FractionalLoops, ReverseLoops, SampledRelease,
                   LoopTuning, features::Markers, SectionEnds, WaveTexts, Images, RootKeys});
  constexpr FeatureMask kMarks = featureBits({features::Markers, SectionEnds});
  const FeatureMask mask = featureBits(held);
  return (mask | ~kOfWaves) & ~((mask & kMarks) == kMarks ? FeatureMask() : featureBit(PlaySections));
}

/// "Waves: Fractional loop-points", "Waves: Markers", ...; empty for bits that no feature has.
std::u16string_view featureText(int feature);

struct FeatureUse {
  int feature = 0;
  /// Regions, waveforms or, for the levels of articulation, instruments; kNoItem for the collection.
  std::vector<ItemId> places;
};

/// What the item and everything that it plays use, by feature. A slot counts when it is not at its default
/// and what it belongs to does something.
std::vector<FeatureUse> featuresUsed(const Item& item);
/// The features of one region, with the articulation that it plays with, of one waveform, and of a collection
/// without its items.
FeatureMask featuresOf(const Region& region);
FeatureMask featuresOf(const Waveform& waveform);
FeatureMask featuresOf(const Collection& collection);

/// The features that a format must have to hold the slot's value, as far as it needs any.
FeatureMask featuresOfSlot(Slot slot);

/// What of `used` a format loses that holds `held`. Levels of articulation are no loss as long as each region
/// can have its own, and without loops the particulars of loops are no news.
FeatureMask lostFeatures(FeatureMask used, FeatureMask held);

}  // namespace vemko
