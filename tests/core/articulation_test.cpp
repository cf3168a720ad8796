#include "core/articulation.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <random>

#include "base/text.h"
#include "core/collection.h"
#include "core/feature_matrix.h"
#include "core/parameters.h"

namespace vemko {
namespace {

TEST(Articulation, HoldsWhatIsSetAndOnlyThat) {
  std::mt19937 random(3);
  ArticulationBlock block;
  std::map<Slot, float> expected;
  for (int step = 0; step < 3000; ++step) {
    const auto slot = static_cast<Slot>(random() % kSlotCount);
    const auto value = static_cast<float>(random() % 1000);
    if (random() % 3 == 0) {
      block.reset(slot);
      expected.erase(slot);
    } else {
      block.set(slot, value);
      expected[slot] = value;
    }
    ASSERT_EQ(block.count(), expected.size());
  }
  for (int i = 0; i < kSlotCount; ++i) {
    const auto slot = static_cast<Slot>(i);
    EXPECT_EQ(block.isSet(slot), expected.contains(slot)) << i;
    EXPECT_EQ(block.get(slot), expected.contains(slot) ? expected[slot] : parameter(slot).initial) << i;
  }
  std::map<Slot, float> visited;
  block.forEach([&](Slot slot, float value) { visited[slot] = value; });
  EXPECT_EQ(visited, expected);
  block.set(255, 1);
  EXPECT_EQ(block.get(255), 0);
  EXPECT_EQ(block.count(), expected.size());
}

TEST(Articulation, EqualBlocksHaveEqualHashes) {
  ArticulationBlock a, b;
  a.set(3, 12);
  a.set(100, 0.0f);
  b.set(100, -0.0f);
  b.set(3, 12);
  EXPECT_EQ(a, b);
  EXPECT_EQ(a.hash(), b.hash());
  b.set(101, parameter(101).initial);
  EXPECT_NE(a, b);
  EXPECT_NE(a.hash(), b.hash());
}

TEST(Articulation, CopiesAndResetsGroups) {
  for (int i = 0; i < kSlotGroupCount; ++i) {
    const auto group = static_cast<SlotGroup>(i);
    SCOPED_TRACE(toUtf8(displayWord(group)));
    const auto [first, last] = slotsOf(group);
    ArticulationBlock from, to;
    from.set(first, 0.5f);
    for (int slot = 0; slot < kSlotCount; ++slot) to.set(static_cast<Slot>(slot), 0.25f);
    copyGroup(from, to, group);
    EXPECT_EQ(to.get(first), 0.5f);
    EXPECT_EQ(static_cast<int>(to.count()), kSlotCount - (last - first));
    resetGroup(to, group);
    EXPECT_EQ(static_cast<int>(to.count()), kSlotCount - (last - first + 1));
    EXPECT_FALSE(to.isSet(last));
  }
}

TEST(Articulation, TheNearestLevelThatSetsASlotWins) {
  Collection collection;
  Instrument& instrument = createInstrument(collection, u"");
  Layer& layer = createLayer(instrument, u"");
  Region& region = createRegion(layer, u"");
  ArticulationBlock* levels[] = {&instrument.articulation, &layer.articulation, &region.articulation};
  // Bit n of a slot's number: level n sets it.
  for (Slot slot = 0; slot < 8; ++slot)
    for (unsigned level = 0; level < 3; ++level)
      if (slot >> level & 1) levels[level]->set(slot, static_cast<float>(level + 1));
  const ArticulationBlock block = effective(region);
  const float expected[] = {parameter(0).initial, 1, 2, 2, 3, 3, 3, 3};
  for (Slot slot = 0; slot < 8; ++slot) EXPECT_EQ(block.get(slot), expected[slot]) << int{slot};
  EXPECT_FALSE(block.isSet(0));
  const auto taken = collection.take(region);
  EXPECT_EQ(effective(region), region.articulation);
}

TEST(Parameters, StandAsTheEditorShowsThem) {
  struct Case {
    Slot slot;
    float initial, minimum, maximum;
    std::u16string_view name;
  };
  constexpr Case cases[] = {
      {0, 0, -48, 48, u"Master tuning Pitch adjustment"},
      {2, 1, -12, 12, u"Key to Pitch"},
      {3, 2, -96, 96, u"Pitch bender to Pitch"},
      {21, 0, -96, 96, u"Aftertrouch to V-LFO to Volume"},
      {23, 1, -1, 1, u"Velocity response"},
      {25, 8000, 8, 24000, u"Filter Cutoff frequency"},
      {66, 0, 0, 1, u"Send channel 3 level"},
      {81, 5, 0.01f, 20, u"F-LFO Frequency"},
      {114, 0.015f, 0, 100, u"Shutdown Rate"},
      {115, 0, -1, 1, u"P-ENV Initial Level"},
      {119, 0, -100, 100, u"P-ENV CC73 to Attack 1 Time"},
      {125, 1, -1, 1, u"P-ENV Attack 2 Level"},
      {133, 1, -1, 1, u"P-ENV Sustain"},
      {136, 1, 0.25f, 4, u"P-ENV Key number to Release 1 Rate "},
      {138, 0, 0, 0, u""},
      {144, 0, 0, 1, u"P-ENV Key Release Mode"},
      {145, 0, 0, 0, u""},
      {157, 0, 0, 100, u"F-ENV Decay 1 Time"},
      {169, 0, 0, 0, u""},
      {174, 0, -1, 1, u"F-ENV Release 3 Level"},
      {176, 0, 0, 0, u""},
      {180, 1, 1, 1, u""},
      {182, 1, -1, 1, u"X-ENV Attack 1 Level"},
      {194, 0, 0, 0, u""},
      {195, 0, -1, 1, u"X-ENV Sustain | Decay 2 Level"},
      {206, 1, 0, 1, u"X-ENV Key Release Mode"},
      {207, 0, 0, 0, u""},
  };
  ASSERT_EQ(parameterTable().size(), 208u);
  for (const Case& c : cases) {
    SCOPED_TRACE(int{c.slot});
    const Parameter& row = parameter(c.slot);
    EXPECT_EQ(row.initial, c.initial);
    EXPECT_EQ(row.minimum, c.minimum);
    EXPECT_EQ(row.maximum, c.maximum);
    EXPECT_EQ(toUtf8(row.name), toUtf8(c.name));
    EXPECT_EQ(row.reserved(), c.name.empty());
  }
  for (const Parameter& row : parameterTable())
    if (row.name.find(u"Key number to") != row.name.npos && row.name.find(u"-ENV") != row.name.npos) {
      EXPECT_EQ(row.initial, 1) << row.number();
      EXPECT_EQ(row.unit, Unit::Multiplier) << row.number();
    }
}

TEST(Parameters, BoundValues) {
  EXPECT_EQ(boundedValue(slots::FilterCutoff, 1e9f), 24000);
  EXPECT_EQ(boundedValue(slots::FilterCutoff, -std::numeric_limits<float>::infinity()), 8);
  EXPECT_EQ(boundedValue(slots::FilterCutoff, std::nanf("")), 8000);
  EXPECT_EQ(boundedValue(slots::FilterCutoff, 440), 440);
}

TEST(FeatureMatrix, ProfilesHoldWhatTheirFormatsDo) {
  struct Case {
    std::u16string_view profile;
    std::u16string_view feature;
    bool supported;
  };
  constexpr Case cases[] = {
      {u"SoundFont 2.0 (.SF2)", u"Architecture: Articulation on Region level", true},
      {u"SoundFont 2.0 (.SF2)", u"Waves: Compressed data formats", false},
      {u"SoundFont 2.01 (.SF2)", u"Effects: Effect send levels", true},
      {u"SoundFont 2.01 (.SF2)", u"Effects: EQ", false},
      {u"SFZ v2 (.SFZ)", u"Effects: EQ", true},
      {u"SFZ v1 (.SFZ)", u"LFOs: Shapes", false},
      {u"DLS level 2 (.DLS)", u"Trigger: X-fade between regions", false},
      {u"DLS level 2++ (.DLS)", u"Filter: CC74/71 to Cutoff/Resonance", false},
      {u"Kontakt (.NKI)", u"Filter: CC74/71 to Cutoff/Resonance", true},
      {u"All parameters supported by Vemko Studio", u"Trigger: Delay time", true},
      {u"Minimal for portability", u"Filter: Low Pass Filter", false},
  };
  ASSERT_EQ(std::size(kFeatureProfiles), 24u);
  for (const Case& c : cases) {
    SCOPED_TRACE(toUtf8(c.profile) + ", " + toUtf8(c.feature));
    const FeatureProfile* profile = nullptr;
    for (const FeatureProfile& row : kFeatureProfiles)
      if (row.name == c.profile) profile = &row;
    ASSERT_NE(profile, nullptr);
    int feature = 0;
    while (feature < kFeatureCount && featureName(feature) != c.feature) ++feature;
    ASSERT_LT(feature, kFeatureCount);
    EXPECT_EQ(supportsFeature(profile->features, feature), c.supported);
  }
  EXPECT_EQ(featureName(4), u"");
  EXPECT_EQ(featureName(6), u"");
  EXPECT_EQ(featureName(-1), u"");
  EXPECT_EQ(featureName(46), u"");
}

}  // namespace
}  // namespace vemko
