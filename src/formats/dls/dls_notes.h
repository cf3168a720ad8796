#pragma once
// What the reader remembers of a collection's file on the items it makes, for what the model rounds or has no
// place for. The writer takes it wherever an item still says the same.
#include <deque>
#include <memory>
#include <vector>

#include "core/collection.h"
#include "formats/dls/dls_articulation.h"
#include "formats/dls/dls_records.h"

namespace vemko::dls {

struct InstrumentNotes final : ReaderNotes {
  Description description;
  std::uint32_t bank = 0, program = 0;
  Articulation articulation;  ///< Of the instrument's own list.
};

struct RegionNotes final : ReaderNotes {
  const InstrumentNotes* instrument = nullptr;  ///< Of the instrument that the region was read for.
  bool hasOwnList = false;
  Articulation own;  ///< The region's own list.
  std::uint16_t options = 0;
  std::uint32_t sampleOptions = 0;
  WaveTotals totals;  ///< What the region's slots were made with.
};

struct WaveNotes final : ReaderNotes {
  Description description;
  std::uint32_t sampleOptions = 0;
};

struct CollectionNotes final : ReaderNotes {
  Description description;
  std::optional<std::array<std::uint32_t, 2>> version;
  std::deque<InstrumentNotes> instruments;
  std::deque<RegionNotes> regions;
  std::deque<WaveNotes> waves;
};

/// The notes of that type, null when the item has none.
template <class Notes>
const Notes* notesOf(const Item& item) {
  return dynamic_cast<const Notes*>(item.notes.get());
}

/// What a region plays with: its own list over the instrument's.
Articulation mergedOf(const RegionNotes& notes);

Patch patchOf(std::uint32_t bank, std::uint32_t program);
/// The channels that an instrument's effects are on.
SendChannels sendsOf(const Instrument& instrument);

}  // namespace vemko::dls
