#pragma once
// Editing of the articulation of several levels at once.
#include <span>

#include "core/collection.h"

namespace vemko::app {

/// The articulation that an instrument, layer or region holds; null for other kinds.
ArticulationBlock* articulationOf(Item& item);
/// What the item gets from the levels above it: their slots, the nearest level's where several set one.
ArticulationBlock articulationAbove(const Item& item);

/// A level and the articulation that it is to have.
struct LevelEdit {
  Item* level;
  ArticulationBlock block;
};
/// Puts the blocks in place. With `toLevelsBelow` every slot whose value in force changes is changed by the
/// same difference, within its bounds, wherever a level below sets it itself; levels that are edited
/// themselves get their own block and nothing else. Slots that are choices have no differences and stay.
void applyLevelEdits(std::span<const LevelEdit> edits, bool toLevelsBelow);

}  // namespace vemko::app
