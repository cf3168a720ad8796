#include "core/collection.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "base/log.h"

namespace vemko {
namespace {

constexpr ItemSerial kSerialMask = 0xFFFFFFF;

// The last serial issued for each kind, by any collection; the first is 0.
std::array<ItemSerial, kItemKindCount> lastSerials = [] {
  std::array<ItemSerial, kItemKindCount> serials;
  serials.fill(kSerialMask);
  return serials;
}();

void removeFromChildren(Item& parent, ItemId child) {
  auto at = std::ranges::find(parent.children, child);
  if (at != parent.children.end()) parent.children.erase(at);
}

}  // namespace

Collection::Collection() : Item(*this) { setName(kNewCollectionName); }
Collection::~Collection() = default;

std::unique_ptr<Item> Collection::clone(Collection&, bool withData) const {
  auto copy = std::make_unique<Collection>();
  for (TextProperty property : kTextProperties) copy->setText(property, text(property));
  copy->setImage(image());
  copy->formatRow = formatRow;
  copy->formatConfidence = formatConfidence;
  copy->file = file;
  for (const auto& places : places_)
    for (const Place& place : places)
      if (place.item) copy->insert(place.item->clone(*copy, withData), place.item->id(), place.rank);
  copy->nextRank_ = nextRank_;
  return copy;
}

Item& Collection::add(std::unique_ptr<Item> item, ItemSerial serial) {
  const ItemKind kind = item->kind();
  ItemSerial& last = lastSerials[static_cast<std::size_t>(kind)];
  serial &= kSerialMask;
  if (serial != kNewSerial && items_.contains(makeItemId(kind, serial))) {
    logWarning(u"An item's number is in use already; the item gets a new one");
    serial = kNewSerial;
  }
  if (serial == kNewSerial) {
    serial = last;
    do serial = (serial + 1) & kSerialMask;
    while (makeItemId(kind, serial) == kNoItem || items_.contains(makeItemId(kind, serial)));
  }
  last = serial;
  Item& added = *item;
  insert(std::move(item), makeItemId(kind, serial), nextRank_++);
  return added;
}

Item* Collection::find(ItemId id) const {
  auto at = items_.find(id);
  return at == items_.end() ? nullptr : at->second.get();
}

std::unique_ptr<Item> Collection::take(Item& item) {
  if (find(item.id()) != &item) return nullptr;
  if (Item* parent = find(item.parent)) removeFromChildren(*parent, item.id());
  for (ItemId child : item.children)
    if (Item* below = find(child); below && below->parent == item.id()) below->parent = kNoItem;
  item.children.clear();
  item.parent = kNoItem;
  return extract(item);
}

void Collection::remove(Item& item) {
  if (find(item.id()) != &item) return;
  if (Item* parent = find(item.parent)) removeFromChildren(*parent, item.id());
  Removed removed;
  removed.push_back(extract(item));
  extractBelow(removed);
}

void Collection::remove(std::span<Item* const> items) {
  Removed removed;
  std::vector<ItemId> parents;
  for (Item* item : items) {
    if (find(item->id()) != item) continue;
    if (item->parent != kNoItem) parents.push_back(item->parent);
    removed.push_back(extract(*item));
  }
  // One pass over each child list, however many of its children go.
  std::ranges::sort(parents);
  parents.erase(std::unique(parents.begin(), parents.end()), parents.end());
  for (ItemId id : parents)
    if (Item* parent = find(id))
      std::erase_if(parent->children, [&](ItemId child) { return !items_.contains(child); });
  extractBelow(removed);
}

// What lies below the removed items joins them, level by level.
void Collection::extractBelow(Removed& removed) {
  for (std::size_t i = 0; i < removed.size(); ++i) {
    const Item& above = *removed[i];
    for (ItemId child : above.children) {
      Item* below = find(child);
      if (below && below->parent == above.id()) removed.push_back(extract(*below));
    }
  }
}

void Collection::clear() {
  items_.clear();
  for (auto& places : places_) places.clear();
  counts_.fill(0);
  for (TextProperty property : kTextProperties) setText(property, {});
  setImage({});
  setName(kNewCollectionName);
  notes.reset();
  formatRow = -1;
  formatConfidence = 0;
  file.clear();
}

std::vector<Item*> Collection::allOf(ItemKind kind) const {
  std::vector<Item*> items;
  items.reserve(count(kind));
  for (const Place& place : places_[static_cast<std::size_t>(kind)])
    if (place.item) items.push_back(place.item);
  return items;
}

void Collection::reorder(ItemKind kind, std::span<Item* const> order) {
  std::unordered_set<const Item*> seen;
  seen.reserve(order.size());
  for (const Item* item : order)
    if (item && item->kind() == kind && find(item->id()) == item) seen.insert(item);
  if (order.size() != count(kind) || seen.size() != order.size()) return;

  // The ranks stay, so that an item that was removed before still finds its neighbours.
  auto& places = placesOf(kind);
  std::erase_if(places, [](const Place& place) { return !place.item; });
  for (std::size_t i = 0; i < order.size(); ++i) {
    places[i].item = order[i];
    order[i]->rank_ = places[i].rank;
  }
}

void Collection::absorb(Collection& other) {
  if (&other == this) return;
  std::unordered_map<ItemId, ItemId> newIds;
  std::vector<Item*> moved;
  newIds.reserve(other.items_.size());
  moved.reserve(other.items_.size());
  for (auto& places : other.places_) {
    for (const Place& place : places) {
      if (!place.item) continue;
      const ItemId id = place.item->id();
      auto owned = std::move(other.items_.at(id));
      const bool taken = items_.contains(id);
      moved.push_back(&add(std::move(owned), taken ? kNewSerial : serialOf(id)));
      newIds[id] = moved.back()->id();
    }
    places.clear();
  }
  other.items_.clear();
  other.counts_.fill(0);

  auto follow = [&](ItemId& id) {
    auto at = newIds.find(id);
    id = at == newIds.end() ? kNoItem : at->second;
  };
  for (Item* item : moved) {
    follow(item->parent);
    std::ranges::for_each(item->children, follow);
    std::erase(item->children, kNoItem);
    if (item->kind() == ItemKind::Region) follow(static_cast<Region*>(item)->waveformId);
    if (item->kind() == ItemKind::Waveform) follow(static_cast<Waveform*>(item)->pairedWith);
  }
}

// The item's place: the one of its rank that holds it.
Collection::Place& Collection::placeOf(const Item& item) {
  auto& places = placesOf(item.kind());
  auto at = std::ranges::lower_bound(places, item.rank_, {}, &Place::rank);
  while (at->item != &item) ++at;
  return *at;
}

void Collection::insert(std::unique_ptr<Item> item, ItemId id, std::uint64_t rank) {
  auto& places = placesOf(item->kind());
  std::size_t& count = counts_[static_cast<std::size_t>(item->kind())];
  // Places of removed items go when they are most of the list, so that adding stays constant on average.
  if (places.size() > 2 * count + 16 && walks_ == 0)
    std::erase_if(places, [](const Place& place) { return !place.item; });
  item->id_ = id;
  item->collection_ = this;
  item->rank_ = rank;
  places.push_back({rank, item.get()});
  ++count;
  items_[id] = std::move(item);
}

// Takes the item out of the map and the enumeration, and leaves the tree as it is.
std::unique_ptr<Item> Collection::extract(Item& item) {
  placeOf(item).item = nullptr;
  --counts_[static_cast<std::size_t>(item.kind())];
  auto node = items_.extract(item.id());
  return std::move(node.mapped());
}

// Puts another item in the place of one; its id, owner and rank are those of the item replaced.
std::unique_ptr<Item> Collection::replace(Item& item, std::unique_ptr<Item> replacement) {
  replacement->id_ = item.id_;
  replacement->collection_ = this;
  replacement->rank_ = item.rank_;
  placeOf(item).item = replacement.get();
  return std::exchange(items_.at(item.id_), std::move(replacement));
}

// The places are out of order then, see sortPlaces().
void Collection::setRanks(const std::unordered_map<ItemId, std::uint64_t>& ranks) {
  if (ranks.empty()) return;
  for (auto& places : places_)
    for (Place& place : places) {
      if (!place.item) continue;
      const auto found = ranks.find(place.item->id_);
      if (found != ranks.end()) place.rank = place.item->rank_ = found->second;
    }
}

// After items were inserted with ranks of their own.
void Collection::sortPlaces() {
  for (auto& places : places_)
    if (!std::ranges::is_sorted(places, {}, &Place::rank)) std::ranges::stable_sort(places, {}, &Place::rank);
}

}  // namespace vemko
