#include <algorithm>
#include <unordered_set>
#include <utility>

#include "app/document/document.h"
#include "base/last_error.h"

namespace vemko::app {
namespace {

void copyInto(Collection& target, const Item& item) {
  if (target.find(item.id())) return;
  Item& copy = target.add(item.clone(target), serialOf(item.id()));
  copy.children.clear();
  copy.parent = kNoItem;  // attach() would find the parent's copy by it, and look through all its children
  for (ItemId child : item.children) {
    const Item* below = item.collection().find(child);
    if (!below) continue;
    copyInto(target, *below);
    if (Item* copied = target.find(child)) attach(copy, *copied);
  }
}

}  // namespace

std::optional<CopiedItems> Document::copy(std::span<const ItemId> ids, bool cut) const {
  CopiedItems copied{identity_, cut, {}, std::make_unique<Collection>()};
  std::vector<const Item*> items;  // what lies below another selected item comes with it
  for (ItemId id : withoutDescendants(ids))
    if (const Item* item = collection_.find(id)) items.push_back(item);
  if (items.empty()) return std::nullopt;
  for (const Item* item : items) {
    copied.tops.push_back(item->id());
    copyInto(*copied.items, *item);
    for (const Waveform* waveform : waveformsOf(*item)) copyInto(*copied.items, *waveform);
  }
  // What leads nowhere now is not to lead to whatever has the id later.
  copied.items->forEach<Region>([](Region& region) {
    if (!region.waveform()) region.setWaveform(kNoItem);
  });
  return copied;
}

// Waveforms that only come along, and those that a link stands for, are left out where the document still has
// them: the regions' ids then lead to the ones here.
void Document::dropKnownWaveforms(CopiedItems& copied, bool link) const {
  const std::unordered_set<ItemId> tops(copied.tops.begin(), copied.tops.end());
  for (Waveform* waveform : copied.items->all<Waveform>()) {
    const auto* known = collection_.find<Waveform>(waveform->id());
    const bool isHere = known && known->birth == waveform->birth;
    if (isHere && (link || !tops.contains(waveform->id()))) (void)copied.items->take(*waveform);
  }
}

namespace {

// No two records of a run share an id.
void renumberRecords(Waveform& waveform) {
  const std::uint32_t mainLoop = waveform.mainLoopId;
  waveform.mainLoopId = 0;
  for (LoopRecord& record : waveform.records) {
    const std::uint32_t former = std::exchange(record.id, nextRecordId());
    if (mainLoop != 0 && former == mainLoop) waveform.mainLoopId = record.id;
  }
}

}  // namespace

bool Document::paste(CopiedItems copied, ItemId targetId, bool link) {
  const bool own = copied.origin == identity_;
  if (link && !own) return fail(kNothingOnClipboard);
  if (own) dropKnownWaveforms(copied, link);
  copied.items->forEach<Waveform>(renumberRecords);
  std::vector<PastePlace> places;
  for (ItemId top : copied.tops) {
    const auto place = placeFor(kindOf(top), targetId, link);
    if (!place) return fail(u"Select the item that is to hold what is pasted first");
    places.push_back(*place);
  }
  std::vector<ItemId> touched;
  for (const PastePlace& place : places)
    if (place.parent != kNoItem && std::ranges::find(touched, place.parent) == touched.end())
      touched.push_back(place.parent);
  std::vector<ItemId> pasted;
  const bool done = edit(link ? u"Paste link" : u"Paste", touched, Touches::Structure, [&](Created& created) {
    pasted = placeCopies(copied, places, own, created);
    return !pasted.empty();
  });
  if (!done) return false;
  const bool waves = std::ranges::all_of(pasted, [](ItemId id) { return kindOf(id) == ItemKind::Waveform; });
  if (waves)
    selectWaveforms(std::move(pasted));
  else
    selectItems(std::move(pasted));
  return true;
}

// Where an item of the kind goes: into the target or what is around it; top items into the collection.
std::optional<Document::PastePlace> Document::placeFor(ItemKind kind, ItemId targetId, bool link) const {
  ItemKind wanted = ItemKind::Special;
  if (kind == ItemKind::Region || (kind == ItemKind::Waveform && link)) wanted = ItemKind::Layer;
  if (kind == ItemKind::Layer) wanted = ItemKind::Instrument;
  if (kind == ItemKind::Track) wanted = ItemKind::Song;
  if (wanted == ItemKind::Special) return PastePlace{};
  const Item* item = collection_.find(targetId);
  while (item && item->kind() != wanted) item = collection_.find(item->parent);
  // An instrument's only layer is meant as well.
  const Item* target = collection_.find(targetId);
  if (!item && wanted == ItemKind::Layer && target && target->kind() == ItemKind::Instrument &&
      target->children.size() == 1)
    item = collection_.find(target->children[0]);
  if (!item || item->kind() != wanted) return std::nullopt;
  return PastePlace{item->id()};
}

std::vector<ItemId> Document::placeCopies(CopiedItems& copied, std::span<const PastePlace> places, bool own,
                                          Created& created) {
  std::vector<Item*> tops;
  for (ItemId id : copied.tops)
    tops.push_back(copied.items->find(id));  // null for a waveform that is here already
  if (own && !copied.wasCut)
    for (Item* top : tops)
      if (top) top->setName(u"Copy of " + top->displayName());
  std::vector<const Item*> fresh;
  for (int kind = 0; kind < static_cast<int>(ItemKind::Collection); ++kind)
    for (const Item* item : copied.items->allOf(static_cast<ItemKind>(kind))) fresh.push_back(item);
  // What leads to no waveform of the copies is to lead to the one here.
  std::vector<std::pair<Region*, ItemId>> links;
  if (own)
    for (Region* region : copied.items->all<Region>())
      if (!region->waveform()) links.emplace_back(region, region->waveformId);
  collection_.absorb(*copied.items);
  for (const auto& [region, waveform] : links) region->setWaveform(waveform);
  for (const Item* item : fresh) created.push_back(item->id());

  std::vector<ItemId> pasted;
  for (std::size_t i = 0; i < tops.size(); ++i) {
    Item* parent = collection_.find(places[i].parent);
    Item* top = tops[i];
    if (parent && kindOf(copied.tops[i]) == ItemKind::Waveform) {
      const Item* waveform = top ? top : collection_.find(copied.tops[i]);
      top = &createRegion(static_cast<Layer&>(*parent), waveform->name(),
                          {.waveform = serialOf(waveform->id())});
      created.push_back(top->id());
    } else if (top && parent) {
      attach(*parent, *top);
    }
    if (top) pasted.push_back(top->id());
  }
  return pasted;
}

}  // namespace vemko::app
