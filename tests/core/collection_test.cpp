#include "core/collection.h"

#include <chrono>
#include <functional>
#include <gtest/gtest.h>

#include "base/text.h"

namespace vemko {
namespace {

constexpr ItemSerial kLastSerial = 0xFFFFFFF;

std::vector<std::string> namesOf(const std::vector<Item*>& items) {
  std::vector<std::string> names;
  for (const Item* item : items) names.push_back(toUtf8(item->displayName()));
  return names;
}

// Two layers of two regions that play two waveforms.
struct Piano {
  explicit Piano(Collection& collection)
      : left(createWaveform(collection, u"left")),
        right(createWaveform(collection, u"right")),
        instrument(createInstrument(collection, u"piano")) {
    left.pairedWith = right.id();
    right.pairedWith = left.id();
    for (int i = 0; i < 2; ++i) {
      Layer& layer = createLayer(instrument, u"layer");
      createRegion(layer, u"left", {.waveform = serialOf(left.id())});
      createRegion(layer, u"right", {.waveform = serialOf(right.id())});
    }
  }
  Waveform& left;
  Waveform& right;
  Instrument& instrument;
};

// Every child names its parent, and every parent its child once.
void expectSoundTree(const Collection& collection) {
  std::size_t listed = 0;
  for (ItemKind kind : {ItemKind::Instrument, ItemKind::Layer, ItemKind::Song})
    for (const Item* item : collection.allOf(kind)) {
      listed += item->children.size();
      for (ItemId child : item->children) {
        ASSERT_NE(collection.find(child), nullptr);
        EXPECT_EQ(collection.find(child)->parent, item->id());
      }
    }
  std::size_t held = 0;
  for (ItemKind kind : {ItemKind::Layer, ItemKind::Region, ItemKind::Track})
    for (const Item* item : collection.allOf(kind)) held += item->parent != kNoItem;
  EXPECT_EQ(listed, held);
}

double secondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST(Collection, IssuesSerialsInOrderAcrossCollections) {
  Collection one, other;
  const ItemSerial first = serialOf(createSynth(one, u"").id());
  EXPECT_EQ(serialOf(createSynth(other, u"").id()), (first + 1) & kLastSerial);
  EXPECT_EQ(serialOf(createSynth(one, u"").id()), (first + 2) & kLastSerial);
  EXPECT_EQ(kindOf(createSynth(one, u"").id()), ItemKind::Synth);
}

TEST(Collection, WrapsSerialsAndSkipsThoseInUse) {
  Collection collection;
  createSynth(collection, u"", 0);
  createSynth(collection, u"", 1);
  EXPECT_EQ(createSynth(collection, u"", 3).id(), makeItemId(ItemKind::Synth, 3));
  createSynth(collection, u"", kLastSerial - 1);
  std::vector<ItemSerial> issued;
  for (int i = 0; i < 3; ++i) issued.push_back(serialOf(createSynth(collection, u"").id()));
  EXPECT_EQ(issued, (std::vector<ItemSerial>{kLastSerial, 2, 4}));
}

TEST(Collection, RequestedSerialsAreTakenAsGiven) {
  Collection collection;
  createSong(collection, u"high", 1000);
  EXPECT_EQ(createSong(collection, u"low", 7).id(), makeItemId(ItemKind::Song, 7));
  EXPECT_EQ(createSong(collection, u"next").id(), makeItemId(ItemKind::Song, 8));

  const Song& again = createSong(collection, u"taken", 7);
  EXPECT_NE(again.id(), makeItemId(ItemKind::Song, 7));
  EXPECT_EQ(collection.find(makeItemId(ItemKind::Song, 7))->name(), u"low");
  EXPECT_EQ(collection.count(ItemKind::Song), 4u);
}

TEST(Collection, NewItemsHaveTheirDefaults) {
  Collection collection;
  EXPECT_EQ(collection.name(), u"New collection");
  EXPECT_EQ(collection.formatRow, -1);
  Instrument& instrument = createInstrument(collection, u" ", Patch::of(1, 2, 130, true));
  EXPECT_EQ(instrument.name(), u"New instrument");
  EXPECT_EQ(instrument.patch.word, 1u << 21 | 1 << 14 | 2 << 7 | 2);
  Layer& layer = createLayer(instrument, u"");
  EXPECT_EQ(layer.name(), u"New layer");
  Song& song = createSong(collection, u"");
  EXPECT_EQ(song.name(), u"New song");
  EXPECT_EQ(song.settings, 0x00180001u);
  EXPECT_EQ(createTrack(song, u"").channel, 0xFF00u);
  const Region& region = createRegion(layer, u"");
  EXPECT_EQ(region.name(), u"New region in layer");
  EXPECT_EQ(region.waveform(), nullptr);
  EXPECT_EQ(region.rootKey, Region::kNotSet);
  EXPECT_EQ(region.setFields, 0u);
  const Waveform& waveform = createWaveform(collection, u"");
  EXPECT_EQ(waveform.displayName(), u"unnamed");
  EXPECT_EQ(waveform.rate, 22050u);
  EXPECT_EQ(waveform.buffer, nullptr);
  expectSoundTree(collection);
}

TEST(Collection, RegionsTakeRangesOnlyWhenBothBoundsAreGiven) {
  struct Case {
    MidiRange given, kept;
    bool isSet;
  };
  const Case cases[] = {
      {{5, 255}, {0, 127}, false}, {{255, 5}, {0, 127}, false}, {{255, 255}, {0, 127}, false},
      {{36, 60}, {36, 60}, true},  {{0, 127}, {0, 127}, true},  {{100, 254}, {100, 127}, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << int{c.given.low} << " to " << int{c.given.high});
    Collection collection;
    Layer& layer = createLayer(createInstrument(collection, u""), u"");
    const Region& region = createRegion(layer, u"", {.keys = c.given, .velocities = c.given});
    EXPECT_EQ(region.keys, c.kept);
    EXPECT_EQ(region.velocities, c.kept);
    EXPECT_EQ(region.setFields, c.isSet ? region_fields::Keys | region_fields::Velocities : 0u);
  }
}

TEST(Collection, EnumeratesInOrderWhileItemsComeAndGo) {
  Collection collection;
  for (const char16_t* name : {u"a", u"b", u"c", u"d"}) createSong(collection, name);
  std::string visited;
  collection.forEach<Song>([&](Song& song) {
    visited += toUtf8(song.name());
    if (song.name() == u"a") {
      collection.remove(song);
      collection.remove(*collection.allOf(ItemKind::Song)[1]);
      for (int i = 0; i < 100; ++i) createSong(collection, u"new");
      for (Item* item : collection.allOf(ItemKind::Song))
        if (item->name() == u"new") collection.remove(*item);
      createSong(collection, u"e");
    }
  });
  EXPECT_EQ(visited, "abd");
  EXPECT_EQ(namesOf(collection.allOf(ItemKind::Song)), (std::vector<std::string>{"b", "d", "e"}));

  std::vector<Item*> order = collection.allOf(ItemKind::Song);
  std::swap(order[0], order[2]);
  collection.reorder(ItemKind::Song, order);
  createSong(collection, u"f");
  EXPECT_EQ(namesOf(collection.allOf(ItemKind::Song)), (std::vector<std::string>{"e", "d", "b", "f"}));
  for (const std::vector<Item*>& wrong : {order, {order[0], order[0], order[1], order[2]}}) {
    collection.reorder(ItemKind::Song, wrong);
    EXPECT_EQ(namesOf(collection.allOf(ItemKind::Song)), (std::vector<std::string>{"e", "d", "b", "f"}));
  }
}

TEST(Collection, RemovesAnItemWithWhatLiesBelow) {
  Collection collection;
  Piano piano(collection);
  Item& layer = *collection.find(piano.instrument.children[0]);
  collection.remove(layer);
  EXPECT_EQ(collection.count(ItemKind::Layer), 1u);
  EXPECT_EQ(collection.count(ItemKind::Region), 2u);
  EXPECT_EQ(piano.instrument.children.size(), 1u);
  collection.remove(piano.left);
  EXPECT_EQ(waveformsOf(piano.instrument), std::vector<Waveform*>{&piano.right});
  expectSoundTree(collection);

  auto taken = collection.take(piano.instrument);
  EXPECT_TRUE(taken->children.empty());
  EXPECT_EQ(collection.count(ItemKind::Layer), 1u);
  EXPECT_EQ(regionsOf(collection).size(), 2u);
  expectSoundTree(collection);
}

TEST(Collection, RemovesManyItemsAtOnce) {
  Collection collection;
  Piano piano(collection);
  std::vector<Item*> items = collection.allOf(ItemKind::Region);
  items.erase(items.begin() + 1);
  items.push_back(items.front());
  collection.remove(items);
  EXPECT_EQ(collection.count(ItemKind::Region), 1u);
  EXPECT_EQ(regionsOf(piano.instrument).size(), 1u);
  expectSoundTree(collection);
}

TEST(Collection, ClearingMakesItNew) {
  Collection collection;
  Piano piano(collection);
  collection.setName(u"Bank");
  collection.setText(TextProperty::SourceFile, u"/bank.sf2");
  collection.formatRow = 3;
  collection.file = "/bank.sf2";
  collection.notes = std::make_shared<ReaderNotes>();
  collection.clear();
  EXPECT_EQ(collection.name(), u"New collection");
  EXPECT_EQ(collection.text(TextProperty::SourceFile), u"");
  EXPECT_EQ(collection.formatRow, -1);
  EXPECT_TRUE(collection.file.empty());
  EXPECT_EQ(collection.notes, nullptr);
  EXPECT_EQ(collection.all<Region>().size(), 0u);
  createWaveform(collection, u"after");
  EXPECT_EQ(collection.count(ItemKind::Waveform), 1u);
}

TEST(Collection, AbsorbingRenumbersAndFollowsReferences) {
  Collection collection, other;
  Piano first(collection);
  Piano second(other);
  // The same ids on both sides, and a link that leads nowhere there but would lead somewhere here.
  Collection twin;
  auto copy = collection.clone(twin);
  auto& same = static_cast<Collection&>(*copy);
  createRegion(*same.all<Layer>()[0], u"lost", {.waveform = serialOf(second.left.id())});

  collection.absorb(other);
  collection.absorb(same);
  EXPECT_EQ(same.all<Item>().size() + same.count(ItemKind::Region) + same.count(ItemKind::Waveform), 0u);
  EXPECT_EQ(collection.count(ItemKind::Region), 13u);
  expectSoundTree(collection);
  for (const Waveform* waveform : collection.all<Waveform>()) {
    EXPECT_EQ(&waveform->collection(), &collection);
    ASSERT_NE(collection.find<Waveform>(waveform->pairedWith), nullptr);
    EXPECT_EQ(collection.find<Waveform>(waveform->pairedWith)->pairedWith, waveform->id());
  }
  std::vector<Waveform*> played;
  for (const Instrument* instrument : collection.all<Instrument>())
    for (Waveform* waveform : waveformsOf(*instrument)) played.push_back(waveform);
  EXPECT_EQ(played, collection.all<Waveform>());
  for (const Region* region : collection.all<Region>())
    EXPECT_EQ(region->waveform() ? region->waveform()->name() : u"lost", region->name());
}

TEST(Collection, CopiesAnItemWithWhatLiesBelow) {
  Collection collection;
  Piano piano(collection);
  piano.instrument.articulation.set(25, 500);
  piano.left.addLoop({.startFrames = 1, .endFrames = 2}, u"", true, false);

  auto& copy = static_cast<Instrument&>(copyItem(piano.instrument, collection, true, true));
  EXPECT_EQ(copy.name(), u"Copy of piano");
  EXPECT_EQ(copy.parent, kNoItem);
  EXPECT_EQ(copy.articulation.get(25), 500);
  EXPECT_EQ(waveformsOf(copy), (std::vector<Waveform*>{&piano.left, &piano.right}));
  EXPECT_EQ(collection.count(ItemKind::Region), 8u);
  EXPECT_EQ(collection.count(ItemKind::Waveform), 2u);
  expectSoundTree(collection);

  auto& wave = static_cast<Waveform&>(copyItem(piano.left, collection));
  EXPECT_EQ(wave.pairedWith, kNoItem);
  EXPECT_NE(wave.mainLoopId, piano.left.mainLoopId);
  ASSERT_NE(wave.mainLoop(), nullptr);
  EXPECT_EQ(wave.mainLoop()->end, 2u);

  Collection other;
  Piano present(other);
  copyItem(collection, other);
  EXPECT_EQ(other.count(ItemKind::Region), 12u);
  for (const Region* region : other.all<Region>()) EXPECT_NE(region->waveform(), nullptr);
  expectSoundTree(other);
}

TEST(Collection, AttachingMovesBetweenParents) {
  Collection collection;
  Piano piano(collection);
  std::vector<Layer*> layers = collection.all<Layer>();
  attach(*layers[0], *collection.find(layers[1]->children[0]));
  EXPECT_EQ(layers[0]->children.size(), 3u);
  EXPECT_EQ(layers[1]->children.size(), 1u);
  expectSoundTree(collection);
}

TEST(Collection, InformationCountsItems) {
  Collection collection;
  for (const std::u16string& line : collectionInformation(collection)) EXPECT_EQ(line, u"none");
  Piano piano(collection);
  piano.left.frames = 1'234'000;
  piano.right.frames = 499;
  createSynth(collection, u"");
  createTrack(createSong(collection, u""), u"");
  using Lines = std::array<std::u16string, 4>;
  EXPECT_EQ(collectionInformation(collection),
            (Lines{u"1\t(2 layers, 4 regions)", u"2\t(total 1234K samples)", u"1", u"1\t(1 tracks)"}));
  piano.right.frames = 500;
  EXPECT_EQ(collectionInformation(collection)[1], u"2\t(total 1235K samples)");
}

TEST(Collection, SynthModesHaveTheirBlocks) {
  Collection collection;
  Synth& synth = createSynth(collection, u"");
  EXPECT_EQ(synth.mode, 2u);
  synth.setMode(0, {});
  const auto small = synth.settings;
  synth.setMode(1, {});
  EXPECT_FALSE(small.empty());
  EXPECT_NE(synth.settings.size(), small.size());
  synth.setMode(1, asBytes("own"));
  EXPECT_EQ(synth.settings.size(), 3u);
  synth.setMode(2, asBytes("own"));
  EXPECT_TRUE(synth.settings.empty());
}

TEST(Collection, RegionsPlayTheirOwnSectionOrTheWaveforms) {
  struct Case {
    const char* name;
    PlaySection own, played;
  };
  const Case cases[] = {
      {"none of its own", {0, 0}, {10, 1000}}, {"its own", {20, 500}, {20, 500}},
      {"to the end", {20, 0}, {20, 1000}},     {"past the end", {20, 5000}, {20, 1000}},
      {"outside", {2000, 5000}, {1000, 1000}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Piano piano(collection);
    piano.left.frames = 1000;
    piano.left.rootKey = 72;
    piano.left.records.push_back({.start = 10, .id = nextRecordId(), .name = std::u16string(kStartName)});
    Region& region = *collection.all<Region>()[0];
    region.section = c.own;
    EXPECT_EQ(effectivePlaySection(region), c.played);
    EXPECT_EQ(effectiveRootKey(region), 72);
    collection.remove(piano.left);
    EXPECT_EQ(effectivePlaySection(region), PlaySection{});
    EXPECT_EQ(effectiveRootKey(region), 60);
  }
}

TEST(Collection, KnowsWhichRegionsANoteStarts) {
  struct Case {
    const char* name;
    void (*change)(Region&, PlayRules&);
    bool sounds;
  };
  for (const Case& c : {
           Case{"plain", [](Region&, PlayRules&) {}, true},
           Case{"without a waveform", [](Region&r, PlayRules&) { r.setWaveform(kNoItem); }, false},
           Case{"at the first note", [](Region&r, PlayRules&) { r.trigger = Trigger::First; }, true},
           Case{"at the release", [](Region&r, PlayRules&) { r.trigger = Trigger::Release; }, false},
           Case{"also by the pedal",
                [](Region&, PlayRules&p) {
                  p.starts = {{64, 126, 127}};
                },
                true},
           Case{"only by the pedal",
                [](Region&, PlayRules&p) {
                  p.starts = {{64, 126, 127}};
                  p.ignoresKeys = true;
                },
                false},
           Case{"with the pedal down",
                [](Region&, PlayRules&p) {
                  p.controllers = {{64, 64, 127}};
                },
                false},
           Case{"with a key held", [](Region&, PlayRules&p) { p.switches.down = 24; }, false},
       }) {
    SCOPED_TRACE(c.name);
    Collection collection;
    const Waveform& waveform = createWaveform(collection, u"");
    Region& region = createRegion(createLayer(createInstrument(collection, u""), u""), u"",
                                  {.waveform = serialOf(waveform.id())});
    PlayRules rules;
    c.change(region, rules);
    region.rules = std::make_shared<const PlayRules>(rules);
    EXPECT_EQ(soundsOnAttack(region), c.sounds);
  }
}

TEST(Collection, ManyRegionsTakeLinearTime) {
  constexpr std::size_t kRegions = 100'000;
  const double seconds = secondsOf([] {
    Collection collection, other;
    Instrument& instrument = createInstrument(collection, u"");
    Layer& layer = createLayer(instrument, u"");
    for (std::size_t i = 0; i < kRegions; ++i) createRegion(layer, u"r");
    auto regions = collection.allOf(ItemKind::Region);
    regions.resize(kRegions / 2);
    collection.remove(regions);
    EXPECT_EQ(regionsOf(instrument).size(), kRegions / 2);
    copyItem(instrument, collection);
    other.absorb(collection);
    other.remove(*other.all<Instrument>()[0]);
    EXPECT_EQ(other.count(ItemKind::Region), kRegions / 2);
  });
  EXPECT_LT(seconds, 10);
}

}  // namespace
}  // namespace vemko
