#pragma once
// The connections that the instrument and each of its regions get in a file to be written.
#include <vector>

#include "formats/dls/dls_notes.h"

namespace vemko::dls {

struct RegionPlan {
  const Region* region = nullptr;
  bool hasOwnList = false;
  std::vector<Connection> own;  ///< What stands in the region's list, where it has one.
  double gainDb = 0;            ///< Added to the waveform's own.
  double cents = 0;
};

struct InstrumentPlan {
  std::vector<Connection> connections;  ///< Of the instrument's list; it has none where they are empty.
  std::vector<RegionPlan> regions;
};

/// What was read is taken as it came wherever an item still says the same. At level 1 the regions of a
/// melodic instrument share the list that most of them have.
InstrumentPlan planInstrument(const Instrument& instrument, const std::vector<const Region*>& regions,
                              Level level);

}  // namespace vemko::dls
