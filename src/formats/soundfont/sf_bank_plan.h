#pragma once
// The presets, instruments and zones of a bank to be written.
//
// Regions that come from a bank are put back where they were: those of one preset zone become that zone
// again, with its amounts, on an instrument that all preset zones of the same origin share. That is checked,
// not trusted: a preset zone whose regions no longer come to what the shared instrument gives it (they were
// edited, added or deleted) goes the way of all other regions. These become zones of one instrument for their
// preset, which says everything; equal instruments are written once.
#include <cstdint>
#include <string>
#include <vector>

#include "core/collection.h"
#include "formats/soundfont/sf_records.h"
#include "formats/soundfont/sf_sample_pool.h"
#include "formats/soundfont/sf_zones.h"

namespace vemko::soundfont {

struct PlannedInstrument {
  std::string name;
  std::vector<Zone> zones;  ///< On samples of the pool.
};

struct PlannedPreset {
  std::string name;
  std::uint16_t preset = 0, bank = 0;
  std::vector<Zone> zones;  ///< On the plan's instruments.
};

struct BankPlan {
  std::vector<PlannedPreset> presets;
  std::vector<PlannedInstrument> instruments;
};

BankPlan planBank(const std::vector<Instrument*>& instruments, const SamplePool& pool);

}  // namespace vemko::soundfont
