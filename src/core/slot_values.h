#pragma once
// Every slot's value at once, for code that converts whole blocks between formats; and which of the
// modulators among the slots do anything.
#include <array>
#include <cstdint>

#include "core/articulation.h"
#include "core/sends.h"

namespace vemko {

struct SlotValues {
  std::array<float, kSlotCount> slots;
  float operator[](Slot slot) const { return slots[slot]; }
  float& operator[](Slot slot) { return slots[slot]; }
  friend bool operator==(const SlotValues&, const SlotValues&) = default;
};

/// The defaults of the parameter table.
const SlotValues& initialValues();
/// The block's values, defaults where it sets none.
SlotValues valuesOf(const ArticulationBlock& block);
/// The block that sets exactly the slots which differ from their defaults.
ArticulationBlock blockOf(const SlotValues& values);
/// Writes the group's defaults back.
void resetGroup(SlotValues& values, SlotGroup group);

/// Makes channel 1 the reverb's and channel 3 the chorus', whichever they were: what a listener hears of the
/// sends does not depend on the numbers of their channels.
void orderSends(const SendEffects& effects, SlotValues& values);

/// The LFOs and envelopes whose settings mean nothing unless they lead somewhere. The volume envelope always
/// does.
enum class Carrier : std::uint8_t { None, PLfo, VLfo, FLfo, XLfo, PEnv, FEnv, XEnv };
/// Whether one of the carrier's depths, direct or by a controller, is not 0; true for None.
bool isInUse(const SlotValues& values, Carrier carrier);

}  // namespace vemko
