#pragma once
// The filter's types, and rules about it that the instrument formats share. Where a rule changes several
// slots it comes with its undo; a writer undoes in the reverse order of its reader.
#include <cstdint>

#include "core/slot_values.h"

namespace vemko {

/// Values of the slot "Filter type". Poles are 6 dB an octave each.
enum class FilterType : std::uint8_t {
  Off,
  LowPass1,
  LowPass2,
  LowPass3,
  LowPass4,
  HighPass1,
  HighPass2,
  HighPass4,
  BandPass1,
  LowPass6,
  LowPass2Ladder,  ///< Two poles without make-up of the level at low cutoffs.
  BandPass2,
  BandReject2,
};
/// Off for numbers that are no type.
FilterType filterTypeOf(const SlotValues& values);
bool isLowPass(FilterType type);

/// A low-pass filter that is open to 19900 Hz or more, has no peak and never moves: it is not heard.
bool isWideOpen(const SlotValues& values);
/// A low-pass filter that is open to 19900 Hz or more and has no peak is none: the group goes back to its
/// defaults and the answer is false. Otherwise the filter is a two-pole low-pass.
bool applyOpenFilterRule(SlotValues& values);
/// A filter that is no low-pass becomes open to 20000 Hz, without peak and modulation.
void undoOpenFilterRule(SlotValues& values);

/// Velocity to cutoff from a source that is 0 at its end, `semitones` over its whole way: the slot, whose
/// source is 0 in the middle, takes half, and the cutoff moves by that half.
void applyVelocityToCutoff(float semitones, SlotValues& values);
/// The cutoff moves back; the way in semitones.
float undoVelocityToCutoff(SlotValues& values);

/// The cutoff times e^log.
void scaleCutoff(SlotValues& values, double log);

/// A peak makes the sound louder; half of it is taken back from the volume.
void applyResonanceToVolume(SlotValues& values);
void undoResonanceToVolume(SlotValues& values);

}  // namespace vemko
