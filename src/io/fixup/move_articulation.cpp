#include <optional>
#include <vector>

#include "io/fixup.h"

namespace vemko::io {
namespace {

/// Moves to `parent` each slot that all of `children` set to one value. What the parent set there before was
/// covered by every child, so that no sound changes.
template <class Parent, class Child>
void moveShared(Parent& parent, const std::vector<Child*>& children) {
  if (children.empty()) return;
  ArticulationBlock shared = children.front()->articulation;
  for (const Child* child : children) {
    const ArticulationBlock before = shared;
    before.forEach([&](Slot slot, float value) {
      if (!child->articulation.isSet(slot) || child->articulation.get(slot) != value) shared.reset(slot);
    });
    if (shared.empty()) return;
  }
  shared.forEach([&](Slot slot, float value) {
    parent.articulation.set(slot, value);
    for (Child* child : children) child->articulation.reset(slot);
  });
}

template <class Child>
std::vector<Child*> childrenOf(const Item& parent) {
  std::vector<Child*> children;
  for (ItemId id : parent.children)
    if (auto* child = parent.collection().find<Child>(id); child && child->parent == parent.id())
      children.push_back(child);
  return children;
}

}  // namespace

// What all regions of a layer set alike moves to the layer, and then what all layers of an instrument set
// alike to the instrument. Every region sounds as before.
bool moveArticulation(Collection& collection) {
  collection.forEach<Layer>([](Layer& layer) { moveShared(layer, childrenOf<Region>(layer)); });
  collection.forEach<Instrument>(
      [](Instrument& instrument) { moveShared(instrument, childrenOf<Layer>(instrument)); });
  return true;
}

}  // namespace vemko::io
