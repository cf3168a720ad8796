#pragma once
// The parameter table: one row per articulation slot.
#include <span>
#include <string>
#include <string_view>

#include "core/articulation.h"

namespace vemko {

enum class Unit : std::uint8_t {
  None,
  Semitones,
  Decibels,
  Hertz,
  Seconds,
  Fraction,
  Percent,
  Multiplier,
  Choice,
  DecibelsPerOctave,
  PerOctave,
};

struct Parameter {
  Slot slot;
  Unit unit;
  float initial;
  float minimum;
  float maximum;
  std::u16string_view name;         ///< Empty for a reserved slot.
  std::u16string_view description;  ///< May be empty.

  constexpr bool reserved() const { return name.empty(); }
  /// The number shown to the user: 1-based.
  constexpr int number() const { return slot + 1; }
};

/// All 208 rows; row n describes slot n.
std::span<const Parameter> parameterTable();
inline const Parameter& parameter(Slot slot) { return parameterTable()[slot]; }
/// The value brought into the parameter's bounds; the default for NaN.
float boundedValue(Slot slot, float value);

/// Names for the slots that code speaks of. Envelope slots are a stage of one of the four envelopes.
namespace slots {
inline constexpr Slot MasterTuning = 0, RandomToPitch = 1, KeyToPitch = 2, BendToPitch = 3, PLfoToPitch = 4,
                      ModWheelToPLfoToPitch = 5, AftertouchToPLfoToPitch = 6, VelocityToPLfoToPitch = 7,
                      XLfoToPitch = 8, PEnvToPitch = 12, VelocityToPEnvToPitch = 13, MasterVolume = 14,
                      RandomToVolume = 15, KeyToVolume = 16, ModWheelToVolume = 17, AftertouchToVolume = 18,
                      VLfoToVolume = 19, VelocityResponse = 23, FilterType = 24, FilterCutoff = 25,
                      VelocityToCutoff = 26, KeyToCutoff = 27, ModWheelToCutoff = 28, AftertouchToCutoff = 29,
                      Cc74ToCutoff = 30, FLfoToCutoff = 31, FEnvToCutoff = 35, FilterResonance = 37,
                      VelocityToResonance = 38, ModWheelToResonance = 39, AftertouchToResonance = 40,
                      Cc71ToResonance = 41, Pan = 54, RandomToPan = 55, Cc10ToPan = 56, KeyToPan = 57,
                      Send1 = 60, PLfoShape = 68, PLfoFrequency = 69, PLfoDelay = 70, PLfoFade = 71,
                      VLfoShape = 72, FLfoShape = 76, XLfoShape = 80, VEnv = 84, PEnv = 115, FEnv = 146,
                      XEnv = 177;
}  // namespace slots

/// Stages of an envelope, as offsets from the slot of its initial level. Only the volume envelope has
/// HoldPedalToRelease1 and ShutdownRate, and the X envelope only those stages whose rows are not reserved.
enum class Stage : std::uint8_t {
  InitialLevel,
  Attack1Time,
  VelocityToAttack1,
  KeyToAttack1,
  Cc73ToAttack1,
  Attack1Level,
  Attack2Time,
  VelocityToAttack2,
  KeyToAttack2,
  Cc73ToAttack2,
  Attack2Level,
  Decay1Time,
  VelocityToDecay1,
  KeyToDecay1,
  Decay1Level,
  Decay2Time,
  VelocityToDecay2,
  KeyToDecay2,
  Sustain,
  Release1Rate,
  VelocityToRelease1,
  KeyToRelease1,
  Cc72ToRelease1,
  HoldPedalToRelease1,
  Release1Level,
  Release2Time,
  Release2Level,
  Release3Time,
  Release3Level,
  KeyReleaseMode,
  ShutdownRate,
};
constexpr Slot envelopeSlot(Slot envelope, Stage stage) {
  return static_cast<Slot>(envelope + static_cast<int>(stage));
}

}  // namespace vemko
