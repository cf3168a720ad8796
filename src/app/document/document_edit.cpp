#include <algorithm>
#include <tuple>
#include <unordered_set>

#include "app/document/document.h"
#include "base/last_error.h"
#include "base/text.h"

namespace vemko::app {
namespace {

// The kind that may hold the kind in its child list; Special where none does.
constexpr ItemKind kindAbove(ItemKind kind) {
  switch (kind) {
    case ItemKind::Region:
      return ItemKind::Layer;
    case ItemKind::Layer:
    case ItemKind::Synth:
      return ItemKind::Instrument;
    case ItemKind::Track:
      return ItemKind::Song;
    default:
      return ItemKind::Special;
  }
}

std::u16string countedStep(std::u16string_view verb, std::span<const ItemId> items) {
  std::u16string name(verb);
  if (items.size() == 1) return name + u" " + std::u16string(displayWord(kindOf(items[0])));
  return name + u" " + toUtf16(std::to_string(items.size())) + u" items";
}

// The item of that kind at the target or above it.
Item* nearest(Collection& collection, ItemId target, ItemKind kind) {
  Item* item = collection.find(target);
  while (item && item->kind() != kind) item = collection.find(item->parent);
  return item;
}

std::vector<Item*> resolve(Collection& collection, std::span<const ItemId> ids) {
  std::vector<Item*> items;
  for (ItemId id : ids)
    if (Item* item = collection.find(id)) items.push_back(item);
  return items;
}

std::size_t indexIn(const std::vector<ItemId>& list, ItemId id) {
  return static_cast<std::size_t>(std::ranges::find(list, id) - list.begin());
}

std::vector<ItemId> idsOfKind(const Collection& collection, ItemKind kind) {
  std::vector<ItemId> ids;
  for (const Item* item : collection.allOf(kind)) ids.push_back(item->id());
  return ids;
}

void moveBefore(std::vector<Item*>& order, const std::vector<Item*>& moved, const Item* target) {
  const std::unordered_set<const Item*> set(moved.begin(), moved.end());
  std::erase_if(order, [&](Item* item) { return set.contains(item); });
  order.insert(std::ranges::find(order, target), moved.begin(), moved.end());
}

}  // namespace

bool Document::rename(ItemId id, std::u16string_view name) {
  Item* item = find(id);
  if (!item || item->name() == trimmed(name)) return false;
  const ItemId ids[] = {id};
  const std::u16string word(displayWord(item->kind()));
  return edit(u"Rename " + word, ids, Touches::Content, [&](Created&) {
    item->setName(name);
    return true;
  });
}

bool Document::remove(std::span<const ItemId> all) {
  const std::vector<ItemId> ids = withoutDescendants(all);
  const std::vector<Item*> items = resolve(collection_, ids);
  if (items.empty()) return false;
  return edit(countedStep(u"Delete", ids), withDescendants(ids), Touches::Structure, [&](Created&) {
    collection_.remove(items);
    return true;
  });
}

bool Document::move(std::span<const ItemId> all, ItemId targetId) {
  const std::vector<ItemId> ids = withoutDescendants(all);
  const std::vector<Item*> items = resolve(collection_, ids);
  Item* target = collection_.find(targetId);
  if (items.empty() || !target || std::ranges::find(items, target) != items.end()) return false;
  const ItemKind kind = items[0]->kind();
  if (std::ranges::any_of(items, [&](const Item* item) { return item->kind() != kind; }))
    return fail(u"Items of different kinds cannot be moved together");
  Item* parent = target->kind() == kind ? collection_.find(target->parent) : target;
  if (parent && parent->kind() != kindAbove(kind)) return fail(u"The item cannot be moved there");
  if (!parent && target->kind() != kind) return fail(u"The item cannot be moved there");

  const std::vector<ItemId> touched = parent ? withDescendants(ids) : idsOfKind(collection_, kind);
  return edit(countedStep(u"Move", ids), touched, Touches::Structure, [&](Created&) {
    if (!parent) {
      std::vector<Item*> order = collection_.allOf(kind);
      moveBefore(order, items, target);
      collection_.reorder(kind, order);
      return true;
    }
    for (Item* item : items) {
      attach(*parent, *item);
      if (target == parent) continue;
      const std::size_t last = parent->children.size() - 1;
      parent->moveChild(last, indexIn(parent->children, target->id()));
    }
    return true;
  });
}

bool Document::moveBy(ItemId id, int steps) {
  Item* item = collection_.find(id);
  if (!item) return false;
  Item* parent = collection_.find(item->parent);
  std::vector<ItemId> siblings = parent ? parent->children : idsOfKind(collection_, item->kind());
  const auto at = static_cast<std::ptrdiff_t>(indexIn(siblings, id));
  const std::ptrdiff_t to = at + steps;
  if (to < 0 || to >= static_cast<std::ptrdiff_t>(siblings.size())) return false;
  const ItemId ids[] = {id};
  const std::vector<ItemId> touched = parent ? std::vector<ItemId>{parent->id()} : siblings;
  return edit(countedStep(u"Move", ids), touched, Touches::Structure, [&](Created&) {
    if (parent) {
      parent->moveChild(static_cast<std::size_t>(at), static_cast<std::size_t>(to));
      return true;
    }
    std::vector<Item*> order = collection_.allOf(item->kind());
    std::swap(order[static_cast<std::size_t>(at)], order[static_cast<std::size_t>(to)]);
    collection_.reorder(item->kind(), order);
    return true;
  });
}

bool Document::create(ItemKind kind, ItemId targetId) {
  const ItemKind above = kindAbove(kind);
  Item* parent = nearest(collection_, targetId, above);
  if (above != ItemKind::Special && !parent)
    return fail(u"Select the " + std::u16string(displayWord(above)) + u" to hold the new item first");
  std::vector<ItemId> touched;
  if (parent) touched.push_back(parent->id());
  ItemId made = kNoItem;
  const bool done =
      edit(u"New " + std::u16string(displayWord(kind)), touched, Touches::Structure, [&](Created& created) {
        Item* item = nullptr;
        if (kind == ItemKind::Instrument) item = &createInstrument(collection_, {});
        if (kind == ItemKind::Song) item = &createSong(collection_, {});
        if (kind == ItemKind::Track) item = &createTrack(static_cast<Song&>(*parent), u"New track");
        if (kind == ItemKind::Layer) item = &createLayer(static_cast<Instrument&>(*parent), {});
        if (kind == ItemKind::Region) {
          const bool one = selectedWaveforms_.size() == 1;
          item = &createRegion(static_cast<Layer&>(*parent), {},
                               {.waveform = one ? serialOf(selectedWaveforms_[0]) : kNoWaveform});
        }
        if (!item) return false;
        made = item->id();
        created.push_back(made);
        return true;
      });
  if (done) selectItems({made});
  return done;
}

bool Document::linkWaveform(std::span<const ItemId> items, ItemId waveform) {
  std::vector<ItemId> regions;
  for (ItemId id : items)
    if (const auto* region = collection_.find<Region>(id); region && region->waveformId != waveform)
      regions.push_back(id);
  if (regions.empty() || !collection_.find<Waveform>(waveform)) return false;
  return edit(u"Play another waveform", regions, Touches::Content, [&](Created&) {
    for (ItemId id : regions) collection_.find<Region>(id)->setWaveform(waveform);
    return true;
  });
}

bool Document::sort(SortKey key) {
  std::vector<ItemId> touched = idsOfKind(collection_, ItemKind::Instrument);
  if (key == SortKey::Name)
    for (ItemId id : idsOfKind(collection_, ItemKind::Song)) touched.push_back(id);
  const auto less = [&](const Item* a, const Item* b) {
    if (key == SortKey::Name) return compareNatural(a->name(), b->name()) < 0;
    const auto& first = static_cast<const Instrument&>(*a).patch;
    const auto& second = static_cast<const Instrument&>(*b).patch;
    // Drum kits last, then by MSB, LSB and program.
    return std::tuple(first.isDrumKit(), first.bankMsb(), first.bankLsb(), first.program()) <
           std::tuple(second.isDrumKit(), second.bankMsb(), second.bankLsb(), second.program());
  };
  const std::u16string name = key == SortKey::Name ? u"Sort by name" : u"Sort by program";
  return edit(name, touched, Touches::Structure, [&](Created&) {
    bool moved = false;
    for (ItemKind kind : {ItemKind::Instrument, ItemKind::Song}) {
      if (kind == ItemKind::Song && key == SortKey::Program) continue;
      std::vector<Item*> order = collection_.allOf(kind);
      if (std::ranges::is_sorted(order, less)) continue;
      std::ranges::stable_sort(order, less);
      collection_.reorder(kind, order);
      moved = true;
    }
    return moved;
  });
}

}  // namespace vemko::app
