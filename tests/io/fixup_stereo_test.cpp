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

TEST(MergeStereo, RecognisesPairs) {
  struct Case {
    const char* name;
    void (*change)(PairInLayer&);
    bool merged;
  };
  for (const Case& c : {
           Case{"as it is", [](PairInLayer&) {}, true},
           Case{"other marks",
                [](PairInLayer& p) {
                  p.left.setName(u"Piano C3 (l)");
                  p.right.setName(u"piano c3 (R)");
                },
                true},
           Case{"words",
                [](PairInLayer& p) {
                  p.left.setName(u"Piano C3-Left");
                  p.right.setName(u"Piano C3-RIGHT");
                },
                true},
           Case{"marks of two styles", [](PairInLayer& p) { p.right.setName(u"Piano C3_R"); }, false},
           Case{"other names", [](PairInLayer& p) { p.right.setName(u"Piano C4 R"); }, false},
           Case{"names without marks", [](PairInLayer& p) { p.right.setName(u"Piano C3 L"); }, false},
           Case{"links in spite of names",
                [](PairInLayer& p) {
                  p.left.setName(u"x");
                  p.right.setName(u"y");
                  p.left.side = StereoSide::Left;
                  p.right.side = StereoSide::Right;
                  p.left.pairedWith = p.right.id();
                  p.right.pairedWith = p.left.id();
                },
                true},
           Case{"a link in one direction",
                [](PairInLayer& p) {
                  p.left.setName(u"x");
                  p.left.side = StereoSide::Left;
                  p.left.pairedWith = p.right.id();
                },
                false},
           Case{"other lengths",
                [](PairInLayer& p) {
                  defer(p.right, {1, 2});
                },
                false},
           Case{"other rates", [](PairInLayer& p) { p.right.rate = 1; }, false},
           Case{"other root keys", [](PairInLayer& p) { p.right.rootKey = 1; }, false},
           Case{"other loops",
                [](PairInLayer& p) {
                  p.right.records.push_back(test::record(RecordType::Loop, u"Main Loop", 0, 2));
                },
                false},
           Case{"equal loops",
                [](PairInLayer& p) {
                  for (Waveform* waveform : {&p.left, &p.right})
                    waveform->addLoop({.startFrames = 0, .endFrames = 2}, u"", true, false);
                },
                true},
           Case{"played by nobody",
                [](PairInLayer& p) {
                  p.collection.remove(*p.leftRegion);
                  p.collection.remove(*p.rightRegion);
                },
                true},
           Case{"one side played", [](PairInLayer& p) { p.collection.remove(*p.rightRegion); }, false},
           Case{"a region left over", [](PairInLayer& p) { play(p.layer, p.right); }, false},
           Case{"not quite panned",
                [](PairInLayer& p) { p.rightRegion->articulation.set(slots::Pan, 0.99f); }, false},
           Case{"panned the other way",
                [](PairInLayer& p) {
                  p.leftRegion->setWaveform(p.right.id());
                  p.rightRegion->setWaveform(p.left.id());
                },
                false},
           Case{"other keys", [](PairInLayer& p) { p.rightRegion->keys.high = 61; }, false},
           Case{"other delay", [](PairInLayer& p) { p.rightRegion->delaySeconds = 1; }, false},
           Case{"other cutoff",
                [](PairInLayer& p) { p.rightRegion->articulation.set(slots::FilterCutoff, 500); }, false},
           Case{"in two layers", [](PairInLayer& p) { attach(p.other, *p.rightRegion); }, true},
           Case{"in two layers that set the pan",
                [](PairInLayer& p) {
                  attach(p.other, *p.rightRegion);
                  p.layer.articulation.set(slots::Pan, -1);
                  p.other.articulation.set(slots::Pan, 1);
                  p.leftRegion->articulation.clear();
                  p.rightRegion->articulation.clear();
                },
                true},
           Case{"in two layers that differ",
                [](PairInLayer& p) {
                  attach(p.other, *p.rightRegion);
                  p.other.articulation.set(slots::MasterVolume, -6);
                },
                false},
           Case{"in two instruments",
                [](PairInLayer& p) {
                  attach(createLayer(createInstrument(p.collection, u""), u""), *p.rightRegion);
                },
                false},
           Case{"the right side in memory",
                [](PairInLayer& p) {
                  fill(p.right, {-1, -2, -3});
                },
                true},
           Case{"both in memory",
                [](PairInLayer& p) {
                  fill(p.left, {1, 2, 3});
                  fill(p.right, {-1, -2, -3});
                },
                true},
       }) {
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
