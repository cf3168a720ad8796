#pragma once
// Zones: what presets and instruments say for a range of keys and velocities, with their global zones
// applied, and their sum, which is what a region plays with.
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "core/collection.h"
#include "formats/soundfont/sf_records.h"

namespace vemko::soundfont {

/// One amount a generator number; new ones stand at their published defaults.
struct Generators {
  std::array<std::int16_t, kGeneratorCount> amounts;

  Generators();
  std::int16_t operator[](int number) const { return amounts[static_cast<std::size_t>(number)]; }
  std::int16_t& operator[](int number) { return amounts[static_cast<std::size_t>(number)]; }
  friend bool operator==(const Generators&, const Generators&) = default;
};

/// The published default.
std::int16_t initialAmount(int number);
/// Known, and none of those that name an index or a range.
bool isValueGenerator(int number);
/// Whether presets may have it, too; it adds to the instrument's amount then.
bool addsInPresets(int number);

struct Zone {
  std::optional<MidiRange> keys, velocities;
  std::uint16_t target = 0;           ///< The instrument or sample.
  std::vector<Generator> generators;  ///< Value generators that are given, ascending.
  std::vector<Modulator> modulators;  ///< Each route once.

  MidiRange keyRange() const { return keys.value_or(MidiRange{}); }
  MidiRange velocityRange() const { return velocities.value_or(MidiRange{}); }
};

/// The zones of one preset or instrument within the list of all.
struct ZoneSpan {
  std::uint32_t first = 0;
  std::uint32_t count = 0;
};

struct ZoneList {
  std::vector<Zone> zones;
  std::vector<ZoneSpan> ofHeader;
};

/// Both lists of a bank. Zones without an instrument or sample that are no global ones are dropped. Fails
/// with "Not a SoundFont2 file" when the tables are folded over each other so that they would take too long.
bool buildPresetZones(const BankFile& bank, ZoneList& list, Complaints& complaints);
bool buildInstrumentZones(const BankFile& bank, ZoneList& list, Complaints& complaints);

/// What both ranges share, nothing when they are apart.
std::optional<MidiRange> intersection(const MidiRange& a, const MidiRange& b);

/// The instrument zone's amounts, with the preset zone's added where presets have any, within 16 bits.
Generators sumOf(const Zone& preset, const Zone& instrument);
/// The routes of both zones that are given, ascending; a preset's amount adds to that of the same route in
/// the instrument or among the published defaults.
std::vector<Modulator> sumOfModulators(const Zone& preset, const Zone& instrument);

}  // namespace vemko::soundfont
