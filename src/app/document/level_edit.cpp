#include "app/document/level_edit.h"

#include <unordered_set>
#include <vector>

#include "core/parameters.h"
#include "core/slot_values.h"

namespace vemko::app {
namespace {

SlotValues inForce(Item& level) {
  ArticulationBlock block = articulationAbove(level);
  articulationOf(level)->forEach([&](Slot slot, float value) { block.set(slot, value); });
  return valuesOf(block);
}

struct Difference {
  Slot slot;
  float amount;
};

std::vector<Difference> differences(const SlotValues& before, const SlotValues& after) {
  std::vector<Difference> list;
  for (int i = 0; i < kSlotCount; ++i) {
    const auto slot = static_cast<Slot>(i);
    if (before[slot] != after[slot] && parameter(slot).unit != Unit::Choice)
      list.push_back({slot, after[slot] - before[slot]});
  }
  return list;
}

void shiftBelow(const Item& level, const std::vector<Difference>& differences,
                const std::unordered_set<const Item*>& edited) {
  for (ItemId id : level.children) {
    Item* below = level.collection().find(id);
    ArticulationBlock* block = below && !edited.contains(below) ? articulationOf(*below) : nullptr;
    if (!block) continue;
    for (const auto& [slot, amount] : differences)
      if (block->isSet(slot)) block->set(slot, boundedValue(slot, block->get(slot) + amount));
    shiftBelow(*below, differences, edited);
  }
}

}  // namespace

ArticulationBlock* articulationOf(Item& item) {
  switch (item.kind()) {
    case ItemKind::Instrument:
      return &static_cast<Instrument&>(item).articulation;
    case ItemKind::Layer:
      return &static_cast<Layer&>(item).articulation;
    case ItemKind::Region:
      return &static_cast<Region&>(item).articulation;
    default:
      return nullptr;
  }
}

ArticulationBlock articulationAbove(const Item& item) {
  ArticulationBlock above;
  for (Item* up = item.collection().find(item.parent); up; up = up->collection().find(up->parent))
    if (const ArticulationBlock* block = articulationOf(*up))
      block->forEach([&](Slot slot, float value) {
        if (!above.isSet(slot)) above.set(slot, value);
      });
  return above;
}

void applyLevelEdits(std::span<const LevelEdit> edits, bool toLevelsBelow) {
  std::unordered_set<const Item*> edited;
  std::vector<SlotValues> before;
  if (toLevelsBelow)
    for (const LevelEdit& edit : edits) {
      edited.insert(edit.level);
      before.push_back(inForce(*edit.level));
    }
  for (const LevelEdit& edit : edits) *articulationOf(*edit.level) = edit.block;
  if (!toLevelsBelow) return;
  for (std::size_t i = 0; i < edits.size(); ++i)
    shiftBelow(*edits[i].level, differences(before[i], inForce(*edits[i].level)), edited);
}

}  // namespace vemko::app
