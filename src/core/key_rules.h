#pragma once
// What the key number does, which the instrument formats say from another key than the model. A rule comes
// with its undo; a writer undoes in the reverse order of its reader.
#include <cstdint>

#include "core/collection.h"
#include "core/slot_values.h"

namespace vemko {

/// The slots' source is 0 at middle C, a bipolar one of a file at key 64, a unipolar one at key 0.
enum class KeySource : std::uint8_t { Bipolar, Unipolar };

/// Key number to cutoff: the cutoff moves to what it is at middle C.
void applyKeyToCutoff(float slotValue, KeySource source, SlotValues& values);
/// For a bipolar source. The cutoff moves back; the slot's value.
float undoKeyToCutoff(SlotValues& values);

/// Key number to volume, in dB an octave: the volume moves to what it is at middle C.
void applyKeyToVolume(float slotValue, KeySource source, SlotValues& values);
/// For a bipolar source. The volume moves back; the slot's value.
float undoKeyToVolume(SlotValues& values);

/// A region that always sounds as if one key were played, or with one velocity, says so in its articulation
/// by what pitch and volume come to; for formats that have no fixed notes.
void settleFixedNote(const Region& region, ArticulationBlock& articulation);
/// Where one key plays, the scale of the keys comes to a tuning; for formats in which it is always 1
/// semitone.
void settleScaleOfOneKey(const Region& region, ArticulationBlock& articulation);

}  // namespace vemko
