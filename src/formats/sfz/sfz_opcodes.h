#pragma once
// The vocabulary: one row an opcode, for reading and writing alike.
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "core/articulation.h"

namespace vemko::sfz {

/// What an opcode's value goes to. Direct rows are whole in themselves; the others are put together by the
/// rules of the articulation, or are fields of a region.
enum class Field : std::uint8_t {
  Direct,  ///< slot = number x factor
  Amount,  ///< The slot follows from this number and others, by a rule.
  Ignored,
  Sample,
  LowKey,
  HighKey,
  AllKeys,  ///< All three of lokey, hikey, pitch_keycenter.
  KeyCenter,
  LowVelocity,
  HighVelocity,
  ControllerLow,
  ControllerHigh,
  StartLow,
  StartHigh,
  GroupNumber,
  OffBy,
  OffMode,
  LowRandom,
  HighRandom,
  SequenceLength,
  SequencePosition,
  TriggerKind,
  SwitchLowKey,
  SwitchHighKey,
  SwitchLast,  ///< Both of the two that follow.
  SwitchLowLast,
  SwitchHighLast,
  SwitchAtStart,
  SwitchDown,
  SwitchUp,
  SwitchPrevious,
  FadeInLowKey,
  FadeInHighKey,
  FadeOutLowKey,
  FadeOutHighKey,
  FadeInLowVelocity,
  FadeInHighVelocity,
  FadeOutLowVelocity,
  FadeOutHighVelocity,
  FadeInLowController,
  FadeInHighController,
  FadeOutLowController,
  FadeOutHighController,
  KeyCurve,
  VelocityCurve,
  ControllerCurve,
  Delay,
  DelaySamples,
  Offset,
  AltOffset,
  End,
  LoopMode,
  LoopStart,
  LoopEnd,
  LoopType,
  LoopTune,
  Label,
  GroupLabel,
  Transpose,
  Tune,
  RandomTuneUp,  ///< From a source 0..1.
  BendDown,
  Volume,
  Amplitude,
  OuterVolume,  ///< Of the whole, of a master, of a group: they add up.
  KeyToVolume,
  VolumeKeyCenter,
  RandomVolumeUp,
  KeyToPan,
  PanKeyCenter,
  FilterShape,
  Cutoff,
  CutoffKeyCenter,
  EnvelopeStart,  ///< The slot names the envelope.
  Effect,
  EffectController,
  EqFrequency,  // the bands and generators by number, from here on
  EqGain,
  EqBandwidth,
  EqType,
  LfoWave,
  LfoFrequency,
  LfoDelay,
  LfoFade,
  LfoPitch,
  LfoVolume,
  LfoCutoff,
  LfoPan,
  EgPoints,
  EgSustain,
  EgLevel,
  EgTime,
  EgPitch,
  EgCutoff,
  EgPan,
  EgAmplitude,
  DefaultPath,
  NoteOffset,
  OctaveOffset,
  ControllerAtRest,
  FineControllerAtRest,  ///< 0 to 1
  kCount,
};
inline constexpr std::size_t kFieldCount = static_cast<std::size_t>(Field::kCount);
constexpr bool isNumbered(Field field) { return field >= Field::EqFrequency && field <= Field::EgAmplitude; }

/// How a value is written.
enum class Form : std::uint8_t { Number, Whole, Key, Hertz, Word, Text };

/// Which dialects the writer uses an opcode in; all are read.
enum Dialects : std::uint8_t { kReadOnly = 0, kV1 = 1, kV2 = 2, kBoth = 3 };

/// Names are in the canonical form of canonicalName.
struct OpcodeRow {
  std::string_view name = {};
  Field field = Field::Direct;
  Form form = Form::Number;
  Slot slot = 0;
  double factor = 1;
  float minimum = 0;  ///< Numbers beyond the bounds count as the bound.
  float maximum = 0;
  Dialects dialects = kBoth;
};
std::span<const OpcodeRow> opcodeRows();

/// One spelling for all: lower case; the older names ("loopmode", "benddown") as the newer ones; controllers
/// as
/// "@N" ("cutoff_oncc74", "cutoff_cc74" and "cutoffcc74" are "cutoff@74", "cutoff_chanaft" is "cutoff@129");
/// the numbers of bands, LFOs, envelopes and points as "#".
struct CanonicalName {
  std::string text;
  std::uint8_t band = 0;   ///< Of eq, lfo, eg.
  std::uint8_t point = 0;  ///< Of an envelope's level or time.
  std::uint8_t controller = 0;
};
/// Nothing when a number in the name is beyond 255.
std::optional<CanonicalName> canonicalName(std::string_view name);

/// How the dialects write a canonical name without "#".
std::string spelledName(std::string_view canonical, bool version2);

/// An opcode as it stands in a file: its row, and the numbers in its name. A row that can be folded also
/// stands for what a controller adds to it ("cutoff_oncc6"; the controller is not 0) and for the curve of
/// that ("cutoff_curvecc6"; the point is 1).
struct OpcodeKey {
  std::uint16_t row = 0;
  std::uint8_t band = 0, point = 0, controller = 0;
  friend auto operator<=>(const OpcodeKey&, const OpcodeKey&) = default;
};
inline const OpcodeRow& rowOf(const OpcodeKey& key) { return opcodeRows()[key.row]; }
/// Whether what controllers without a row of their own add can be counted into the row's number.
bool canFold(const OpcodeRow& row);
inline bool isFolded(const OpcodeKey& key) { return key.controller != 0 && canFold(rowOf(key)); }
inline bool isCurveOf(const OpcodeKey& key) { return isFolded(key) && key.point != 0; }
/// Nothing for opcodes outside the vocabulary.
std::optional<OpcodeKey> findOpcode(std::string_view name);
/// The first row of that canonical name, which must be there.
const OpcodeRow& rowNamed(std::string_view canonical);

/// Where a controller is before anybody moves it, where the file does not say.
constexpr std::uint8_t usualAtRest(std::uint8_t controller) {
  return controller == 7 ? 100 : controller == 10 ? 64 : controller == 11 ? 127 : 0;
}

/// The words of an opcode of Form::Word, in the order of their numbers.
std::span<const std::string_view> wordsOf(Field field);

/// Middle C is c4, 60; sharps as "#", flats as "b". Nothing for other texts.
std::optional<int> keyNumber(std::string_view text);
/// A number in the form of the row, not yet within its bounds: keys by name, words by place, hertz also as
/// the name of a key. What follows a number is not looked at. Nothing when there is none, or it is not
/// finite.
std::optional<double> parseValue(const OpcodeRow& row, std::string_view text);

}  // namespace vemko::sfz
