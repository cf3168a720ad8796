#include "core/key_rules.h"

#include <algorithm>
#include <cmath>

#include "core/filter.h"
#include "core/parameters.h"

namespace vemko {

void applyKeyToCutoff(float slotValue, KeySource source, SlotValues& values) {
  values[slots::KeyToCutoff] = slotValue;
  scaleCutoff(values, slotValue * (source == KeySource::Bipolar ? -0.019254088 : 0.28881133));
}

float undoKeyToCutoff(SlotValues& values) {
  const float slotValue = values[slots::KeyToCutoff];
  scaleCutoff(values, slotValue * 0.019254088);
  return slotValue;
}

void applyKeyToVolume(float slotValue, KeySource source, SlotValues& values) {
  values[slots::KeyToVolume] = slotValue;
  values[slots::MasterVolume] += source == KeySource::Bipolar ? -slotValue / 3 : 5 * slotValue;
}

float undoKeyToVolume(SlotValues& values) {
  const float slotValue = values[slots::KeyToVolume];
  values[slots::MasterVolume] += slotValue / 3;
  return slotValue;
}

void settleFixedNote(const Region& region, ArticulationBlock& articulation) {
  if (region.fixedKey != Region::kNotSet) {
    const auto keys = static_cast<float>(region.fixedKey - effectiveRootKey(region));
    articulation.add(slots::MasterTuning, keys * articulation.get(slots::KeyToPitch));
    articulation.set(slots::KeyToPitch, 0);
  }
  if (region.fixedVelocity != Region::kNotSet) {
    const float share = std::max<float>(region.fixedVelocity, 1) / 127;
    articulation.add(slots::MasterVolume, 40 * std::log10(share) * articulation.get(slots::VelocityResponse));
    articulation.set(slots::VelocityResponse, 0);
  }
}

void settleScaleOfOneKey(const Region& region, ArticulationBlock& articulation) {
  if (region.keys.low != region.keys.high) return;
  const auto keys = static_cast<float>(region.keys.low - effectiveRootKey(region));
  articulation.add(slots::MasterTuning, keys * (articulation.get(slots::KeyToPitch) - 1));
  articulation.set(slots::KeyToPitch, 1);
}

}  // namespace vemko
