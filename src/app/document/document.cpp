#include "app/document/document.h"

#include <algorithm>
#include <array>
#include <random>
#include <unordered_set>
#include <utility>

#include "app/app_settings.h"
#include "base/text.h"
#include "base/version.h"

namespace vemko::app {
namespace {

using Counts = std::array<std::size_t, kItemKindCount>;

Counts countsOf(const Collection& collection) {
  Counts counts;
  for (int kind = 0; kind < kItemKindCount; ++kind)
    counts[static_cast<std::size_t>(kind)] = collection.count(static_cast<ItemKind>(kind));
  return counts;
}

// New items stand behind the others of their kind.
std::vector<ItemId> itemsSince(const Collection& collection, const Counts& before) {
  std::vector<ItemId> ids;
  for (int kind = 0; kind < kItemKindCount; ++kind) {
    const auto items = collection.allOf(static_cast<ItemKind>(kind));
    for (std::size_t i = before[static_cast<std::size_t>(kind)]; i < items.size(); ++i)
      ids.push_back(items[i]->id());
  }
  return ids;
}

std::vector<ItemId> allItems(const Collection& collection) { return itemsSince(collection, Counts{}); }

// Another file makes it another document: ids of what was copied before may mean other items then.
std::uint64_t newIdentity() {
  std::random_device random;
  return std::uint64_t{random()} << 32 | random();
}

// What a tidying may change, for equality only.
std::vector<std::size_t> contentsOf(const Collection& collection) {
  std::vector<std::size_t> contents;
  auto add = [&](auto... values) { (contents.push_back(static_cast<std::size_t>(values)), ...); };
  collection.forEach<Instrument>([&](const Instrument& instrument) {
    add(instrument.id(), std::hash<std::u16string>()(instrument.name()), instrument.articulation.hash(),
        instrument.children.size());
  });
  collection.forEach<Layer>(
      [&](const Layer& layer) { add(layer.id(), layer.articulation.hash(), layer.children.size()); });
  collection.forEach<Region>([&](const Region& region) {
    add(region.id(), region.parent, region.waveformId, region.section.start, region.section.end,
        region.articulation.hash());
  });
  collection.forEach<Song>(
      [&](const Song& song) { add(song.id(), std::hash<std::u16string>()(song.name())); });
  collection.forEach<Waveform>([&](const Waveform& waveform) {
    add(waveform.id(), std::hash<std::u16string>()(waveform.name()), waveform.frames, waveform.channels);
    for (const LoopRecord& record : waveform.records) add(record.id, record.start, record.end, record.play);
  });
  return contents;
}

// Songs go to a file as events wherever its format has them; only elsewhere is it their sound.
io::SaveOptions withEvents(io::SaveOptions options, int row) {
  options.requested |= io::capabilitiesOf(row).capabilities & io::kMidiEvents;
  return options;
}

}  // namespace

Document::Document() : identity_(newIdentity()) {}

bool Document::open(const Path& file, io::OpenMode mode) {
  if (mode == io::OpenMode::Merge) {
    bool opened = false;
    edit(u"Merge " + textOf(file.filename()), {}, Touches::Structure, [&](Created& created) {
      const Counts before = countsOf(collection_);
      opened = io::openWithMode(collection_, file, mode, true);
      created = itemsSince(collection_, before);
      return !created.empty();
    });
    return opened;
  }
  history_.clear();
  identity_ = newIdentity();
  selectedItems_.clear();
  selectedWaveforms_.clear();
  const bool opened = io::openWithMode(collection_, file, mode, true);
  past_.clear();
  future_.clear();
  savedRevision_ = revision_ = ++lastRevision_;
  tell({.structure = true, .items = {}});
  return opened;
}

void Document::startNew() {
  collection_.clear();
  history_.clear();
  identity_ = newIdentity();
  selectedItems_.clear();
  selectedWaveforms_.clear();
  past_.clear();
  future_.clear();
  savedRevision_ = revision_ = ++lastRevision_;
  tell({.structure = true, .items = {}});
}

bool Document::save(Item& item, const Path& file, int row, const io::SaveOptions& options) {
  bool saved = false;
  const bool wholeCollection = item.kind() == ItemKind::Collection;
  whileSaving([&] { saved = io::saveWithBackup(&item, file, row, withEvents(options, row), true); });
  if (saved && (wholeCollection || isSameFile(file, collection_.file))) savedRevision_ = revision_;
  tell({.structure = true, .items = {}});
  return saved;
}

io::SaveAllResult Document::saveAll(io::SaveAllRequest request) {
  request.collection = &collection_;
  request.options = withEvents(request.options, request.row);
  io::SaveAllResult result;
  whileSaving([&] { result = io::saveAll(request); });
  if (result.ok && request.kind == ItemKind::Collection) savedRevision_ = revision_;
  tell({.structure = true, .items = {}});
  return result;
}

// Saving tidies what it stores. Where that changed anything, it becomes a step like any other.
void Document::whileSaving(const std::function<void()>& work) {
  const std::vector<std::size_t> before = contentsOf(collection_);
  const std::vector<ItemId> items = allItems(collection_);
  Snapshot snapshot = Snapshot::capture(collection_, items);
  work();
  if (contentsOf(collection_) == before) return;
  std::vector<ItemId> created = allItems(collection_);
  const std::unordered_set<ItemId> known(items.begin(), items.end());
  std::erase_if(created, [&](ItemId id) { return known.contains(id); });
  snapshot.addAbsent(created);
  history_.add(u"Tidy up before saving", std::move(snapshot));
  takeStep({.structure = true, .items = {}});
}

std::u16string Document::title() const {
  return (isChanged() ? u"*" : u"") + collection_.displayName() + u" - " + toUtf16(kProductName);
}

bool Document::undo() {
  if (!history_.undo(collection_)) return false;
  const Revision step = std::move(past_.back());
  past_.pop_back();
  future_.push_back({std::exchange(revision_, step.number), step.change});
  tell(step.change);
  return true;
}

bool Document::redo() {
  if (!history_.redo(collection_)) return false;
  const Revision step = std::move(future_.back());
  future_.pop_back();
  past_.push_back({std::exchange(revision_, step.number), step.change});
  tell(step.change);
  return true;
}

bool Document::edit(std::u16string stepName, std::span<const ItemId> items, Touches touches,
                    const std::function<bool(Created&)>& change) {
  Snapshot before = Snapshot::capture(collection_, items);
  Created created;
  if (!change(created)) return false;
  before.addAbsent(created);
  history_.add(std::move(stepName), std::move(before));
  const DocumentChange told{.structure = touches == Touches::Structure,
                            .items = {items.begin(), items.end()}};
  takeStep(told);
  tell(told);
  return true;
}

std::vector<ItemId> Document::withDescendants(std::span<const ItemId> items) const {
  std::vector<ItemId> all;
  std::unordered_set<ItemId> seen;
  auto take = [&](ItemId id) {
    if (seen.insert(id).second) all.push_back(id);
  };
  for (ItemId id : items) take(id);
  for (std::size_t i = 0; i < all.size(); ++i)
    if (const Item* item = collection_.find(all[i]))
      for (ItemId child : item->children) take(child);
  return all;
}

std::vector<ItemId> Document::withoutDescendants(std::span<const ItemId> items) const {
  const std::unordered_set<ItemId> all(items.begin(), items.end());
  std::vector<ItemId> tops(items.begin(), items.end());
  std::erase_if(tops, [&](ItemId id) {
    const Item* item = collection_.find(id);
    while (item && !all.contains(item->parent)) item = collection_.find(item->parent);
    return item != nullptr && item->parent != kNoItem;
  });
  return tops;
}

bool Document::applyTool(const tools::ToolEntry& tool, tools::ToolContext& context) {
  context.history = &history_;
  const bool applied = tools::applyTool(tool, context);
  if (context.processedCount > 0) {
    const DocumentChange told{.structure = true, .items = {}};
    takeStep(told);
    tell(told);
  }
  return applied;
}

void Document::takeStep(DocumentChange change) {
  past_.push_back({revision_, std::move(change)});
  future_.clear();
  revision_ = ++lastRevision_;
}

void Document::tell(const DocumentChange& change) {
  if (change.structure) dropGoneSelection();
  if (onChange) onChange(change);
}

void Document::dropGoneSelection() {
  auto isGone = [&](ItemId id) { return !find(id); };
  const std::size_t gone = std::erase_if(selectedItems_, isGone) + std::erase_if(selectedWaveforms_, isGone);
  if (gone > 0 && onSelection) onSelection();
}

void Document::selectItems(std::vector<ItemId> items) {
  waveformsActive_ = false;
  if (items == selectedItems_) return;
  if (appSettings().shell.autoSelectSubItems) items = withNewSubItems(std::move(items));
  selectedItems_ = std::move(items);
  if (appSettings().shell.autoSelectWaveforms) selectPlayedWaveforms();
  if (onSelection) onSelection();
}

// So that single sub-items can still be taken out of the selection.
std::vector<ItemId> Document::withNewSubItems(std::vector<ItemId> items) const {
  const std::unordered_set<ItemId> former(selectedItems_.begin(), selectedItems_.end());
  std::unordered_set<ItemId> listed(items.begin(), items.end());
  std::vector<ItemId> added = items;
  std::erase_if(added, [&](ItemId id) { return former.contains(id); });
  for (ItemId id : withDescendants(added))
    if (listed.insert(id).second) items.push_back(id);
  return items;
}

// The collection itself plays all of them, which would say nothing.
void Document::selectPlayedWaveforms() {
  std::vector<ItemId> waveforms;
  for (ItemId id : selectedItems_) {
    const Item* item = collection_.find(id);
    if (!item || item->kind() == ItemKind::Song || item->kind() == ItemKind::Track) continue;
    for (const Waveform* waveform : waveformsOf(*item)) waveforms.push_back(waveform->id());
  }
  std::ranges::sort(waveforms);
  waveforms.erase(std::unique(waveforms.begin(), waveforms.end()), waveforms.end());
  if (!waveforms.empty()) selectedWaveforms_ = std::move(waveforms);
}

void Document::selectWaveforms(std::vector<ItemId> waveforms) {
  waveformsActive_ = true;
  if (waveforms == selectedWaveforms_) return;
  selectedWaveforms_ = std::move(waveforms);
  if (onSelection) onSelection();
}

std::vector<Item*> Document::selectedTargets() const {
  std::vector<Item*> items;
  for (ItemId id : selection())
    if (Item* item = find(id)) items.push_back(item);
  return items;
}

Item* Document::find(ItemId id) const { return id == kNoItem ? &collection_ : collection_.find(id); }

}  // namespace vemko::app
