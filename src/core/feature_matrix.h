#pragma once
// Which articulation features each target format can hold.
#include <cstdint>
#include <span>
#include <string_view>

namespace vemko {

inline constexpr int kFeatureCount = 46;

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
