#include "core/feature_matrix.h"

#include <iterator>

namespace vemko {
namespace {

// One row a feature, by its bit.
// clang-format off
constexpr std::u16string_view kFeatureNames[] = {
    u"Trigger: X-fade between regions",
    u"Architecture: Articulation on Instrument level",
    u"Architecture: Articulation on Layer level",
    u"Architecture: Articulation on Region level",
    u"",
    u"Waves: Compressed data formats",
    u"",
    u"Waves: Fractional loop-points",
    u"Waves: Reverse and bi-directional loops",
    u"Waves: Sampled release (key-up breaks loop)",
    u"Trigger: Waveform play section section (start/end offsets)",
    u"Waves: Tuning of loop pitch",
    u"Trigger: Delay time",
    u"Trigger: Trigger type",
    u"LFOs: Pitch/Modulation LFOs (2+ LFOs)",
    u"LFOs: Separate P/V/F/X LFOs (3+ LFOs)",
    u"LFOs: Shapes",
    u"LFOs: Ramp time",
    u"LFOs: MW/AT/Velocity to LFO",
    u"Envs: Modulation/Volume envelopes (2+ envs)",
    u"Envs: Separate P/V/F/X envelopes (3+ envs)",
    u"Envs: Six-stages (DAHDSR)",
    u"Envs: More levels + bi-directional (AADDSR)",
    u"Envs: Three Release segments",
    u"Envs: Key to Attack/Release",
    u"Envs: Velocity to Attack 1 Time (Delay)",
    u"Envs: Velocity to Attack 2 Time (Attack)",
    u"Envs: Velocity to Decay 1/2 Time (Hold/Decay)",
    u"Envs: Velocity to Release Rate",
    u"Envs: Velocity to M-EG to Pitch/Cutoff",
    u"Filter: Low Pass Filter",
    u"Filter: Additional filter types",
    u"Filter: Mod wheel/Aftertouch to Cutoff",
    u"Filter: Key/Velocity to Cutoff",
    u"Filter: Velocity/MWheel/Aftertouch to Resonance",
    u"Effects: Effect send levels",
    u"Effects: EQ",
    u"Mixer: Channel command depths",
    u"Mixer: Key to Volume/Pan",
    u"Random: Random to Pan",
    u"Pitch: Pitch bend to Pitch",
    u"Pitch: Key to Pitch",
    u"Random: Random to Pitch/Volume",
    u"Volume: Mod wheel/Aftertouch to Volume",
    u"Envs: CC73/72 to Attack/Release",
    u"Filter: CC74/71 to Cutoff/Resonance",
};
static_assert(std::size(kFeatureNames) == kFeatureCount);

// clang-format on

// A profile other than the first has only features that have a name.
constexpr bool profilesAreSound() {
  for (std::size_t i = 1; i < std::size(kFeatureProfiles); ++i)
    for (int bit = 0; bit < 64; ++bit)
      if (supportsFeature(kFeatureProfiles[i].features, bit) &&
          (bit >= kFeatureCount || kFeatureNames[bit].empty()))
        return false;
  return kFeatureProfiles[0].features == ~std::uint64_t{0} && std::rbegin(kFeatureProfiles)->features == 0;
}
static_assert(profilesAreSound());

}  // namespace

std::u16string_view featureName(int feature) {
  return feature >= 0 && feature < kFeatureCount ? kFeatureNames[feature] : std::u16string_view();
}

}  // namespace vemko
