#pragma once
// When and how a region answers beyond its keys, velocities and trigger. Few regions say any of this, so the
// record is shared and mostly absent.
#include <cstdint>
#include <vector>

#include "core/midi_range.h"

namespace vemko {

/// Values low to high, 0..127 each, of a MIDI controller; 128 and above are sources that are no controllers
/// (129 channel aftertouch, 131 velocity, ...).
struct ControllerRange {
  std::uint8_t controller = 0;
  std::uint8_t low = 0;
  std::uint8_t high = 127;
  std::uint8_t atRest = 0;  ///< The value before anybody moves the controller.
  friend auto operator<=>(const ControllerRange&, const ControllerRange&) = default;
};

/// The shape of cross-fades.
enum class FadeCurve : std::uint8_t { Power, Gain };

/// Keys that choose what others play. Without any of the conditions none of it means anything.
struct KeySwitches {
  static constexpr std::uint8_t kNone = 255;

  MidiRange range;                ///< Where the switches of `last` are.
  MidiRange last{kNone, kNone};   ///< Plays when the last switch that was pressed is one of these.
  std::uint8_t atStart = kNone;   ///< The switch that counts as pressed before any was.
  std::uint8_t down = kNone;      ///< Plays while this key is held ...
  std::uint8_t up = kNone;        ///< ... or while this one is not.
  std::uint8_t previous = kNone;  ///< Plays when this key was the one before.

  bool waitsForLast() const { return last.low != kNone; }
  bool hasConditions() const { return waitsForLast() || down != kNone || up != kNone || previous != kNone; }
  friend bool operator==(const KeySwitches&, const KeySwitches&) = default;
};

struct PlayRules {
  /// Every sequenceLength-th note plays it, first the one at sequencePosition (from 1).
  std::uint16_t sequenceLength = 1, sequencePosition = 1;
  /// A random number is drawn for each note; the region plays when low <= number < high.
  float randomLow = 0, randomHigh = 1;
  /// A start of any region whose group is `stoppedBy` stops this one; 0 is no group. Where both numbers are
  /// one and fit, Region::exclusiveGroup says it instead.
  std::uint32_t group = 0, stoppedBy = 0;
  bool stopsNaturally = false;  ///< When stopped, it goes through its release instead of ending at once.
  bool playsToEnd = false;      ///< Release of the key does not end it.
  bool ignoresKeys = false;     ///< Only `starts` starts it.
  FadeCurve keyFade = FadeCurve::Power, velocityFade = FadeCurve::Power, controllerFade = FadeCurve::Power;
  std::vector<ControllerRange> controllers;  ///< All must hold when a note starts; by controller.
  std::vector<ControllerRange> starts;       ///< A controller that comes into the range starts it.
  std::vector<ControllerRange> fadeIns;      ///< Silent up to `low`, at the full level from `high` on.
  std::vector<ControllerRange> fadeOuts;     ///< At the full level up to `low`, silent from `high` on.
  KeySwitches switches;

  friend bool operator==(const PlayRules&, const PlayRules&) = default;
};

}  // namespace vemko
