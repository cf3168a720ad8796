#pragma once
// Which articulation features each target format can hold.
#include <cstdint>
#include <span>
#include <string_view>

namespace vemko {

inline constexpr int kFeatureCount = 46;

/// The features by their numbers.
namespace features {
enum : int {
  CrossFades,
  OnInstruments,
  OnLayers,
  OnRegions,
  CompressedWaves = 5,
  FractionalLoops = 7,
  ReverseLoops,
  SampledRelease,
  PlaySections,
  LoopTuning,
  DelayTime,
  TriggerTypes,
  TwoLfos,
  SeparateLfos,
  LfoShapes,
  LfoFades,
  LfoControllers,
  TwoEnvelopes,
  SeparateEnvelopes,
  SixStages,
  MoreLevels,
  ThreeReleases,
  KeyToAttackRelease,
  VelocityToAttack1,
  VelocityToAttack2,
  VelocityToDecay,
  VelocityToRelease,
  VelocityToEnvelopes,
  LowPassFilter,
  OtherFilters,
  ControllersToCutoff,
  KeyVelocityToCutoff,
  ToResonance,
  SendLevels,
  Equalizer,
  ChannelDepths,
  KeyToVolumePan,
  RandomPan,
  PitchBend,
  KeyToPitch,
  RandomPitchVolume,
  ControllersToVolume,
  ControllersToTimes,
  ControllersToFilter,
};
static_assert(ControllersToFilter == kFeatureCount - 1);
}  // namespace features

/// The feature's name ("Trigger: Delay time"); empty for the two bits that no format uses.
std::u16string_view featureName(int feature);

struct FeatureProfile {
  std::u16string_view name;  ///< "SoundFont 2.01 (.SF2)", ...
  std::uint64_t features;    ///< Bit n set: the format holds feature n.
};

/// All 24 profiles; the first holds everything, the last nothing.
std::span<const FeatureProfile> featureProfiles();
constexpr bool supportsFeature(std::uint64_t features, int feature) { return features >> feature & 1; }

}  // namespace vemko
