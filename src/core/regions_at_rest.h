#pragma once
// What plays when nobody has touched anything but a key, which is all that sound banks know.
#include <unordered_set>
#include <vector>

#include "base/log.h"
#include "core/collection.h"

namespace vemko {

/// The regions of an instrument that the start of a note can play while all is as it was loaded, in the order
/// of regionsOf(). Beyond soundsOnAttack(), where no region would be left because all wait for controllers or
/// held keys, these count as they have to; where a key switch chooses, the one that is on at start does, or
/// the lowest one where none is given or nothing is at it; switches count together as far as their ranges
/// overlap; and where regions take turns, in rounds or at random, the first turn plays. One whose turn comes
/// later stays where no earlier one covers all of its keys and velocities, as it would be missed there. Each
/// region that is left out is told, where somebody listens.
std::vector<const Region*> regionsAtRest(const Item& instrument, Complaints* complaints = nullptr);

/// What the regions of an item's instruments play.
struct PlayedWaveforms {
  std::unordered_set<ItemId> atRest;
  std::unordered_set<ItemId> notAtRest;  ///< Only regions that are left out at rest play these.
};
PlayedWaveforms playedWaveforms(const Item& item);
/// waveformsOf() without those that are played, but not at rest.
std::vector<Waveform*> waveformsAtRest(const Item& item);

}  // namespace vemko
