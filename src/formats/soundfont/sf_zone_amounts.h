#pragma once
// What a region says in the words of the format: the sum of amounts that its zone has to come to.
#include <optional>
#include <vector>

#include "core/collection.h"
#include "formats/soundfont/sf_notes.h"
#include "formats/soundfont/sf_sample_pool.h"

namespace vemko::soundfont {

/// The zones that a region comes from, as its file has them.
struct FileZones {
  const BankTables* bank = nullptr;
  std::uint32_t presetZone = 0, instrumentZone = 0;
  const Zone& preset() const { return bank->presetZones.zones[presetZone]; }
  const Zone& instrument() const { return bank->instrumentZones.zones[instrumentZone]; }
};
std::optional<FileZones> fileZonesOf(const Region& region);

struct ZoneTotal {
  Generators generators;
  std::vector<Modulator> modulators;
  std::uint32_t sample = 0;
  bool isCut = false;  ///< See ZoneAmounts.
};

/// The totals of a region's zone, or of its two zones when it plays a stereo waveform (left, then right).
/// Amounts of the file are taken where the region still means the same. Empty for a region that plays
/// nothing.
std::vector<ZoneTotal> totalsOf(const Region& region, const SamplePool& pool);

/// Whether the waveform's loop is that of the zones the region comes from.
bool hasFileLoop(const Region& region);

}  // namespace vemko::soundfont
