#include "core/feature_use.h"

#include <algorithm>

#include "core/filter.h"
#include "core/parameters.h"
#include "support.h"

namespace vemko {
namespace {

struct Piano {
  Collection collection;
  Instrument& instrument = createInstrument(collection, u"Piano");
  Layer& layer = createLayer(instrument, u"");
  Waveform& waveform = createWaveform(collection, u"C4");
  Region& region = createRegion(layer, u"", {.waveform = serialOf(waveform.id())});
};

void setAll(Region& region, std::initializer_list<std::pair<int, float>> values) {
  for (const auto& [slot, value] : values) region.articulation.set(static_cast<Slot>(slot), value);
}

constexpr auto kLowPass = static_cast<float>(FilterType::LowPass2);
constexpr int kVDelay = envelopeSlot(slots::VEnv, Stage::Attack1Time);

TEST(FeatureUse, FindsEachFeature) {
  const struct {
    const char* name;
    void (*make)(Region&);
    std::vector<int> features;
  } cases[] = {
      {"nothing", [](Region&) {}, {}},
      {"a default that is set",
       [](Region& r) {
         setAll(r, {{2, 1}, {3, 2}, {56, 1}});
       },
       {}},
      {"settings of LFOs and envelopes that lead nowhere",
       [](Region& r) {
         setAll(r, {{69, 7}, {71, 2}, {68, 3}, {slots::PEnv + 1, 2}, {slots::FEnv + 6, 2}});
       },
       {}},
      {"cutoff without a filter",
       [](Region& r) {
         setAll(r, {{25, 500}, {26, 12}, {38, 3}, {41, 2}});
       },
       {}},
      {"fade",
       [](Region& r) {
         r.fadeInVelocities = {20, 40};
       },
       {0}},
      {"play section",
       [](Region& r) {
         r.section = {5, 0};
       },
       {10}},
      {"delay", [](Region& r) { r.delaySeconds = 1; }, {12}},
      {"trigger", [](Region& r) { r.trigger = Trigger::Release; }, {13}},
      {"no waveform", [](Region& r) { r.setWaveform(kNoItem); }, {features::SilentRegions}},
      {"aftertouch to an LFO",
       [](Region& r) {
         setAll(r, {{6, 1}});
       },
       {18, features::AftertouchToLfos}},
      {"the fourth LFO",
       [](Region& r) {
         setAll(r, {{8, 1}});
       },
       {features::FourthLfo}},
      {"high resonance",
       [](Region& r) {
         setAll(r, {{24, kLowPass}, {25, 500}, {37, 23}});
       },
       {30, features::HighResonance}},
      {"one LFO",
       [](Region& r) {
         setAll(r, {{4, 1}, {68, 2}, {71, 1}});
       },
       {16, 17}},
      {"two LFOs",
       [](Region& r) {
         setAll(r, {{4, 1}, {19, 3}, {73, 2}});
       },
       {14}},
      {"one LFO for volume and cutoff",
       [](Region& r) {
         setAll(r, {{19, 1}, {31, 2}, {73, 2}, {77, 2}});
       },
       {}},
      {"separate LFOs",
       [](Region& r) {
         setAll(r, {{19, 1}, {31, 2}, {73, 2}, {77, 3}});
       },
       {14, 15}},
      {"mod wheel to LFO",
       [](Region& r) {
         setAll(r, {{5, 1}});
       },
       {18}},
      {"pitch envelope",
       [](Region& r) {
         setAll(r, {{12, 1}});
       },
       {19}},
      {"equal envelopes",
       [](Region& r) {
         setAll(r, {{12, 1}, {35, 1}});
       },
       {19}},
      {"separate envelopes",
       [](Region& r) {
         setAll(r, {{12, 1}, {35, 1}, {envelopeSlot(slots::FEnv, Stage::Attack2Time), 1}});
       },
       {19, 20}},
      {"six stages",
       [](Region& r) {
         setAll(r, {{kVDelay, 1}});
       },
       {21}},
      {"levels",
       [](Region& r) {
         setAll(r, {{slots::VEnv, 0.5f}});
       },
       {22}},
      {"a sustain level below zero",
       [](Region& r) {
         setAll(r, {{12, 1}, {envelopeSlot(slots::PEnv, Stage::Sustain), -0.5f}});
       },
       {19, 22}},
      {"releases",
       [](Region& r) {
         setAll(r, {{109, 1}});
       },
       {23}},
      {"key to times",
       [](Region& r) {
         setAll(r, {{92, 2}, {101, 2}});
       },
       {24, features::KeyToDecay}},
      {"velocity to times",
       [](Region& r) {
         setAll(r, {{86, 1}, {91, 1}, {96, 1}, {104, 1}});
       },
       {21, 25, 26, 27, 28}},
      {"velocity to envelope",
       [](Region& r) {
         setAll(r, {{13, 1}});
       },
       {19, 29}},
      {"filter",
       [](Region& r) {
         setAll(r, {{24, kLowPass}, {25, 500}});
       },
       {30}},
      {"high-pass",
       [](Region& r) {
         setAll(r, {{24, static_cast<float>(FilterType::HighPass2)}});
       },
       {31}},
      {"to cutoff",
       [](Region& r) {
         setAll(r, {{24, kLowPass}, {28, 1}, {27, 1}, {39, 1}, {30, 1}});
       },
       {30, 32, 33, 34, 45}},
      {"sends",
       [](Region& r) {
         setAll(r, {{60, 0.5f}, {61, 0.2f}});
       },
       {35, 37}},
      {"equaliser",
       [](Region& r) {
         setAll(r, {{44, 3}});
       },
       {36}},
      {"a shelf",
       [](Region& r) {
         setAll(r, {{46, 2}, {48, 3}});
       },
       {36, features::EqualizerShelves}},
      {"a shelf without gain",
       [](Region& r) {
         setAll(r, {{42, 1}});
       },
       {}},
      {"hold pedal",
       [](Region& r) {
         setAll(r, {{107, 2}});
       },
       {features::HoldPedal}},
      {"key to volume, random pan",
       [](Region& r) {
         setAll(r, {{16, 1}, {55, 1}});
       },
       {38, 39}},
      {"bend, key to pitch",
       [](Region& r) {
         setAll(r, {{3, 12}, {2, 0}});
       },
       {40, 41}},
      {"random, mod wheel to volume",
       [](Region& r) {
         setAll(r, {{1, 1}, {17, 1}});
       },
       {42, 43}},
      {"CC72",
       [](Region& r) {
         setAll(r, {{106, 1}});
       },
       {44}},
      {"groups and fixed keys",
       [](Region& r) {
         r.exclusiveGroup = 3;
         r.fixedKey = 60;
       },
       {features::FixedKey, features::ExclusiveGroups}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Piano piano;
    c.make(piano.region);
    std::vector<int> found;
    for (int feature = 0; feature < features::Count; ++feature)
      if (featuresOf(piano.region).has(feature)) found.push_back(feature);
    std::vector<int> expected = c.features;
    std::ranges::sort(expected);
    EXPECT_EQ(found, expected);
  }
}

TEST(FeatureUse, FindsLoopsAndLevels) {
  Piano piano;
  LoopDescriptor loop{.startFrames = 1.5, .endFrames = 9};
  piano.waveform.frames = 100;
  piano.waveform.addLoop(loop, u"", true, false);
  loop = {
      .play = LoopPlay::Alternating, .count = LoopCount::UntilRelease, .endFrames = 20, .tuneSemitones = 1};
  piano.waveform.addLoop(loop, u"", false, false);
  piano.instrument.articulation.set(slots::Pan, 1);
  Region& second = createRegion(piano.layer, u"");
  second.articulation.set(slots::KeyToPitch, 0);

  std::vector<int> found;
  for (const FeatureUse& use : featuresUsed(piano.collection)) {
    found.push_back(use.feature);
    EXPECT_FALSE(featureText(use.feature).empty());
    if (use.feature == 41) {
      EXPECT_EQ(use.places, std::vector<ItemId>{second.id()});
    }
    if (use.feature == 7) {
      EXPECT_EQ(use.places, std::vector<ItemId>{piano.waveform.id()});
    }
  }
  EXPECT_EQ(found, (std::vector<int>{1, 3, 7, 8, 9, 11, 41, features::Loops, features::MoreLoops,
                                     features::SilentRegions}));
}

TEST(FeatureUse, LosesOnlyWhatMatters) {
  const auto mask = featureBits;
  EXPECT_EQ(lostFeatures(mask({1, 2, 3, 30}), mask({3})), mask({30})) << "levels can be told per region";
  EXPECT_EQ(lostFeatures(mask({1, 3}), mask({1})), mask({3}));
  EXPECT_EQ(lostFeatures(mask({7, 8, features::Loops}), 0), mask({features::Loops}));
  EXPECT_EQ(lostFeatures(mask({7, 8, features::Loops}), mask({7, features::Loops})), mask({8}));
  EXPECT_EQ(lostFeatures(mask({36, features::EqualizerShelves}), 0), mask({36}));
  EXPECT_EQ(lostFeatures(mask({36, features::EqualizerShelves}), mask({36})),
            mask({features::EqualizerShelves}));
}

}  // namespace
}  // namespace vemko
