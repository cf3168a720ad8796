#include "core/key_rules.h"

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

}  // namespace vemko
