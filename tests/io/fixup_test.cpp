#include "io/fixup.h"

#include <chrono>
#include <gtest/gtest.h>
#include <random>

#include "base/log.h"
#include "base/progress.h"
#include "collections.h"
#include "support.h"

namespace vemko::io {
namespace {

using test::defer;
using test::fill;
using test::play;
using test::record;
using test::samplesOf;

using Names = std::vector<std::string>;

TEST(FixupPass, RunsTheStepsThatAreSwitchedOnAndAllowed) {
  std::vector<std::u16string> statuses, warnings;
  const auto progress =
      setProgressSink({[&](std::u16string_view text) { statuses.emplace_back(text); }, {}, {}});
  const auto log = setLogSink([&](LogLevel, std::u16string_view line) { warnings.emplace_back(line); });
  const FixupOptions options = fixupOptions();
  for (const FixupStep& step : fixupSteps())
    if (step.option)
      fixupOptions().*step.option = step.name == "sort-waves" || step.name == "append-32" ||
                                    step.name == "merge-stereo" || step.name == "sort-collection";
  Collection collection;
  Waveform& broken = createWaveform(collection, u"b");
  defer(broken, {1, 2, 3})->broken = true;
  broken.addLoop({.startFrames = 0, .endFrames = 3}, u"", true, false);
  createWaveform(collection, u"a");
  createInstrument(collection, u"second", Patch::of(0, 0, 2));
  createInstrument(collection, u"first", Patch::of(0, 0, 1));

  fixUp(collection, kindBit(ItemKind::Instrument) - 1, false);  // as before an instrument is saved
  EXPECT_EQ(statuses.size(), 0u);
  EXPECT_EQ(warnings, std::vector<std::u16string>{u"append-32: Broken source"});
  EXPECT_EQ(test::namesOf(collection.allOf(ItemKind::Waveform)), (Names{"a", "b"}));
  EXPECT_EQ(test::namesOf(collection.allOf(ItemKind::Instrument)), (Names{"second", "first"}));
  EXPECT_EQ(broken.sourceFormat, static_cast<SourceFormat>(SampleEncoding::Pcm16));

  fixUp(collection, kAllKinds, true);
  EXPECT_EQ(statuses, (std::vector<std::u16string>{u"Fixing up items", u"Merging dual mono waveforms",
                                                   u"Fixing up items"}));
  EXPECT_EQ(test::namesOf(collection.allOf(ItemKind::Instrument)), (Names{"first", "second"}));
  fixupOptions() = options;
  setLogSink(log);
  setProgressSink(progress);
}

TEST(CompactLayers, JoinsWhatDoesNotOverlap) {
  struct LayerShape {
    MidiRange keys, velocities;
    float volume;  // of the layer
  };
  struct Case {
    const char* name;
    std::vector<LayerShape> layers;
    std::vector<std::size_t> regionsLeft;  // by layer
  };
  const MidiRange all{0, 127};
  // clang-format off
  const Case cases[] = {
    {"keys apart",           {{{0, 59}, all, 0}, {{60, 127}, all, 0}},  {2}},
    {"one key shared",       {{{0, 60}, all, 0}, {{60, 127}, all, 0}},  {1, 1}},
    {"velocities apart",     {{all, {0, 63}, 0}, {all, {64, 127}, 0}},  {2}},
    {"one velocity shared",  {{all, {0, 64}, 0}, {all, {64, 127}, 0}},  {1, 1}},
    {"the last velocity",    {{all, {127, 127}, 0}, {all, {127, 127}, 0}}, {1, 1}},
    {"other articulation",   {{{0, 59}, all, 0}, {{60, 127}, all, -6}}, {1, 1}},
    {"first fit",            {{{0, 59}, all, 0}, {{0, 20}, all, 0}, {{60, 60}, all, 0}, {{21, 30}, all, 0}}, {2, 2}},
    {"full layers",          {{all, all, 0}, {all, all, 0}, {all, all, 0}}, {1, 1, 1}},
  };
  // clang-format on
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Instrument& instrument = createInstrument(collection, u"");
    Waveform& waveform = createWaveform(collection, u"");
    createLayer(instrument, u"empty");
    for (const LayerShape& shape : c.layers) {
      Layer& layer = createLayer(instrument, u"");
      if (shape.volume != 0) layer.articulation.set(slots::MasterVolume, shape.volume);
      play(layer, waveform, shape.keys, shape.velocities);
    }
    ASSERT_TRUE(compactLayers(collection));
    std::vector<std::size_t> regions;
    for (ItemId id : instrument.children) {
      const auto* layer = collection.find<Layer>(id);
      regions.push_back(layer->children.size());
      for (ItemId child : layer->children) EXPECT_EQ(collection.find(child)->parent, id);
    }
    EXPECT_EQ(regions, c.regionsLeft);
    EXPECT_EQ(collection.count(ItemKind::Layer), c.regionsLeft.size());
  }
}

TEST(MoveArticulation, ChangesNoSound) {
  std::mt19937 random(7);
  auto setSome = [&](ArticulationBlock& block) {
    for (int i = 0; i < 4; ++i)
      block.set(static_cast<Slot>(slots::Pan + random() % 4), static_cast<float>(random() % 2));
  };
  for (int round = 0; round < 200; ++round) {
    Collection collection;
    Instrument& instrument = createInstrument(collection, u"");
    setSome(instrument.articulation);
    for (auto layers = 1 + random() % 3; layers > 0; --layers) {
      Layer& layer = createLayer(instrument, u"");
      if (random() % 2) setSome(layer.articulation);
      for (auto regions = random() % 4; regions > 0; --regions)
        setSome(createRegion(layer, u"").articulation);
    }
    std::vector<ArticulationBlock> heard;
    collection.forEach<Region>([&](const Region& region) { heard.push_back(effective(region)); });
    ASSERT_TRUE(moveArticulation(collection));
    std::size_t at = 0;
    collection.forEach<Region>([&](const Region& region) { EXPECT_TRUE(effective(region) == heard[at++]); });
  }
}

TEST(MoveArticulation, MovesToTheHighestLevelThatAllShare) {
  Collection collection;
  Instrument& instrument = createInstrument(collection, u"");
  for (float volume : {-3.0f, -6.0f}) {
    Layer& layer = createLayer(instrument, u"");
    layer.articulation.set(slots::Pan, 0.5f);  // covered by the regions
    for (float tuning : {1.0f, 2.0f}) {
      ArticulationBlock& block = createRegion(layer, u"").articulation;
      block.set(slots::Pan, -1);
      block.set(slots::MasterVolume, volume);
      block.set(slots::MasterTuning, tuning);
    }
  }
  ASSERT_TRUE(moveArticulation(collection));
  EXPECT_EQ(instrument.articulation.count(), 1u);
  EXPECT_EQ(instrument.articulation.get(slots::Pan), -1.0f);
  collection.forEach<Layer>(
      [](const Layer& layer) { EXPECT_TRUE(layer.articulation.isSet(slots::MasterVolume)); });
  collection.forEach<Region>([](const Region& region) {
    EXPECT_EQ(region.articulation.count(), 1u);
    EXPECT_TRUE(region.articulation.isSet(slots::MasterTuning));
  });
}

TEST(MoveTriggerParameters, MovesSharedSections) {
  struct Case {
    const char* name;
    PlaySection first, second;
    std::u16string present, moved;  // names of the waveform's record before and after
  };
  for (const Case& c : {
           Case{"a section", {10, 50}, {10, 50}, u"", u"Play"},
           Case{"to the end", {10, 100}, {10, 100}, u"", u"Start"},
           Case{"past the end", {10, 5000}, {10, 5000}, u"", u"Start"},
           Case{"open end", {10, 0}, {10, 0}, u"", u"Start"},
           Case{"everything", {0, 100}, {0, 100}, u"", u""},
           Case{"different", {10, 50}, {10, 51}, u"", u"kept"},
           Case{"one without", {10, 50}, {0, 0}, u"", u"kept"},
           Case{"the waveform has one", {10, 50}, {10, 50}, u"Start", u"kept"},
           Case{"beyond the data", {200, 300}, {200, 300}, u"", u"kept"},
       }) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Layer& layer = createLayer(createInstrument(collection, u""), u"");
    Waveform& waveform = createWaveform(collection, u"");
    waveform.frames = 100;
    if (!c.present.empty()) waveform.records.push_back(record(RecordType::PositionMarker, c.present, 3, 3));
    const std::size_t records = waveform.records.size();
    Region &first = play(layer, waveform), &second = play(layer, waveform);
    first.section = c.first;
    second.section = c.second;
    const PlaySection heard[] = {effectivePlaySection(first), effectivePlaySection(second)};

    ASSERT_TRUE(moveTriggerParameters(collection));
    EXPECT_EQ(effectivePlaySection(first), heard[0]);
    EXPECT_EQ(effectivePlaySection(second), heard[1]);
    const bool kept = c.moved == u"kept";
    EXPECT_EQ(first.section, kept ? c.first : PlaySection{});
    ASSERT_EQ(waveform.records.size(), records + (kept || c.moved.empty() ? 0 : 1));
    EXPECT_TRUE(waveform.records.size() == records || waveform.records.back().name == c.moved);
  }
}

struct DuplicateCase {
  const char* name;
  bool removed;
  void (*change)(Waveform& second);
};
// clang-format off
constexpr DuplicateCase kDuplicateCases[] = {
  {"equal",          true,  [](Waveform&) {}},
  {"other name",     true,  [](Waveform& w) { w.setName(u"other"); }},
  {"loaded",         true,  [](Waveform& w) { EXPECT_TRUE(loadSamples(w, true)); }},
  {"in memory only", true,  [](Waveform& w) { fill(w, samplesOf(w)); }},
  {"last sample",    false, [](Waveform& w) { auto s = samplesOf(w); s.back() = 0.25f; fill(w, s); }},
  {"length",         false, [](Waveform& w) { fill(w, std::vector<float>(39999, 0.5f)); }},
  {"channels",       false, [](Waveform& w) { defer(w, std::vector<float>(80000, 0.5f), 2); }},
  {"rate",           false, [](Waveform& w) { w.rate = 1; }},
  {"records",        false, [](Waveform& w) { w.findOrAddAltStart(7); }},
  {"text",           false, [](Waveform& w) { w.setText(TextProperty::Artist, u"x"); }},
  {"image",          false, [](Waveform& w) { w.setImage(asBytes("GIF89a")); }},
  {"unreadable",     false, [](Waveform& w) { defer(w, std::vector<float>(40000, 0.5f))->broken = true; }},
};
// clang-format on

TEST(RemoveDuplicateWaves, KeepsOneOfEqualOnes) {
  for (const DuplicateCase& c : kDuplicateCases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Layer& layer = createLayer(createInstrument(collection, u""), u"");
    Waveform &first = createWaveform(collection, u"wave"), &second = createWaveform(collection, u"wave");
    for (Waveform* waveform : {&first, &second}) defer(*waveform, std::vector<float>(40000, 0.5f));
    Region& region = play(layer, second);
    c.change(second);
    EXPECT_TRUE(removeDuplicateWaves(collection)) << toUtf8(lastError());
    EXPECT_EQ(collection.count(ItemKind::Waveform), c.removed ? 1u : 2u);
    EXPECT_EQ(region.waveformId == first.id(), c.removed);
  }
}

TEST(RemoveDuplicateWaves, ReadsOnlyWhatLooksEqual) {
  Collection collection;
  std::vector<std::shared_ptr<test::MemorySource>> sources;
  for (std::size_t frames : {100u, 200u, 300u, 300u})
    sources.push_back(
        defer(createWaveform(collection, u""), std::vector<float>(frames, static_cast<float>(frames))));
  ASSERT_TRUE(removeDuplicateWaves(collection));
  EXPECT_EQ(collection.count(ItemKind::Waveform), 3u);
  EXPECT_EQ(sources[0]->opened + sources[1]->opened, 0);
  collection.forEach<Waveform>([](const Waveform& waveform) { EXPECT_EQ(waveform.buffer, nullptr); });
}

TEST(RemoveDuplicateWaves, KeepsPairsWhole) {
  // Two pairs whose left sides are equal; the sides of the first pair are equal as well.
  for (bool rightsEqual : {true, false}) {
    SCOPED_TRACE(rightsEqual);
    Collection collection;
    std::vector<Waveform*> waves;
    for (int i = 0; i < 4; ++i) {
      waves.push_back(&createWaveform(collection, u""));
      defer(*waves.back(), {1, 2, i == 3 && !rightsEqual ? 4.0f : 3.0f});
      waves.back()->side = i % 2 == 0 ? StereoSide::Left : StereoSide::Right;
    }
    for (std::size_t i = 0; i < 4; ++i) waves[i]->pairedWith = waves[i ^ 1]->id();
    ASSERT_TRUE(removeDuplicateWaves(collection));
    EXPECT_EQ(collection.count(ItemKind::Waveform), rightsEqual ? 2u : 4u);
    EXPECT_EQ(waves[0]->pairedWith, waves[1]->id());
  }
}

TEST(Append32, ContinuesTheLoop) {
  struct Case {
    const char* name;
    LoopPlay play;
    std::uint32_t start, end;
    std::vector<float> appended;  // the first few of them
    std::size_t count;
  };
  for (const Case& c : {
           Case{"forward", LoopPlay::Forward, 37, 40, {37, 38, 39, 37, 38}, 32},
           Case{"alternating", LoopPlay::Alternating, 37, 40, {39, 38, 37, 37, 38, 39, 39}, 32},
           Case{"frames behind it", LoopPlay::Forward, 10, 38, {12, 13, 14}, 30},
           Case{"one frame", LoopPlay::Forward, 39, 40, {39, 39}, 32},
           Case{"far from the end", LoopPlay::Forward, 0, 8, {}, 0},
           Case{"off", LoopPlay::Off, 37, 40, {}, 0},
           Case{"past the end", LoopPlay::Forward, 38, 1000, {38, 39, 38}, 32},
           Case{"backwards", LoopPlay::Forward, 40, 37, {}, 0},
       }) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    std::vector<float> samples(40);
    for (std::size_t i = 0; i < 40; ++i) samples[i] = static_cast<float>(i);
    defer(waveform, samples);
    waveform.records.push_back(record(RecordType::Loop, u"Main Loop", c.start, c.end, c.play));
    waveform.mainLoopId = waveform.records[0].id;
    ASSERT_TRUE(append32(collection)) << toUtf8(lastError());
    EXPECT_EQ(waveform.buffer != nullptr, c.count > 0);
    const auto result = samplesOf(waveform);
    ASSERT_EQ(result.size(), 40 + c.count);
    EXPECT_EQ(waveform.frames, 40 + c.count);
    EXPECT_TRUE(std::equal(samples.begin(), samples.end(), result.begin()));
    EXPECT_EQ(std::vector<float>(result.begin() + 40, result.begin() + 40 + std::ssize(c.appended)),
              c.appended);
  }
}

TEST(BidirectionalToForward, UnrollsLoopsAndMovesWhatFollows) {
  Collection collection;
  Layer& layer = createLayer(createInstrument(collection, u""), u"");
  Waveform& waveform = createWaveform(collection, u"");
  defer(waveform, {0, 10, 1, 11, 2, 12, 3, 13, 4, 14, 5, 15}, 2);
  waveform.records = {
      record(RecordType::Loop, u"second", 4, 6, LoopPlay::Alternating),
      record(RecordType::Loop, u"Main Loop", 1, 3, LoopPlay::Alternating),
      record(RecordType::Loop, u"overlaps", 2, 5, LoopPlay::Alternating),
      record(RecordType::Loop, u"plain", 0, 3, LoopPlay::Forward),
      record(RecordType::SectionMarker, u"Play", 0, 6),
      record(RecordType::PositionMarker, u"before", 2, 2),
      record(RecordType::PositionMarker, u"behind", 3, 0),
  };
  waveform.records[0].endHundredths = 20;  // rounded
  waveform.mainLoopId = waveform.records[1].id;
  Region& region = play(layer, waveform);
  region.section = {1, 3};
  Waveform& untouched = createWaveform(collection, u"");
  defer(untouched, {1, 2, 3});
  untouched.addLoop({.startFrames = 0, .endFrames = 3}, u"", true, false);

  ASSERT_TRUE(bidirectionalToForward(collection)) << toUtf8(lastError());
  EXPECT_EQ(samplesOf(waveform),
            (std::vector<float>{0, 10, 1, 11, 2, 12, 2, 12, 1, 11, 3, 13, 4, 14, 5, 15, 5, 15, 4, 14}));
  struct Expected {
    std::uint32_t start, end;
    LoopPlay play;
  };
  const Expected expected[] = {{6, 10, LoopPlay::Forward},    {1, 5, LoopPlay::Forward},
                               {2, 7, LoopPlay::Alternating}, {0, 3, LoopPlay::Forward},
                               {0, 10, LoopPlay::Off},        {2, 2, LoopPlay::Off},
                               {5, 0, LoopPlay::Off}};
  for (std::size_t i = 0; i < std::size(expected); ++i) {
    SCOPED_TRACE(toUtf8(waveform.records[i].name));
    EXPECT_EQ(waveform.records[i].start, expected[i].start);
    EXPECT_EQ(waveform.records[i].end, expected[i].end);
    EXPECT_EQ(waveform.records[i].play, expected[i].play);
  }
  EXPECT_EQ(waveform.records[0].endHundredths, 0);
  EXPECT_EQ(region.section, (PlaySection{1, 5}));
  EXPECT_EQ(untouched.buffer, nullptr);
}

TEST(SortAndNames, OrderAndNameItems) {
  Collection collection;
  for (const char16_t* name : {u"wave 10", u"Wave 2", u"", u"wave 2", u"wave 2 2", u"WAVE 2", u""})
    createWaveform(collection, u"x").setName(name);
  struct {
    const char16_t* name;
    Patch patch;
  } const instruments[] = {{u"drums", Patch::of(0, 0, 0, true)}, {u"msb", Patch::of(1, 0, 0)},
                           {u"lsb", Patch::of(0, 1, 0)},         {u"p 5", Patch::of(0, 0, 5)},
                           {u"p 5", Patch::of(0, 0, 5)},         {u"p 4", Patch::of(0, 0, 4)}};
  for (const auto& instrument : instruments) createInstrument(collection, instrument.name, instrument.patch);
  createSong(collection, u"song b");
  createSong(collection, u"Song A");

  ASSERT_TRUE(ensureUniqueNames(collection) && sortCollection(collection) && sortWaves(collection));
  EXPECT_EQ(test::namesOf(collection.allOf(ItemKind::Waveform)),
            (Names{"", "", "Wave 2", "wave 2 2", "wave 2 3", "WAVE 2 4", "wave 10"}));
  EXPECT_EQ(test::namesOf(collection.allOf(ItemKind::Instrument)),
            (Names{"p 4", "p 5", "p 5 2", "lsb", "msb", "drums"}));
  EXPECT_EQ(test::namesOf(collection.allOf(ItemKind::Song)), (Names{"Song A", "song b"}));
}

/// Tens of thousands of items in the shapes that quadratic steps would stumble over.
TEST(FixupPass, IsFastOnLargeCollections) {
  constexpr int kPairs = 10000;
  Collection collection;
  Instrument& instrument = createInstrument(collection, u"");
  Layer& layer = createLayer(instrument, u"");
  for (int i = 0; i < kPairs; ++i) {
    for (float pan : {-1.0f, 1.0f}) {
      Waveform& waveform = createWaveform(collection, pan < 0 ? u"wave L" : u"wave R");
      defer(waveform, {pan, static_cast<float>(i / 2), 0.5f});
      waveform.addLoop({.play = LoopPlay::Alternating, .startFrames = 1, .endFrames = 3}, u"", true, false);
      Region& region = play(layer, waveform);
      region.articulation.set(slots::Pan, pan);
      region.section = {1, 3};
    }
    createRegion(createLayer(instrument, u""), u"");
  }
  const FixupOptions options = fixupOptions();
  for (const FixupStep& step : fixupSteps())
    if (step.option) fixupOptions().*step.option = true;
  const auto start = std::chrono::steady_clock::now();
  fixUp(collection, kAllKinds, false);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  fixupOptions() = options;
  EXPECT_LT(seconds.count(), 6);
  EXPECT_EQ(collection.count(ItemKind::Waveform), kPairs);  // half of the pairs were duplicates
  EXPECT_EQ(collection.count(ItemKind::Region), 3u * kPairs);
}

}  // namespace
}  // namespace vemko::io
