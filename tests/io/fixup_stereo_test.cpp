#include <gtest/gtest.h>
#include <random>

#include "collections.h"
#include "io/fixup.h"

namespace vemko::io {
namespace {

using test::defer;
using test::fill;
using test::play;
using test::samplesOf;

/// An instrument with a layer, and a waveform of each side that a hard-panned region plays.
struct PairInLayer {
  PairInLayer() {
    defer(left, {1, 2, 3});
    defer(right, {-1, -2, -3});
    leftRegion->articulation.set(slots::Pan, -1);
    rightRegion->articulation.set(slots::Pan, 1);
  }

  Collection collection;
  Instrument& instrument = createInstrument(collection, u"instrument");
  Layer& layer = createLayer(instrument, u"layer");
  Layer& other = createLayer(instrument, u"other");
  Waveform& left = createWaveform(collection, u"Piano C3 L");
  Waveform& right = createWaveform(collection, u"Piano C3 R");
  Region* leftRegion = &play(layer, left, {0, 60});
  Region* rightRegion = &play(layer, right, {0, 60});
};

void name(PairInLayer& p, std::u16string_view left, std::u16string_view right) {
  p.left.setName(left);
  p.right.setName(right);
}

void link(PairInLayer& p, bool bothWays) {
  name(p, u"x", u"y");
  p.left.side = StereoSide::Left;
  p.right.side = StereoSide::Right;
  p.left.pairedWith = p.right.id();
  if (bothWays) p.right.pairedWith = p.left.id();
}

void panByLayers(PairInLayer& p) {
  attach(p.other, *p.rightRegion);
  p.layer.articulation.set(slots::Pan, -1);
  p.other.articulation.set(slots::Pan, 1);
  p.leftRegion->articulation.clear();
  p.rightRegion->articulation.clear();
}

void addLoops(PairInLayer& p, double leftEnd, double rightEnd) {
  p.left.addLoop({.startFrames = 0, .endFrames = leftEnd}, u"", true, false);
  p.right.addLoop({.startFrames = 0, .endFrames = rightEnd}, u"", true, false);
}

using P = PairInLayer;
struct PairCase {
  const char* name;
  bool merged;
  void (*change)(P&);
};
// clang-format off
constexpr PairCase kPairCases[] = {
  {"as it is",              true,  [](P&) {}},
  {"marks in parentheses",  true,  [](P& p) { name(p, u"Piano C3 (l)", u"piano c3 (R)"); }},
  {"words",                 true,  [](P& p) { name(p, u"Piano C3-Left", u"Piano C3-RIGHT"); }},
  {"marks of two styles",   false, [](P& p) { name(p, u"Piano C3 L", u"Piano C3_R"); }},
  {"other names",           false, [](P& p) { name(p, u"Piano C3 L", u"Piano C4 R"); }},
  {"two left sides",        false, [](P& p) { name(p, u"Piano C3 L", u"Piano C3 L"); }},
  {"only marks",            false, [](P& p) { name(p, u"Left", u"Right"); }},
  {"linked",                true,  [](P& p) { link(p, true); }},
  {"linked one way",        false, [](P& p) { link(p, false); }},
  {"other lengths",         false, [](P& p) { defer(p.right, {1, 2}); }},
  {"other root keys",       false, [](P& p) { p.right.rootKey = 1; }},
  {"linked, other lengths", false, [](P& p) { link(p, true); defer(p.right, {1, 2}); }},
  {"other loops",           false, [](P& p) { addLoops(p, 2, 3); }},
  {"equal loops",           true,  [](P& p) { addLoops(p, 2, 2); }},
  {"not played",            true,  [](P& p) { p.collection.remove(*p.leftRegion); p.collection.remove(*p.rightRegion); }},
  {"one side played",       false, [](P& p) { p.collection.remove(*p.rightRegion); }},
  {"a region left over",    false, [](P& p) { play(p.layer, p.right).articulation.set(slots::Pan, 1); }},
  {"not quite panned",      false, [](P& p) { p.rightRegion->articulation.set(slots::Pan, 0.99f); }},
  {"panned the other way",  false, [](P& p) { std::swap(p.leftRegion->waveformId, p.rightRegion->waveformId); }},
  {"other keys",            false, [](P& p) { p.rightRegion->keys.high = 61; }},
  {"other delay",           false, [](P& p) { p.rightRegion->delaySeconds = 1; }},
  {"other cutoff",          false, [](P& p) { p.rightRegion->articulation.set(slots::FilterCutoff, 500); }},
  {"two layers",            true,  [](P& p) { attach(p.other, *p.rightRegion); }},
  {"panned by two layers",  true,  panByLayers},
  {"layers that differ",    false, [](P& p) { attach(p.other, *p.rightRegion); p.other.articulation.set(slots::MasterVolume, -6); }},
  {"two instruments",       false, [](P& p) { attach(createLayer(createInstrument(p.collection, u""), u""), *p.rightRegion); }},
  {"one side in memory",    true,  [](P& p) { fill(p.right, {-1, -2, -3}); }},
  {"both in memory",        true,  [](P& p) { fill(p.left, {1, 2, 3}); fill(p.right, {-1, -2, -3}); }},
};
// clang-format on

TEST(MergeStereo, RecognisesPairs) {
  for (const PairCase& c : kPairCases) {
    SCOPED_TRACE(c.name);
    PairInLayer p;
    c.change(p);
    const std::size_t regions = p.collection.count(ItemKind::Region);
    EXPECT_TRUE(mergeStereo(p.collection)) << toUtf8(lastError());
    ASSERT_EQ(p.collection.count(ItemKind::Waveform), c.merged ? 1u : 2u);
    if (!c.merged) {
      EXPECT_EQ(p.collection.count(ItemKind::Region), regions);
      continue;
    }
    EXPECT_EQ(p.collection.count(ItemKind::Region), regions / 2);
    EXPECT_EQ(p.left.channels, 2);
    EXPECT_EQ(p.left.pairedWith, kNoItem);
    EXPECT_EQ(samplesOf(p.left), (std::vector<float>{1, -1, 2, -2, 3, -3}));
    EXPECT_TRUE(p.left.name() == u"Piano C3" || p.left.name() == u"x") << toUtf8(p.left.name());
    p.collection.forEach<Region>([](Region& region) { EXPECT_EQ(effective(region).get(slots::Pan), 0.0f); });
  }
}

TEST(MergeStereo, LoadsNothing) {
  PairInLayer p;
  const auto left = defer(p.left, {1, 2, 3}), right = defer(p.right, {4, 5, 6});
  ASSERT_TRUE(mergeStereo(p.collection));
  EXPECT_EQ(p.left.source->encoding(), SampleEncoding::Pcm16);
  EXPECT_TRUE(p.left.source->canSeek());
  EXPECT_EQ(left->opened + right->opened, 0);
  const auto stream = p.left.source->open(2);
  ASSERT_TRUE(stream) << toUtf8(lastError());
  std::vector<float> frames(4);
  EXPECT_EQ(stream->read(frames), 1u);
  EXPECT_EQ(frames, (std::vector<float>{3, 6, 0, 0}));

  ASSERT_TRUE(splitStereo(p.collection));
  EXPECT_EQ(p.left.source, left) << "splitting gives the sides back, not views of views";
}

TEST(SplitStereo, MakesPannedPairs) {
  struct Case {
    float pan, left, right;
  };
  for (bool deferred : {true, false}) {
    for (const Case& c : {Case{0, -1, 1}, Case{0.5f, -0.5f, 1}, Case{-1, -1, 0}}) {
      SCOPED_TRACE(c.pan);
      Collection collection;
      Instrument& instrument = createInstrument(collection, u"");
      Layer& layer = createLayer(instrument, u"");
      Waveform& stereo = createWaveform(collection, u"Piano");
      Waveform& mono = createWaveform(collection, u"Mono");
      std::shared_ptr<test::MemorySource> source;
      if (deferred)
        source = defer(stereo, {1, -1, 2, -2}, 2);
      else
        fill(stereo, {1, -1, 2, -2}, 2);
      stereo.addLoop({.startFrames = 0, .endFrames = 2}, u"", true, false);
      defer(mono, {1});
      instrument.articulation.set(slots::Pan, c.pan);
      Region& region = play(layer, stereo, {3, 5});
      play(layer, mono);

      ASSERT_TRUE(splitStereo(collection)) << toUtf8(lastError());
      EXPECT_EQ(test::namesOf(collection.allOf(ItemKind::Waveform)),
                (std::vector<std::string>{"Piano L", "Piano R", "Mono"}));
      EXPECT_EQ(source ? source->opened.load() : 0, 0);
      auto* right = collection.find<Waveform>(stereo.pairedWith);
      ASSERT_TRUE(right);
      EXPECT_EQ(right->pairedWith, stereo.id());
      EXPECT_EQ(right->mainLoop()->end, 2u);
      EXPECT_NE(right->mainLoopId, stereo.mainLoopId);
      EXPECT_EQ(samplesOf(stereo), (std::vector<float>{1, 2}));
      EXPECT_EQ(samplesOf(*right), (std::vector<float>{-1, -2}));

      ASSERT_EQ(layer.children.size(), 3u);
      EXPECT_EQ(layer.children[0], region.id());
      const auto* twin = collection.find<Region>(layer.children[1]);
      EXPECT_EQ(twin->waveform(), right);
      EXPECT_EQ(twin->keys, (MidiRange{3, 5}));
      EXPECT_EQ(effective(region).get(slots::Pan), c.left);
      EXPECT_EQ(effective(*twin).get(slots::Pan), c.right);
    }
  }
}

TEST(SplitStereo, UndoesMergeStereo) {
  std::mt19937 random(1);
  Collection collection;
  Instrument& instrument = createInstrument(collection, u"");
  for (int i = 0; i < 20; ++i) {
    Layer& layer = createLayer(instrument, u"");
    const std::u16string name = toUtf16("wave " + std::to_string(i));
    for (const char* side : {" L", " R"}) {
      Waveform& waveform = createWaveform(collection, name + toUtf16(side));
      defer(waveform, std::vector<float>(5, static_cast<float>(random() % 100)));
      for (int r = 0; r < 3; ++r) {
        Region& region = play(layer, waveform, {static_cast<std::uint8_t>(r), 100});
        region.articulation.set(slots::Pan, side[1] == 'L' ? -1.0f : 1.0f);
      }
    }
  }
  // What is heard: per waveform and region.
  auto heard = [&] {
    std::vector<std::string> lines;
    collection.forEach<Region>([&](Region& region) {
      Waveform& waveform = *region.waveform();
      lines.push_back(toUtf8(waveform.name()) + " " + std::to_string(region.keys.low) + " " +
                      std::to_string(effective(region).get(slots::Pan)) + " " +
                      std::to_string(samplesOf(waveform).at(4)));
    });
    std::ranges::sort(lines);
    return lines;
  };
  const auto before = heard();
  ASSERT_TRUE(mergeStereo(collection));
  EXPECT_EQ(collection.count(ItemKind::Waveform), 20u);
  EXPECT_EQ(collection.count(ItemKind::Region), 60u);
  ASSERT_TRUE(splitStereo(collection));
  EXPECT_EQ(heard(), before);
}

}  // namespace
}  // namespace vemko::io
