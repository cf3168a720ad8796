#include <algorithm>
#include <vector>

#include "base/text.h"
#include "io/fixup.h"

namespace vemko::io {
namespace {

/// Stable: items that `before` does not tell apart keep their order.
template <class T, class Before>
void sortKind(Collection& collection, Before before) {
  const std::vector<T*> items = collection.all<T>();
  if (std::ranges::is_sorted(items, before)) return;
  std::vector<Item*> order(items.begin(), items.end());
  std::ranges::stable_sort(order,
                           [&](Item* a, Item* b) { return before(static_cast<T*>(a), static_cast<T*>(b)); });
  collection.reorder(kKindOf<T>, order);
}

bool nameIsBefore(const Item* a, const Item* b) { return compareNatural(a->name(), b->name()) < 0; }

/// Drum flag, bank MSB, bank LSB, program, the first being the most significant: the word's own bit order.
bool patchIsBefore(const Instrument* a, const Instrument* b) {
  constexpr std::uint32_t kPatchBits = 0x3FFFFF;
  return (a->patch.word & kPatchBits) < (b->patch.word & kPatchBits);
}

}  // namespace

// Instruments by their patches, melodic ones before drum kits; songs by name in natural order.
bool sortCollection(Collection& collection) {
  sortKind<Instrument>(collection, patchIsBefore);
  sortKind<Song>(collection, nameIsBefore);
  return true;
}

// By name in natural order.
bool sortWaves(Collection& collection) {
  sortKind<Waveform>(collection, nameIsBefore);
  return true;
}

}  // namespace vemko::io
