#include <unordered_set>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"
#include "core/feature_use.h"
#include "io/fixup.h"
#include "io/samples.h"
#include "io/save_steps.h"

namespace vemko::io {
namespace {

constexpr std::u16string_view kCannotSave = u"The file format can not save this item";

bool isEmpty(const Item& item) {
  switch (item.kind()) {
    case ItemKind::Waveform:
      return static_cast<const Waveform&>(item).frames == 0;
    case ItemKind::Instrument:
      return regionsOf(item).empty();
    case ItemKind::Song:
      return item.children.empty();
    case ItemKind::Collection:
      for (ItemKind kind : {ItemKind::Waveform, ItemKind::Synth, ItemKind::Instrument, ItemKind::Song})
        if (item.collection().count(kind) > 0) return false;
      return true;
    default:
      return false;
  }
}

enum class Way { AsItIs, Render, Impossible, NoConversion };

// A song goes to a file as events only when that is asked for; else, and for a synth that the row cannot
// hold, it is its sound that is saved.
Way wayOf(const Item& stored, int row, const SaveOptions& options, FormatRows rows) {
  const ItemKind kind = stored.kind();
  const bool held = canHold(row, kind, rows);
  const bool hasSound = kind == ItemKind::Song || kind == ItemKind::Synth;
  const bool asEvents = kind != ItemKind::Song || (options.requested & kMidiEvents) != 0;
  if (held && asEvents) return Way::AsItIs;
  if (hasSound && canHold(row, ItemKind::Waveform, rows)) return Way::Render;
  return held ? Way::NoConversion : Way::Impossible;
}

// The writers stream deferred samples from their files, one waveform at a time, so that a bank of any size is
// saved in little memory. All that is needed beforehand is that the samples can be had: a missing file is
// found before the target is touched. Waveforms without a frame have nothing to load.
bool checkSamplesOf(const Item& item) {
  std::vector<Waveform*> waveforms = waveformsOf(item);
  std::erase_if(waveforms, [](const Waveform* waveform) { return waveform->frames == 0; });
  return checkSamples(waveforms);
}

bool render(Item& item, PreparedItem& prepared) {
  constexpr std::u16string_view kFailed = u"Failed to render synth to wave";
  if (!renderHooks().toWaveform) return fail(kFailed);
  prepared.temporary = std::make_unique<Collection>();
  Waveform& result = createWaveform(*prepared.temporary, item.name());
  if (!renderHooks().toWaveform(item, result)) {
    logWarning(item.displayName() + u": " + lastError());
    return fail(kFailed);
  }
  prepared.item = &result;
  return true;
}

// Players find instruments by their numbers, so that of several with the same ones they reach one.
void tellSharedPatches(const Item& item, const FormatEntry& entry) {
  if (item.kind() != ItemKind::Collection || !entry.features.has(features::Patches)) return;
  std::unordered_set<std::uint32_t> patches;
  std::size_t shared = 0;
  const Instrument* example = nullptr;
  for (const Instrument* instrument : item.collection().all<Instrument>()) {
    if (patches.insert(instrument->patch.word).second) continue;
    if (shared++ == 0) example = instrument;
  }
  if (shared > 0)
    logWarning(u"Instruments with the bank and program of another, of which players find only one: " +
               toUtf16(std::to_string(shared)) + u", as " + example->displayName());
}

bool needsSplitting(const Item& item, CapabilityMask requested, CapabilityMask capabilities) {
  if ((capabilities & kLinkedStereo) == 0 || (capabilities & kStereo) != 0) return false;
  // Both sides become one.
  if ((requested & (kMono | kStereo)) == kMono && (capabilities & kMono) != 0) return false;
  // A single waveform has no partner's file to go to.
  if (item.kind() == ItemKind::Waveform) return false;
  for (const Waveform* waveform : waveformsOf(item))
    if (waveform->channels == 2) return true;
  return false;
}

// Writers take these from the collection also where they write one of its instruments.
void copyDescription(const Collection& source, Collection& target) {
  for (TextProperty property : kTextProperties) target.setText(property, source.text(property));
  target.shareImage(source);
  target.notes = source.notes;
}

void copyWithChildren(const Item& source, Collection& target) {
  target.add(source.clone(target), serialOf(source.id()));
  for (ItemId id : source.children)
    if (const Item* child = source.collection().find(id)) copyWithChildren(*child, target);
}

}  // namespace

Item* storedItemFor(Item& item) {
  Item* stored = &item;
  while (stored) {
    const ItemKind kind = stored->kind();
    const bool isPart = kind == ItemKind::Layer || kind == ItemKind::Region || kind == ItemKind::Track ||
                        (kind == ItemKind::Synth && stored->parent != kNoItem);
    if (!isPart) break;
    stored = stored->parent == kNoItem ? nullptr : item.collection().find(stored->parent);
  }
  return stored;
}

bool tidyBelow(Collection& collection, ItemKind kind) {
  return fixUp(collection, static_cast<KindMask>((1u << static_cast<int>(kind)) - 1), false);
}

bool splitForWriting(const Item& item, PreparedItem& prepared) {
  auto copies = std::make_unique<Collection>();
  copyDescription(item.collection(), *copies);
  if (item.kind() == ItemKind::Collection) {
    for (int kind = 0; kind < kItemKindCount; ++kind)
      for (const Item* each : item.collection().allOf(static_cast<ItemKind>(kind)))
        copies->add(each->clone(*copies), serialOf(each->id()));
  } else {
    for (const Waveform* waveform : waveformsOf(item))
      copies->add(waveform->clone(*copies), serialOf(waveform->id()));
    copyWithChildren(item, *copies);
  }
  if (!splitStereo(*copies)) {
    logWarning(item.displayName() + u": " + lastError());
    return fail(u"Save aborted!");
  }
  prepared.item = item.kind() == ItemKind::Collection ? copies.get() : copies->find(item.id());
  prepared.temporary = std::move(copies);
  return true;
}

bool prepareItem(Item* item, int row, const SaveOptions& options, bool tidy, FormatRows rows,
                 PreparedItem& prepared) {
  if (!item) return fail(u"No item selected");
  const FormatEntry* entry = formatRow(row, rows);
  if (!entry || !entry->writer) return fail(u"Invalid export format selected");
  prepared.item = storedItemFor(*item);
  if (!prepared.item) return fail(u"Save aborted!");
  const Way way = wayOf(*prepared.item, row, options, rows);
  if (way == Way::Impossible) return fail(kCannotSave);
  if (way == Way::NoConversion) return fail(u"Save aborted!");
  if (tidy && !tidyBelow(prepared.item->collection(), prepared.item->kind())) return false;
  if (!checkSamplesOf(*prepared.item)) return false;
  if (way == Way::Render && !render(*prepared.item, prepared)) return false;
  if (isEmpty(*prepared.item)) return fail(u"Empty item - nothing to save");
  tellSharedPatches(*prepared.item, *entry);
  return !needsSplitting(*prepared.item, options.requested, entry->capabilities) ||
         splitForWriting(*prepared.item, prepared);
}

}  // namespace vemko::io
