#pragma once
// From the connections of a region to the slots of its articulation, and back.
#include <cstdint>
#include <span>
#include <vector>

#include "core/articulation.h"
#include "core/sends.h"
#include "core/slot_values.h"
#include "formats/dls/dls_connections.h"

namespace vemko::dls {

/// What the writing rows differ in, from the poorest to the richest.
enum class Level : std::uint8_t { One = 1, Two = 2, TwoPlus = 3, TwoPlusPlus = 4 };

/// How a connection's scale is turned into a slot's value.
enum class Scale : std::uint8_t {
  Linear,     ///< times the row's factor, which is for whole cents, centibels and tenths of a percent
  Hertz,      ///< absolute pitch
  Seconds,    ///< time cents; the lowest number is no time at all
  Sustain,    ///< as Linear, within 0..1
  KeyToTime,  ///< time cents over all keys; moves the time, too
};

/// One row serves both directions. Of several rows of a route all are read, and the first whose carrier is
/// in use is written.
struct ConnectionRow {
  std::uint16_t source, control, destination, transform;
  Slot slot;
  Scale scale;
  double factor;
  std::int32_t initial;  ///< The published default.
  Level writtenFrom;     ///< The poorest level that has the connection.
  Carrier carrier;
  bool onlyInUse;   ///< Read only when the carrier is in use.
  bool onlyLevel1;  ///< The one LFO of level 1 is the pitch LFO, too, where level 2 has a vibrato.
  bool needsFilter;
};
std::span<const ConnectionRow> connectionRows();

/// Which send channels the effects are on.
struct SendChannels {
  int reverb = 0;
  int chorus = 2;
};

/// Gain and tuning that the region's wave link brings.
struct WaveTotals {
  double gainDb = 0;
  double cents = 0;
};

SlotValues valuesOf(const Articulation& articulation, const WaveTotals& totals = {},
                    const SendChannels& sends = {});

struct RegionAmounts {
  std::vector<Connection> connections;  ///< Those that differ from the published defaults.
  double gainDb = 0;                    ///< For the wave sample chunk.
  double cents = 0;                     ///< Whole ones, likewise.
};
/// What reads as these values, as near as the level's steps allow. What it cannot say is left out.
RegionAmounts amountsOf(SlotValues values, Level level, const SendChannels& sends = {});
/// The whole cents of level 1, which has no place for parts of them: they are rounded together with the
/// waveform's own, which are not among them.
double level1Cents(const SlotValues& values, double ownCents);

/// What of an edited item the level can say beside a file's list that reads as `before`: slots that it has no
/// connection for stay as they are in the file or go back to their defaults. A list of level 1 says nothing
/// beyond it.
SlotValues limitedTo(Level level, const SlotValues& before, SlotValues now);

/// The published default of a route, with its scale; 0 for routes that have none.
Connection initialConnection(const Connection& route);

/// Routes that are read into slots which another route is written for.
bool isReadOnlyRoute(const Connection& route);

}  // namespace vemko::dls
