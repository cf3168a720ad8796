#pragma once
// From a region's opcodes to the slots of its articulation, and back.
//
// Velocity, in a file a source of 0 to 1, is one of -1 to 1 in the slots: the slot takes half of the way, and
// what it adds to moves by that half. Key tracking is centred on middle C in the slots, on any key in a file.
#include <array>
#include <bitset>
#include <string>
#include <string_view>
#include <vector>

#include "core/midi_range.h"
#include "core/sends.h"
#include "core/slot_values.h"
#include "formats/sfz/sfz_lines.h"
#include "formats/sfz/sfz_opcodes.h"

namespace vemko::sfz {

/// One opcode of a numbered equaliser band, LFO or envelope.
struct NumberedOpcode {
  OpcodeKey key;
  double number = 0;
};

/// What the opcodes that hold for one region say.
struct RegionOpcodes {
  SlotValues slots = initialValues();  ///< By the direct rows; defaults otherwise.
  std::bitset<kSlotCount> givenSlots;
  std::array<double, kSlotCount>
      amounts{};  ///< Of the rows of Field::Amount, and the unrounded values of direct ones.
  std::array<double, kFieldCount> fields{};
  std::bitset<kFieldCount> given;
  std::array<double, 4> sends{}, sendControllers{};
  std::bitset<4> givenSendControllers;
  std::vector<NumberedOpcode> numbered;  ///< Sorted by key.
  std::string_view sample, label;

  bool has(Field field) const { return given[static_cast<std::size_t>(field)]; }
  double get(Field field, double otherwise) const {
    return has(field) ? fields[static_cast<std::size_t>(field)] : otherwise;
  }
};

/// What the opcodes of a region are seen against.
struct RegionFacts {
  /// What the sample file itself says of pitch and level and players do not look at: the slots take it back.
  double tuneCents = 0, volumeDb = 0;
  MidiRange keys{};
};

/// What the region's opcodes mean; slots at their defaults are not set. The channels are those of effect1 to
/// effect4.
ArticulationBlock articulationOf(const RegionOpcodes& opcodes, const RegionFacts& facts,
                                 const EffectChannels& channels);
/// The opcodes that read as the block's values; what the dialect cannot say stays away.
void putArticulation(const ArticulationBlock& block, const RegionFacts& facts, const EffectChannels& channels,
                     OpcodeLines& out);

// --- Parts of these, in files of their own.

/// Times that velocity, the key or a controller changes. The keys are those that such a time is for: a file
/// moves it in a straight line over them, the slots by a factor.
void applyTimes(const RegionOpcodes& opcodes, MidiRange keys, SlotValues& values);
/// One stage of an envelope whose time depends on more than the time itself.
struct StageTime {
  double seconds = 0;  ///< At velocity 0, key 0, controllers at 0.
  double velocitySeconds = 0, keySeconds = 0, controllerSeconds = 0;  ///< Added at the other end.
};
struct StageSlots {
  Slot time, velocity, key, controller;  ///< controller 0: there is none.
};
void applyStageTime(const StageTime& time, const StageSlots& slots, MidiRange keys, SlotValues& values);
/// Delay, attack, hold, decay and release of an envelope.
std::array<StageSlots, 5> stageSlotsOf(Slot envelope);
/// Names of the opcodes for the parts of a StageTime.
struct StageNames {
  std::string seconds, velocity, key, controller;
};
/// Puts the numbers, times `scale`, in the shortest forms that together read back as the slots' values.
void putStageTime(const SlotValues& values, const StageSlots& slots, MidiRange keys, double scale,
                  const StageNames& names, OpcodeLines& out);
void putTimes(const SlotValues& values, Slot envelope, MidiRange keys, std::string_view prefix,
              OpcodeLines& out);

/// Whether an envelope is delay, attack to the top, hold, decay to the sustain level and release to the
/// bottom.
bool isSixStage(const SlotValues& values, Slot envelope);

/// Equaliser bands, and the LFOs and envelopes of the second version.
void applyNumbered(const RegionOpcodes& opcodes, MidiRange keys, SlotValues& values);
void putEqualiser(const SlotValues& values, OpcodeLines& out);
void putLfo(const SlotValues& values, Carrier carrier, OpcodeLines& out);
void putEnvelope(const SlotValues& values, Slot envelope, MidiRange keys, OpcodeLines& out);

}  // namespace vemko::sfz
