#pragma once
// Modulators: which controller routes the studio's sound model has slots for. Each recognised route feeds one
// entry of the modulator amounts; rows turn entries into slots and back.
#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "core/articulation.h"
#include "formats/soundfont/sf_records.h"

namespace vemko::soundfont {

/// What a route does, whatever the exact curve of its source. The times of the envelopes follow, see
/// timeEntry().
enum class Entry : std::uint8_t {
  VelocityToVolume,
  KeyToVolumeBipolar,
  KeyToVolumeUnipolar,
  ModWheelToVolume,
  AftertouchToVolume,
  BendRange,
  BendToPitch,
  VelocityToCutoff,
  KeyToCutoffBipolar,
  KeyToCutoffUnipolar,
  ModWheelToCutoff,
  AftertouchToCutoff,
  Cc74ToCutoff,
  VelocityToResonance,
  ModWheelToResonance,
  AftertouchToResonance,
  Cc71ToResonance,
  KeyToPan,
  Cc10ToPan,
  Cc91ToReverb,
  Cc93ToChorus,
  ModWheelToVibratoPitch,
  AftertouchToVibratoPitch,
  VelocityToVibratoPitch,
  ModWheelToModLfoPitch,
  AftertouchToModLfoPitch,
  VelocityToModLfoPitch,
  ModWheelToModLfoVolume,
  AftertouchToModLfoVolume,
  VelocityToModLfoVolume,
  ModWheelToModLfoCutoff,
  AftertouchToModLfoCutoff,
  VelocityToModLfoCutoff,
  VelocityToModEnvPitch,
  VelocityToModEnvCutoff,
  Times,
};

enum class TimeSource : std::uint8_t {
  VelocityBipolar,
  VelocityUnipolar,
  KeyBipolar,
  KeyUnipolar,
  Controller
};
inline constexpr int kTimeSources = 5;
/// The generators whose value is a time that velocity or key may change: delay, attack, hold, decay, release.
inline constexpr std::array<std::uint8_t, 5> kModEnvTimes = {25, 26, 27, 28, 30};
inline constexpr std::array<std::uint8_t, 5> kVolEnvTimes = {33, 34, 35, 36, 38};
inline constexpr int kTimeStages = 5;
/// The controller that changes each of them; 0: none does.
inline constexpr std::array<std::uint8_t, kTimeStages> kTimeControllers = {73, 73, 0, 0, 72};
constexpr Entry timeEntry(bool volumeEnvelope, int stage, TimeSource source) {
  return static_cast<Entry>(static_cast<int>(Entry::Times) +
                            ((volumeEnvelope ? kTimeStages : 0) + stage) * kTimeSources +
                            static_cast<int>(source));
}
inline constexpr int kEntryCount = static_cast<int>(Entry::Times) + 2 * kTimeStages * kTimeSources;

/// A recognised route. The first row of an entry is the one that is written.
struct RouteRow {
  std::uint16_t source;
  std::uint8_t destination;
  std::uint16_t amountSource;
  Entry entry;
  int sign;              ///< Of the file's amount within the entry.
  std::int16_t initial;  ///< The published default amount; 0 for routes that do not exist by default.
};
std::span<const RouteRow> routeRows();
/// The row of a modulator, null when it is not recognised.
const RouteRow* findRoute(const Modulator& modulator);

/// The amount that a route has where no zone speaks of it, recognised or not.
std::int16_t initialModulation(const Modulator& modulator);

/// The sums of the recognised routes' amounts.
struct ModulatorAmounts {
  std::array<float, kEntryCount> values{};
  float operator[](Entry entry) const { return values[static_cast<std::size_t>(entry)]; }
  float& operator[](Entry entry) { return values[static_cast<std::size_t>(entry)]; }
};
/// With the defaults of all routes that are not in the list.
ModulatorAmounts amountsOf(std::span<const Modulator> modulators);
/// The modulators that give these amounts: one for each entry that differs from its default.
std::vector<Modulator> modulatorsOf(const ModulatorAmounts& amounts);

/// An entry that is proportional to a slot.
struct ModulationRow {
  Entry entry;
  Slot slot;
  float factor;      ///< Slot value of an amount of 1.
  bool needsFilter;  ///< Means nothing while the filter is off.
};
std::span<const ModulationRow> modulationRows();

}  // namespace vemko::soundfont
