#include "core/filter.h"

#include <cmath>

#include "core/parameters.h"

namespace vemko {
namespace {

constexpr double kLogPerSemitone = 0.0577622652;  // ln 2 / 12

}  // namespace

void scaleCutoff(SlotValues& values, double log) {
  values[slots::FilterCutoff] = static_cast<float>(values[slots::FilterCutoff] * std::exp(log));
}

FilterType filterTypeOf(const SlotValues& values) {
  const float number = values[slots::FilterType];
  return number >= 1 && number <= 12 ? static_cast<FilterType>(static_cast<int>(number)) : FilterType::Off;
}

constexpr float kOpenHertz = 19900;

bool isLowPass(FilterType type) {
  switch (type) {
    case FilterType::LowPass1:
    case FilterType::LowPass2:
    case FilterType::LowPass3:
    case FilterType::LowPass4:
    case FilterType::LowPass6:
    case FilterType::LowPass2Ladder:
      return true;
    default:
      return false;
  }
}

bool isWideOpen(const SlotValues& values) {
  if (!isLowPass(filterTypeOf(values)) || values[slots::FilterCutoff] < kOpenHertz) return false;
  const SlotRange filter = slotsOf(SlotGroup::Filter);
  for (Slot slot = filter.first; slot <= filter.last; ++slot)
    if (slot != slots::FilterType && slot != slots::FilterCutoff && values[slot] != 0) return false;
  return true;
}

bool applyOpenFilterRule(SlotValues& values) {
  if (values[slots::FilterCutoff] < kOpenHertz || values[slots::FilterResonance] > 0) {
    values[slots::FilterType] = static_cast<float>(FilterType::LowPass2);
    return true;
  }
  resetGroup(values, SlotGroup::Filter);
  return false;
}

void undoOpenFilterRule(SlotValues& values) {
  if (isLowPass(filterTypeOf(values))) return;
  const SlotRange filter = slotsOf(SlotGroup::Filter);
  for (Slot slot = filter.first; slot <= filter.last; ++slot) values[slot] = 0;
  values[slots::FilterCutoff] = 20000;
}

void applyVelocityToCutoff(float semitones, SlotValues& values) {
  if (semitones == 0) return;
  values[slots::VelocityToCutoff] = semitones / 2;
  scaleCutoff(values, values[slots::VelocityToCutoff] * kLogPerSemitone);
}

float undoVelocityToCutoff(SlotValues& values) {
  const float half = values[slots::VelocityToCutoff];
  scaleCutoff(values, -half * kLogPerSemitone);
  return half * 2;
}

void applyResonanceToVolume(SlotValues& values) {
  values[slots::MasterVolume] -= 0.5f * values[slots::FilterResonance];
}

void undoResonanceToVolume(SlotValues& values) {
  values[slots::MasterVolume] += 0.5f * values[slots::FilterResonance];
}

}  // namespace vemko
