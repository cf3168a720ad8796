#pragma once
// Which articulation features each target format can hold.
#include <cstdint>
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

// clang-format off
/// The first holds everything, the last nothing.
inline constexpr FeatureProfile kFeatureProfiles[] = {
    {u"All parameters supported by Vemko Studio",       0xFFFFFFFFFFFFFFFF},
    {u"Akai S1000-series (.P)",                         0x0B42740C4E88},
    {u"Akai S3000-series (.P)",                         0x0B43740D4E88},
    {u"Akai new MPC-line (.XPM)",                       0x0783C41D2108},
    {u"DLS level 1 melodic (.DLS)",                     0x0000040C0002},
    {u"DLS level 2 (.DLS)",                             0x022A442C420A},
    {u"DLS level 2+ (.DLS)",                            0x022A442C422A},
    {u"DLS level 2++ (.DLS)",                           0x0A6F5F2C422A},
    {u"GigaStudio (.GIG)",                              0x0300400C6608},
    {u"Gravis UltraSound GF1 (.PAT)",                   0x020000C04388},
    {u"Kontakt (.NKI)",                                 0x3F5FFD2D6F2D},
    {u"Korg Trinity (.PCG)",                            0x0B4EFF6F3404},
    {u"Korg Triton (.PCG)",                             0x0B4FFF6F7C04},
    {u"Korg Kronos/M3 (.PCG)",                          0x0B5FFF6F7C05},
    {u"Kurzweil K2000-series (.KRZ)",                   0x0753DFEC4704},
    {u"SFZ v1 (.SFZ)",                                  0x3F5BFF2E772D},
    {u"SFZ v2 (.SFZ)",                                  0x3F5FFFEF7F2F},
    {u"SoundFont 2.0 (.SF2)",                           0x02084428460C},
    {u"SoundFont 2.01 (.SF2)",                          0x3B6F7F2C460C},
    {u"Yamaha Motif/Motif ES (.W2V/.W7V)",              0x0B5FE46F5004},
    {u"Yamaha Motif XS/Motif XF (.X0V/.X3V)",           0x0B5FE46F7404},
    {u"Yamaha Montage/MODX/Montage M (.X7U/.X8U/.Y2U)", 0x3B7FE46F7404},
    {u"Yamaha Tyros 2/3 normal voice (.TVN/.UVN)",      0x0A1FE66F5004},
    {u"Minimal for portability",                        0x000000000000},
};
// clang-format on

/// The features of a profile; a name that is none does not compile.
consteval std::uint64_t profileFeatures(std::u16string_view name) {
  for (const FeatureProfile& profile : kFeatureProfiles)
    if (profile.name == name) return profile.features;
  throw "no such profile";
}
constexpr bool supportsFeature(std::uint64_t features, int feature) { return features >> feature & 1; }

}  // namespace vemko
