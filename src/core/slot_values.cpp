#include "core/slot_values.h"

#include <algorithm>

#include "core/parameters.h"

namespace vemko {
namespace {

// The depth slots of each carrier, by its number.
constexpr std::array<std::array<Slot, 5>, 8> kDepths = {{
    {},
    {4, 5, 6, 7, 7},
    {19, 20, 21, 22, 22},
    {31, 32, 33, 34, 34},
    {8, 9, 10, 11, 58},
    {12, 13, 13, 13, 13},
    {35, 36, 36, 36, 36},
    {59, 59, 59, 59, 59},
}};

}  // namespace

const SlotValues& initialValues() {
  static const SlotValues initial = [] {
    SlotValues values;
    for (const Parameter& row : parameterTable()) values[row.slot] = row.initial;
    return values;
  }();
  return initial;
}

SlotValues valuesOf(const ArticulationBlock& block) {
  SlotValues values = initialValues();
  block.forEach([&](Slot slot, float value) { values[slot] = value; });
  return values;
}

ArticulationBlock blockOf(const SlotValues& values) {
  ArticulationBlock block;
  block.setDifferences(values.slots, initialValues().slots);
  return block;
}

void resetGroup(SlotValues& values, SlotGroup group) {
  const SlotRange range = slotsOf(group);
  for (Slot slot = range.first; slot <= range.last; ++slot) values[slot] = initialValues()[slot];
}

void orderSends(const SendEffects& effects, SlotValues& values) {
  static const EffectChannels usual = effectChannels({});
  const EffectChannels channels = effectChannels(effects);
  if (channels == usual) return;
  const SlotValues before = values;
  for (std::size_t i = 0; i < channels.size(); ++i) {
    values[sendLevelSlot(usual[i])] = before[sendLevelSlot(channels[i])];
    values[sendControllerSlot(usual[i])] = before[sendControllerSlot(channels[i])];
  }
}

bool isInUse(const SlotValues& values, Carrier carrier) {
  if (carrier == Carrier::None) return true;
  const auto& depths = kDepths[static_cast<std::size_t>(carrier)];
  return std::ranges::any_of(depths, [&](Slot slot) { return values[slot] != 0; });
}

}  // namespace vemko
