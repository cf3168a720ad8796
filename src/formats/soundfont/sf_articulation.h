#pragma once
// From a region's generator and modulator amounts to the slots of its articulation, and back.
#include <vector>

#include "core/articulation.h"
#include "core/sends.h"
#include "core/slot_values.h"
#include "formats/soundfont/sf_modulators.h"
#include "formats/soundfont/sf_zones.h"

namespace vemko::soundfont {

/// How a generator's amount is turned into a slot's value.
enum class Scale : std::uint8_t {
  Linear,     ///< times the row's factor
  Hertz,      ///< absolute cents
  Seconds,    ///< timecents
  Sustain,    ///< 1 - amount x factor, within 0..1
  PerOctave,  ///< timecents a key: 2^(-amount/100)
};

/// One row serves both directions. Of several rows of a generator all are read, and the first whose carrier
/// is in use is written.
struct GeneratorRow {
  std::uint8_t generator;
  Slot slot;
  Scale scale;
  float factor;
  std::int16_t minimum;  ///< Amounts beyond these bounds count, and are written, as the bound.
  std::int16_t maximum;
  Carrier carrier;
  bool onlyInUse;  ///< Read only when the carrier is in use.
};
std::span<const GeneratorRow> generatorRows();

/// Which send channels the effects are on.
struct SendChannels {
  int reverb = 0;
  int chorus = 2;
};

/// The slots that differ from their defaults.
ArticulationBlock articulationOf(const Generators& generators, std::span<const Modulator> modulators,
                                 const SendChannels& sends = {});

struct ZoneAmounts {
  Generators generators;
  std::vector<Modulator> modulators;  ///< Those that differ from the published defaults.
  bool isCut = false;                 ///< A value lies beyond what its generator can say.
};
/// The amounts that read as the block's values, as near as the format's steps allow. What they cannot say
/// stays at its default.
ZoneAmounts amountsOf(const ArticulationBlock& block, const SendChannels& sends = {});

/// Whether the block's filter is one that the format has: low-pass, and not wide open.
bool hasFilter(const ArticulationBlock& block);

}  // namespace vemko::soundfont
