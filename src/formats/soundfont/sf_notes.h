#pragma once
// What the reader remembers of a bank on the items it makes: where each comes from in the bank's tables. The
// writer looks the file's own amounts up there and takes them wherever an item still says the same, so that a
// bank that was not edited keeps its structure and every amount, also those that the model rounds or has no
// slot for.
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "core/collection.h"
#include "formats/soundfont/sf_records.h"
#include "formats/soundfont/sf_zones.h"

namespace vemko::soundfont {

struct BankTables {
  std::vector<InfoText> info;
  std::vector<SampleHeader> samples;
  std::vector<PresetHeader> presets;
  std::vector<InstrumentHeader> instruments;
  ZoneList presetZones, instrumentZones;
  /// Frames of each sample as far as the file holds them.
  std::vector<std::uint32_t> frames;
};

struct RegionNotes final : ReaderNotes {
  const BankTables* bank = nullptr;
  std::uint32_t presetZone = 0, instrumentZone = 0;
};

struct WaveformNotes final : ReaderNotes {
  const BankTables* bank = nullptr;
  std::uint32_t sample = 0;
};

struct InstrumentNotes final : ReaderNotes {
  const BankTables* bank = nullptr;
  std::uint32_t preset = 0;
};

/// Owns all of a bank's notes; those of single items keep it alive. The collection's own.
struct BankNotes final : ReaderNotes {
  BankTables tables;
  std::deque<RegionNotes> regions;
  std::deque<WaveformNotes> waveforms;
  std::deque<InstrumentNotes> instruments;
};

/// The notes of that type, null when the item has none.
template <class Notes>
const Notes* notesOf(const Item& item) {
  return dynamic_cast<const Notes*>(item.notes.get());
}

// --- What reader and writer must agree on: how records become fields of items.

/// The loop that a sample has with a zone's amounts.
struct ZoneLoop {
  bool exists = false;
  LoopPlay play = LoopPlay::Off;
  LoopCount count = LoopCount::Infinite;
  std::uint32_t start = 0, end = 0;
  friend bool operator==(const ZoneLoop&, const ZoneLoop&) = default;
};
ZoneLoop loopOf(const SampleHeader& header, std::uint32_t frames, const Generators& generators);
/// Whether a zone loops over points that do not all lie within the sample, or go backwards. Points that meet
/// stand for no loop.
bool isLoopDamaged(const SampleHeader& header, std::uint32_t frames, const Generators& generators);
/// The main loop of a waveform in those terms.
ZoneLoop loopOf(const Waveform& waveform);

/// {0, 0} where the zone plays the whole sample.
PlaySection sectionOf(const Generators& generators, std::uint32_t frames);

/// A number 0..127, or Region::kNotSet.
std::uint8_t midiNumber(std::int16_t amount);
std::uint8_t exclusiveGroupOf(const Generators& generators);

/// The patch of a preset, and the bank number of a patch: the low byte is the MSB, or 128 for drums, the high
/// byte the LSB.
Patch patchOf(const PresetHeader& header);
std::uint16_t bankNumberOf(const Patch& patch);

/// Waveform fields of a sample header, mended where they make no sense.
std::uint32_t rateOf(const SampleHeader& header);
std::uint8_t rootKeyOf(const SampleHeader& header);

}  // namespace vemko::soundfont
