#include "app/document/document.h"

#include "app/app_settings.h"
#include "app/document/level_edit.h"
#include "core/parameters.h"
#include "support.h"

namespace vemko::app {
namespace {

using Ids = std::vector<ItemId>;

struct Bank {
  Bank() {
    Collection& collection = document.collection();
    wave = createWaveform(collection, u"Wave").id();
    other = createWaveform(collection, u"Other").id();
    Instrument& second = createInstrument(collection, u"B", Patch::of(0, 0, 5));
    layer = createLayer(second, u"Layer").id();
    region = createRegion(*collection.find<Layer>(layer), u"Region", {.waveform = serialOf(wave)}).id();
    b = second.id();
    a = createInstrument(collection, u"A", Patch::of(0, 0, 9)).id();
  }
  Document document;
  ItemId wave, other, a, b, layer, region;
};

std::u16string namesOf(const Collection& collection, ItemKind kind) {
  std::u16string names;
  for (const Item* item : collection.allOf(kind)) names += (names.empty() ? u"" : u",") + item->displayName();
  return names;
}

// Everything that a user sees of the tree.
std::u16string picture(const Collection& collection) {
  std::u16string text = collection.displayName() + u":";
  for (ItemKind kind : {ItemKind::Waveform, ItemKind::Instrument, ItemKind::Song})
    text += namesOf(collection, kind) + u";";
  for (const Region* region : regionsOf(collection)) {
    const Item* layer = collection.find(region->parent);
    text += region->displayName() + u"@" + layer->displayName() + u"@" +
            collection.find(layer->parent)->displayName();
    text += region->waveform() ? u"=" + region->waveform()->displayName() : u"";
  }
  return text;
}

TEST(Document, EveryEditIsTakenBackAndDoneAgain) {
  struct Case {
    const char* name;
    std::function<bool(Bank&)> edit;
    const char* step;
  };
  const Case cases[] = {
      {"rename", [](Bank& bank) { return bank.document.rename(bank.a, u"  New  "); }, "Rename instrument"},
      {"rename the collection", [](Bank& bank) { return bank.document.rename(kNoItem, u"Other"); },
       "Rename collection"},
      {"delete with what is below", [](Bank& bank) { return bank.document.remove(Ids{bank.b}); },
       "Delete instrument"},
      {"delete several",
       [](Bank& bank) {
         return bank.document.remove(Ids{bank.a, bank.wave});
       },
       "Delete 2 items"},
      {"reorder", [](Bank& bank) { return bank.document.moveBy(bank.a, -1); }, "Move instrument"},
      {"drag before another", [](Bank& bank) { return bank.document.move(Ids{bank.a}, bank.b); },
       "Move instrument"},
      {"drag into another", [](Bank& bank) { return bank.document.move(Ids{bank.layer}, bank.a); },
       "Move layer"},
      {"sort by name", [](Bank& bank) { return bank.document.sort(Document::SortKey::Name); },
       "Sort by name"},
      {"create", [](Bank& bank) { return bank.document.create(ItemKind::Region, bank.region); },
       "New region"},
      {"play another waveform",
       [](Bank& bank) {
         return bank.document.linkWaveform(Ids{bank.region, bank.a}, bank.other);
       },
       "Play another waveform"},
      {"paste",
       [](Bank& bank) { return bank.document.paste(*bank.document.copy(Ids{bank.b}), kNoItem, false); },
       "Paste"},
      {"paste link",
       [](Bank& bank) { return bank.document.paste(*bank.document.copy(Ids{bank.wave}), bank.layer, true); },
       "Paste link"},
  };
  for (const Case& each : cases) {
    SCOPED_TRACE(each.name);
    Bank bank;
    const std::u16string before = picture(bank.document.collection());
    ASSERT_TRUE(each.edit(bank)) << toUtf8(lastError());
    const std::u16string after = picture(bank.document.collection());
    EXPECT_NE(toUtf8(after), toUtf8(before));
    EXPECT_EQ(toUtf8(bank.document.history().undoName()), each.step);
    EXPECT_TRUE(bank.document.isChanged());
    ASSERT_TRUE(bank.document.undo());
    EXPECT_EQ(toUtf8(picture(bank.document.collection())), toUtf8(before));
    EXPECT_FALSE(bank.document.isChanged());
    ASSERT_TRUE(bank.document.redo());
    EXPECT_EQ(toUtf8(picture(bank.document.collection())), toUtf8(after));
  }
}

TEST(Document, RefusesWhatCannotBe) {
  Bank bank;
  EXPECT_FALSE(bank.document.rename(bank.a, u"A"));
  EXPECT_FALSE(bank.document.move(Ids{bank.a}, bank.a));
  EXPECT_FALSE(bank.document.move(Ids{bank.layer}, bank.wave));
  EXPECT_FALSE(bank.document.create(ItemKind::Layer, bank.wave));
  EXPECT_FALSE(bank.document.moveBy(bank.b, -1));
  EXPECT_FALSE(bank.document.paste(*bank.document.copy(Ids{bank.region}), bank.wave, false));
  EXPECT_FALSE(bank.document.isChanged());
  EXPECT_FALSE(bank.document.history().canUndo());
}

TEST(Document, SavingMakesItUnchangedAndUndoChangesItAgain) {
  test::TempFolder folder;
  Bank bank;
  Collection& collection = bank.document.collection();
  auto& wave = *collection.find<Waveform>(bank.wave);
  wave.setSamples(SampleBuffer::allocate(100, 1, 44100));
  ASSERT_TRUE(bank.document.rename(bank.a, u"C"));
  const int row = io::findWritingRow(u"sf2", kindBit(ItemKind::Collection));
  ASSERT_TRUE(bank.document.save(collection, folder / "bank.sf2", row, io::saveOptionsFor(row, 0)))
      << toUtf8(lastError());
  EXPECT_FALSE(bank.document.isChanged());
  ASSERT_TRUE(bank.document.undo());
  EXPECT_TRUE(bank.document.isChanged());
  ASSERT_TRUE(bank.document.redo());
  EXPECT_FALSE(bank.document.isChanged());
}

// The save moves the play section from the region to the waveform.
TEST(Document, WhatASaveTidiesIsAStep) {
  test::TempFolder folder;
  Bank bank;
  Collection& collection = bank.document.collection();
  auto& wave = *collection.find<Waveform>(bank.wave);
  wave.setSamples(SampleBuffer::allocate(100, 1, 44100));
  const Ids ids{bank.region};
  bank.document.edit(u"Start", ids, Document::Touches::Content, [&](Document::Created&) {
    collection.find<Region>(bank.region)->section.start = 10;
    return true;
  });
  const int row = io::findWritingRow(u"sfz", kindBit(ItemKind::Instrument));
  ASSERT_TRUE(bank.document.save(*collection.find(bank.b), folder / "b.sfz", row, io::saveOptionsFor(row, 0)))
      << toUtf8(lastError());
  EXPECT_EQ(effectivePlaySection(*collection.find<Region>(bank.region)).start, 10u);
  ASSERT_TRUE(bank.document.undo() && bank.document.undo());
  EXPECT_EQ(effectivePlaySection(*collection.find<Region>(bank.region)).start, 0u);
  EXPECT_FALSE(bank.document.undo());
}

TEST(Document, SongsAreSavedAsEvents) {
  const test::TempFolder folder;
  const Path path = folder / "song.mid";
  Document document;
  Song& song = createSong(document.collection(), u"Song");
  Track& track = createTrack(song, u"Track");
  track.setEvents(asBytes(std::string_view("\0\x90\x3C\x40\x60\x80\x3C\0\0\xFF\x2F\0", 12)));
  const int row = io::findWritingRow(u"mid", kindBit(ItemKind::Song));
  ASSERT_TRUE(document.save(track, path, row, io::saveOptionsFor(row, 0))) << toUtf8(lastError());
  ASSERT_TRUE(document.open(path, io::OpenMode::Replace)) << toUtf8(lastError());
  EXPECT_EQ(document.collection().all<Track>().at(0)->eventCount(), 3u);
  io::SaveAllRequest request;
  request.kind = ItemKind::Song;
  request.row = row;
  request.folder = folder.path();
  request.options = io::saveOptionsFor(row, 0);
  EXPECT_EQ(document.saveAll(request).saved, 1u) << toUtf8(lastError());
}

TEST(Document, MergingIsAStep) {
  test::TempFolder folder;
  Bank source, target;
  source.document.collection().find<Waveform>(source.wave)->setSamples(SampleBuffer::allocate(100, 1, 44100));
  const int row = io::findWritingRow(u"wav", kindBit(ItemKind::Waveform));
  auto* wave = source.document.collection().find(source.wave);
  ASSERT_TRUE(io::saveItem(wave, row, folder / "x.wav", io::saveOptionsFor(row, 0))) << toUtf8(lastError());
  const std::u16string before = picture(target.document.collection());
  ASSERT_TRUE(target.document.open(folder / "x.wav", io::OpenMode::Merge)) << toUtf8(lastError());
  EXPECT_EQ(target.document.collection().count(ItemKind::Waveform), 3u);
  ASSERT_TRUE(target.document.undo());
  EXPECT_EQ(toUtf8(picture(target.document.collection())), toUtf8(before));
  EXPECT_FALSE(target.document.open(folder / "none.wav", io::OpenMode::Merge));
  EXPECT_EQ(toUtf8(lastError()), "Could not open file");
}

TEST(Document, SelectionFollowsTheItems) {
  Bank bank;
  Document& document = bank.document;
  int told = 0;
  document.onSelection = [&] { ++told; };
  document.selectItems({bank.b});
  EXPECT_EQ(document.selectedWaveforms(), Ids{bank.wave});  // what the instrument plays
  EXPECT_EQ(document.selection(), Ids{bank.b});
  document.selectWaveforms({bank.wave});
  EXPECT_TRUE(document.waveformsAreActive());
  ASSERT_TRUE(document.remove(Ids{bank.wave}));
  EXPECT_TRUE(document.selection().empty());
  EXPECT_GE(told, 2);
}

TEST(Document, SubItemsAreSelectedAlongWhereTheUserHasItSo) {
  Bank bank;
  Document& document = bank.document;
  appSettings().shell.autoSelectSubItems = true;
  document.selectItems({bank.b});
  EXPECT_EQ(document.selectedItems(), (Ids{bank.b, bank.layer, bank.region}));
  EXPECT_EQ(document.withoutDescendants(document.selectedItems()), Ids{bank.b});
  document.selectItems({bank.b, bank.layer});  // the region taken out again
  EXPECT_EQ(document.selectedItems(), (Ids{bank.b, bank.layer}));
  EXPECT_TRUE(document.move(document.selectedItems(), bank.a));
  EXPECT_EQ(document.history().undoName(), u"Move instrument");
  appSettings().shell.autoSelectSubItems = false;
}

TEST(LevelEdits, GoDownAsDifferencesWhereTheUserHasItSo) {
  constexpr Slot kSet = slots::MasterVolume, kUnset = slots::MasterTuning, kBound = slots::Pan;
  for (bool down : {false, true}) {
    SCOPED_TRACE(down);
    Bank bank;
    Collection& collection = bank.document.collection();
    auto& layer = *collection.find<Layer>(bank.layer);
    auto& region = *collection.find<Region>(bank.region);
    auto& instrument = *collection.find<Instrument>(bank.b);
    instrument.articulation.set(kSet, -2);
    region.articulation.set(kSet, -10);
    region.articulation.set(kBound, 0.9f);
    region.articulation.set(slots::FilterType, 3);
    ArticulationBlock block = instrument.articulation;
    block.set(kSet, 1);
    block.set(kUnset, 7);
    block.set(kBound, 0.5f);
    block.set(slots::FilterType, 1);
    applyLevelEdits(std::vector<LevelEdit>{{&instrument, block}}, down);
    EXPECT_EQ(instrument.articulation, block);
    EXPECT_TRUE(layer.articulation.empty());  // it inherits
    EXPECT_EQ(region.articulation.get(kSet), down ? -7 : -10);
    EXPECT_FALSE(region.articulation.isSet(kUnset));
    EXPECT_FLOAT_EQ(region.articulation.get(kBound), down ? 1.0f : 0.9f);
    EXPECT_EQ(region.articulation.get(slots::FilterType), 3) << "a choice has no difference";
    // A level that is edited itself gets its own block, and passes its own difference on.
    ArticulationBlock own;
    own.set(kSet, -5);  // in force before: the instrument's 1
    block.set(kSet, 21);
    const float before = region.articulation.get(kSet);
    applyLevelEdits(std::vector<LevelEdit>{{&instrument, block}, {&layer, own}}, down);
    EXPECT_EQ(layer.articulation.get(kSet), -5);
    EXPECT_EQ(region.articulation.get(kSet), down ? before - 6 : before);
  }
}

}  // namespace
}  // namespace vemko::app
