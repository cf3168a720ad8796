#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "io/fixup.h"

namespace vemko::io {
namespace {

/// The keys and velocities at which the regions of a layer sound: two words of velocities a key.
class Occupancy {
 public:
  void add(const Region& region) {
    const std::array<std::uint64_t, 2> velocities{bitsFrom(region.velocities, 0),
                                                  bitsFrom(region.velocities, 64)};
    for (int key = region.keys.low; key <= std::min<int>(region.keys.high, 127); ++key)
      for (std::size_t half = 0; half < 2; ++half)
        words_[static_cast<std::size_t>(key) * 2 + half] |= velocities[half];
  }
  void add(const Occupancy& other) {
    for (std::size_t i = 0; i < words_.size(); ++i) words_[i] |= other.words_[i];
  }
  bool overlaps(const Occupancy& other) const {
    std::uint64_t shared = 0;
    for (std::size_t i = 0; i < words_.size(); ++i) shared |= words_[i] & other.words_[i];
    return shared != 0;
  }
  bool isFull() const {
    return std::ranges::all_of(words_, [](std::uint64_t word) { return word == ~std::uint64_t{0}; });
  }

 private:
  /// The velocities of the range that lie in first..first + 63.
  static std::uint64_t bitsFrom(const MidiRange& range, int first) {
    const int low = std::max<int>(range.low - first, 0), high = std::min<int>(range.high - first, 63);
    if (low > high) return 0;
    return ~std::uint64_t{0} >> (63 - high) & ~std::uint64_t{0} << low;
  }

  std::array<std::uint64_t, 256> words_{};
};

/// A layer that others may be joined to.
struct Target {
  Layer* layer;
  Occupancy occupancy;
};

// Layers that cannot be joined to any of this many are kept, so that many overlapping ones stay cheap.
constexpr std::size_t kOpenTargets = 64;

void moveRegions(Layer& from, Layer& to) {
  for (ItemId child : from.children) {
    if (Item* region = from.collection().find(child)) region->parent = to.id();
    to.appendChild(child);
  }
  from.children.clear();
}

/// Joins the layers of one instrument; those that became empty are appended to `emptied`.
void joinLayers(Instrument& instrument, std::vector<Item*>& emptied) {
  struct BlockHash {
    std::size_t operator()(const ArticulationBlock* block) const { return block->hash(); }
  };
  struct BlockEqual {
    bool operator()(const ArticulationBlock* a, const ArticulationBlock* b) const { return *a == *b; }
  };
  std::unordered_map<const ArticulationBlock*, std::vector<std::unique_ptr<Target>>, BlockHash, BlockEqual>
      open;
  const Collection& collection = instrument.collection();
  for (ItemId id : instrument.children) {
    auto* layer = collection.find<Layer>(id);
    if (!layer) continue;
    if (layer->children.empty()) {
      emptied.push_back(layer);
      continue;
    }
    Target candidate{layer, {}};
    for (ItemId child : layer->children)
      if (const auto* region = collection.find<Region>(child)) candidate.occupancy.add(*region);
    auto& targets = open[&layer->articulation];
    const auto fit = std::ranges::find_if(
        targets, [&](const auto& target) { return !target->occupancy.overlaps(candidate.occupancy); });
    if (fit != targets.end()) {
      moveRegions(*layer, *(*fit)->layer);
      emptied.push_back(layer);
      (*fit)->occupancy.add(candidate.occupancy);
      if ((*fit)->occupancy.isFull()) targets.erase(fit);
    } else if (targets.size() < kOpenTargets && !candidate.occupancy.isFull()) {
      targets.push_back(std::make_unique<Target>(candidate));
    }
  }
}

}  // namespace

// Within an instrument each layer joins the first earlier one that sets the same articulation and sounds at
// none of its keys and velocities; its regions follow those that are there. Layers without regions go.
bool compactLayers(Collection& collection) {
  std::vector<Item*> emptied;
  collection.forEach<Instrument>([&](Instrument& instrument) { joinLayers(instrument, emptied); });
  collection.remove(emptied);
  return true;
}

}  // namespace vemko::io
