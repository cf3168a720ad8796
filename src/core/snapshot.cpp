#include "core/snapshot.h"

#include <algorithm>

namespace vemko {
namespace {

std::size_t bytesOf(const std::u16string& text) { return text.capacity() * sizeof(char16_t); }

std::size_t bytesOf(const Waveform& waveform) {
  std::size_t bytes = sizeof waveform + waveform.records.capacity() * sizeof(LoopRecord);
  for (const LoopRecord& record : waveform.records) bytes += bytesOf(record.name);
  return bytes;
}

template <class Level>
std::size_t bytesOfLevel(const Item& item) {
  return sizeof(Level) + static_cast<const Level&>(item).articulation.count() * sizeof(float);
}

// Without shared images and sample buffers.
std::size_t bytesOf(const Item& item) {
  std::size_t bytes = item.children.capacity() * sizeof(ItemId);
  for (TextProperty property : kTextProperties) bytes += bytesOf(item.text(property));
  switch (item.kind()) {
    case ItemKind::Waveform:
      return bytes + bytesOf(static_cast<const Waveform&>(item));
    case ItemKind::Region:
      return bytes + bytesOfLevel<Region>(item);
    case ItemKind::Layer:
      return bytes + bytesOfLevel<Layer>(item);
    case ItemKind::Instrument:
      return bytes + bytesOfLevel<Instrument>(item);
    case ItemKind::Track:
      return bytes + sizeof(Track) + static_cast<const Track&>(item).events().size();
    case ItemKind::Synth:
      return bytes + sizeof(Synth) + static_cast<const Synth&>(item).settings.size();
    default:
      return bytes + sizeof(Song);
  }
}

// Brings a child list back: the children of `before` that still belong to the parent, then those that came
// since.
void restoreChildren(const Collection& collection, Item& parent, const std::vector<ItemId>& before,
                     const std::vector<ItemId>& since) {
  std::vector<ItemId> children;
  std::unordered_set<ItemId> listed;
  for (const auto* list : {&before, &since})
    for (ItemId id : *list) {
      const Item* child = collection.find(id);
      if (child && child->parent == parent.id() && listed.insert(id).second) children.push_back(id);
    }
  parent.children = std::move(children);
}

}  // namespace

Snapshot Snapshot::capture(Collection& collection, std::span<const ItemId> items) {
  Snapshot snapshot;
  if (std::ranges::find(items, kNoItem) != items.end())
    snapshot.texts_ = {collection.name_, collection.texts_, collection.image_};
  snapshot.addAbsent(items);
  for (Entry& entry : snapshot.entries_) {
    const Item* item = collection.find(entry.id);
    if (!item) continue;
    entry.state = item->clone(collection);
    snapshot.rememberChildren(collection, item->parent);
  }
  return snapshot;
}

void Snapshot::addAbsent(std::span<const ItemId> items) {
  for (ItemId id : items)
    if (id != kNoItem && ids_.insert(id).second) entries_.push_back({id, nullptr});
}

Snapshot Snapshot::restore(Collection& collection) {
  Snapshot undo;
  undo.ids_ = ids_;
  if (texts_) {
    undo.texts_ = {collection.name_, collection.texts_, collection.image_};
    collection.name_ = std::move(texts_->name);
    collection.texts_ = std::move(texts_->texts);
    collection.image_ = std::move(texts_->image);
  }
  for (const auto& [parent, children] : childLists_) undo.rememberChildren(collection, parent);
  for (const Entry& entry : entries_)
    if (const Item* item = collection.find(entry.id)) undo.rememberChildren(collection, item->parent);

  std::unordered_map<ItemId, std::uint64_t> movedRanks;
  for (const Entry& entry : entries_)
    if (const Item* item = collection.find(entry.id);
        item && entry.state && item->rank_ != entry.state->rank_)
      movedRanks.emplace(entry.id, entry.state->rank_);
  for (Entry& entry : entries_) undo.entries_.push_back({entry.id, exchange(collection, entry)});
  collection.setRanks(movedRanks);
  collection.sortPlaces();

  const std::vector<ItemId> none;
  for (const Entry& former : undo.entries_) {
    Item* item = collection.find(former.id);
    if (!item) continue;
    if (!collection.find(item->parent)) item->parent = kNoItem;
    const std::vector<ItemId> before = std::move(item->children);
    restoreChildren(collection, *item, before, former.state ? former.state->children : none);
  }
  for (const auto& [parent, since] : undo.childLists_) {
    auto before = childLists_.find(parent);
    if (Item* item = collection.find(parent))
      restoreChildren(collection, *item, before == childLists_.end() ? none : before->second, since);
  }
  *this = {};
  return undo;
}

std::size_t Snapshot::memoryUse() const {
  const Snapshot* self = this;
  return memoryUse({&self, 1});
}

std::size_t Snapshot::memoryUse(std::span<const Snapshot* const> snapshots) {
  std::size_t bytes = 0;
  std::unordered_map<const SampleBuffer*, long> holders;
  for (const Snapshot* snapshot : snapshots) {
    bytes += snapshot->entries_.capacity() * sizeof(Entry);
    for (const auto& [parent, children] : snapshot->childLists_)
      bytes += children.capacity() * sizeof(ItemId);
    for (const Entry& entry : snapshot->entries_) {
      if (!entry.state) continue;
      bytes += bytesOf(*entry.state);
      if (entry.state->kind() != ItemKind::Waveform) continue;
      const auto& buffer = static_cast<const Waveform&>(*entry.state).buffer;
      if (buffer && ++holders[buffer.get()] == buffer.use_count()) bytes += buffer->samples().size_bytes();
    }
  }
  return bytes;
}

void Snapshot::rememberChildren(const Collection& collection, ItemId parent) {
  if (ids_.contains(parent) || childLists_.contains(parent)) return;
  if (const Item* item = collection.find(parent)) childLists_.emplace(parent, item->children);
}

// Puts the entry's state in the collection and hands back what was there.
std::unique_ptr<Item> Snapshot::exchange(Collection& collection, Entry& entry) {
  Item* item = collection.find(entry.id);
  if (item && entry.state) return collection.replace(*item, std::move(entry.state));
  if (item) return collection.extract(*item);
  if (entry.state) {
    const std::uint64_t rank = entry.state->rank_;
    collection.insert(std::move(entry.state), entry.id, rank);
  }
  return nullptr;
}

}  // namespace vemko
