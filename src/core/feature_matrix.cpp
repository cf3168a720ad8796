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

constexpr FeatureProfile kProfiles[] = {
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

// A profile other than the first has only features that have a name.
constexpr bool profilesAreSound() {
  for (std::size_t i = 1; i < std::size(kProfiles); ++i)
    for (int bit = 0; bit < 64; ++bit)
      if (supportsFeature(kProfiles[i].features, bit) && (bit >= kFeatureCount || kFeatureNames[bit].empty()))
        return false;
  return kProfiles[0].features == ~std::uint64_t{0} && std::rbegin(kProfiles)->features == 0;
}
static_assert(profilesAreSound());

}  // namespace

std::u16string_view featureName(int feature) {
  return feature >= 0 && feature < kFeatureCount ? kFeatureNames[feature] : std::u16string_view();
}

std::span<const FeatureProfile> featureProfiles() { return kProfiles; }

}  // namespace vemko
