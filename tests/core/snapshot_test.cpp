#include "core/snapshot.h"

#include <algorithm>
#include <gtest/gtest.h>

#include "base/text.h"

namespace vemko {
namespace {

struct Bank {
  Collection collection;
  Waveform& wave = createWaveform(collection, u"wave");
  Instrument& instrument = createInstrument(collection, u"instrument");
  std::vector<ItemId> layers, regions;

  Bank() {
    for (int l = 0; l < 2; ++l) {
      Layer& layer = createLayer(instrument, toUtf16("layer " + std::to_string(l)));
      layers.push_back(layer.id());
      for (int r = 0; r < 3; ++r)
        regions.push_back(createRegion(layer, toUtf16(std::to_string(l) + std::to_string(r))).id());
    }
  }
  Item& operator[](ItemId id) { return *collection.find(id); }

  // The whole tree and the enumeration of regions as one text.
  std::string told() const {
    std::string text;
    for (ItemKind kind : {ItemKind::Instrument, ItemKind::Layer, ItemKind::Region})
      for (const Item* item : collection.allOf(kind)) {
        const Item* parent = collection.find(item->parent);
        text += toUtf8(item->displayName()) + "<" + (parent ? toUtf8(parent->name()) : "") + "(";
        for (ItemId child : item->children) text += toUtf8(collection.find(child)->name()) + " ";
        text += ")\n";
      }
    return text;
  }
};

TEST(Snapshot, BringsItemsBackAndForth) {
  struct Case {
    const char* name;
    std::vector<ItemId> (*items)(Bank&);
    std::vector<ItemId> (*change)(Bank&);  // returns the ids of new items
  };
  const Case cases[] = {
      {"changed", [](Bank& b) { return std::vector{b.regions[1]}; },
       [](Bank& b) {
         b[b.regions[1]].setName(u"changed");
         return std::vector<ItemId>{};
       }},
      {"removed",
       [](Bank& b) {
         return std::vector{b.regions[1], b.regions[3]};
       },
       [](Bank& b) {
         b.collection.remove(b[b.regions[1]]);
         b.collection.remove(b[b.regions[3]]);
         return std::vector<ItemId>{};
       }},
      {"removed with all below",
       [](Bank& b) {
         return std::vector{b.layers[0], b.regions[0], b.regions[1], b.regions[2]};
       },
       [](Bank& b) {
         b.collection.remove(b[b.layers[0]]);
         return std::vector<ItemId>{};
       }},
      {"added", [](Bank&) { return std::vector<ItemId>{}; },
       [](Bank& b) { return std::vector{createRegion(static_cast<Layer&>(b[b.layers[0]]), u"new").id()}; }},
      {"removed and added", [](Bank& b) { return std::vector{b.regions[0]}; },
       [](Bank& b) {
         b.collection.remove(b[b.regions[0]]);
         return std::vector{createRegion(static_cast<Layer&>(b[b.layers[0]]), u"new").id()};
       }},
      {"moved",
       [](Bank& b) {
         return std::vector{b.regions[1], b.layers[0], b.layers[1]};
       },
       [](Bank& b) {
         attach(b[b.layers[1]], b[b.regions[1]]);
         b[b.layers[1]].moveChild(3, 0);
         return std::vector<ItemId>{};
       }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Bank bank;
    const std::string before = bank.told();
    Snapshot snapshot = Snapshot::capture(bank.collection, c.items(bank));
    snapshot.addAbsent(c.change(bank));
    const std::string after = bank.told();
    ASSERT_NE(after, before);
    for (int round = 0; round < 2; ++round) {
      Snapshot redo = snapshot.restore(bank.collection);
      EXPECT_EQ(bank.told(), before);
      snapshot = redo.restore(bank.collection);
      EXPECT_EQ(bank.told(), after);
    }
  }
}

TEST(Snapshot, KeepsOrderWhenPlacesWereGivenUp) {
  Bank bank;
  const std::string before = bank.told();
  Snapshot snapshot = Snapshot::capture(bank.collection, bank.regions);
  std::vector<Item*> all = bank.collection.allOf(ItemKind::Region);
  bank.collection.remove(all);
  Layer& layer = static_cast<Layer&>(bank[bank.layers[0]]);
  std::vector<ItemId> added;
  for (int i = 0; i < 100; ++i) added.push_back(createRegion(layer, u"new").id());
  std::vector<Item*> some = bank.collection.allOf(ItemKind::Region);
  bank.collection.remove(some);
  createRegion(layer, u"last");
  Snapshot redo = snapshot.restore(bank.collection);
  bank.collection.remove(*bank.collection.allOf(ItemKind::Region).back());
  EXPECT_EQ(bank.told(), before);
}

TEST(Snapshot, BringsTheEnumerationsOrderBack) {
  Bank bank;
  const auto reversed = [&] {
    std::vector<Item*> order = bank.collection.allOf(ItemKind::Region);
    std::ranges::reverse(order);
    bank.collection.reorder(ItemKind::Region, order);
  };
  const std::string before = bank.told();
  Snapshot snapshot = Snapshot::capture(bank.collection, bank.regions);
  reversed();
  const std::string after = bank.told();
  ASSERT_NE(after, before);
  // What came since stands behind them either way.
  const ItemId last = createRegion(static_cast<Layer&>(bank[bank.layers[0]]), u"last").id();
  Snapshot redo = snapshot.restore(bank.collection);
  EXPECT_EQ(bank.collection.allOf(ItemKind::Region).back()->id(), last);
  snapshot = redo.restore(bank.collection);
  EXPECT_EQ(bank.collection.allOf(ItemKind::Region).back()->id(), last);
  bank.collection.remove(bank[last]);
  EXPECT_EQ(bank.told(), after);
  (void)snapshot.restore(bank.collection);
  EXPECT_EQ(bank.told(), before);
}

TEST(Snapshot, BringsTheCollectionsOwnTextsBack) {
  constexpr std::byte kPng[] = {std::byte{0x89}, std::byte{'P'}, std::byte{'N'}, std::byte{'G'}};
  Bank bank;
  Collection& collection = bank.collection;
  const auto told = [&] {
    return toUtf8(collection.displayName() + u"|" + collection.text(TextProperty::Artist) + u"|") +
           std::to_string(collection.image().size());
  };
  collection.setText(TextProperty::Artist, u"one");
  const std::string before = told();
  const ItemId ids[] = {kNoItem, bank.regions[0]};
  Snapshot snapshot = Snapshot::capture(collection, ids);
  collection.setName(u"changed");
  collection.setText(TextProperty::Artist, u"");
  collection.setImage(kPng);
  bank[bank.regions[0]].setName(u"changed too");
  const std::string after = told();
  Snapshot redo = snapshot.restore(collection);
  EXPECT_EQ(told(), before);
  EXPECT_EQ(bank[bank.regions[0]].name(), u"00");
  snapshot = redo.restore(collection);
  EXPECT_EQ(told(), after);
  // Without the collection's id its texts are nobody's business.
  Snapshot other = Snapshot::capture(collection, bank.regions);
  collection.setName(u"again");
  (void)other.restore(collection);
  EXPECT_EQ(collection.displayName(), u"again");
}

TEST(Snapshot, AnItemReturnsWithoutTheParentThatIsGone) {
  Bank bank;
  Snapshot snapshot = Snapshot::capture(bank.collection, std::vector{bank.regions[0], bank.instrument.id()});
  bank.collection.remove(bank.instrument);
  snapshot.restore(bank.collection);
  EXPECT_EQ(bank[bank.regions[0]].parent, kNoItem);
  EXPECT_TRUE(bank.collection.all<Instrument>()[0]->children.empty());
}

TEST(Snapshot, SharesSamplesUntilTheyAreEdited) {
  Bank bank;
  bank.wave.setSamples(SampleBuffer::allocate(1000, 2, 44100));
  bank.wave.editableSamples()[7] = 0.5f;
  const ItemId id = bank.wave.id();
  Snapshot snapshot = Snapshot::capture(bank.collection, std::vector{id});
  const std::size_t shared = snapshot.memoryUse();
  EXPECT_LT(shared, 8000u);
  bank.wave.editableSamples()[7] = -0.5f;
  EXPECT_EQ(snapshot.memoryUse(), shared + 8000);

  Snapshot redo = snapshot.restore(bank.collection);
  EXPECT_EQ(bank.collection.find<Waveform>(id)->buffer->samples()[7], 0.5f);
  EXPECT_GE(redo.memoryUse(), 8000u);
  redo.restore(bank.collection);
  EXPECT_EQ(bank.collection.find<Waveform>(id)->buffer->samples()[7], -0.5f);
}

}  // namespace
}  // namespace vemko
