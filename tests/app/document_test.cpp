#include "app/document/document.h"

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

}  // namespace
}  // namespace vemko::app
