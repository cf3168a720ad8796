#include "app/view/key_map_layout.h"

#include <gtest/gtest.h>

namespace vemko::view {
namespace {

MapRegion region(MidiRange keys, MidiRange velocities) {
  MapRegion made;
  made.keys = keys;
  made.velocities = velocities;
  return made;
}

/// Ten pixels a key, one a velocity.
KeyMapLayout layoutOf(std::vector<MapRegion> regions) {
  KeyMapLayout layout;
  layout.setArea({100, 0, 100 + 1280, 128});
  layout.setRegions(std::move(regions));
  return layout;
}

double areaOf(const std::vector<Point>& shape) {
  double twice = 0;
  for (std::size_t i = 0; i < shape.size(); ++i) {
    const Point a = shape[i], b = shape[(i + 1) % shape.size()];
    twice += a.x * b.y - b.x * a.y;
  }
  return twice / 2;
}

TEST(KeyMapLayout, TakesTheRegionsOfAnyItem) {
  Collection collection;
  Waveform& wave = createWaveform(collection, u"wave");
  wave.rootKey = 65;
  Instrument& instrument = createInstrument(collection, u"instrument");
  Layer& first = createLayer(instrument, u"");
  Layer& second = createLayer(instrument, u"");
  const RegionRequest request{.waveform = serialOf(wave.id()), .keys = {60, 50}};
  Region& low = createRegion(first, u"", request);
  Region& high = createRegion(second, u"", {.keys = {70, 80}, .rootKey = 75});
  const auto regions = mapRegionsOf(instrument);
  ASSERT_EQ(regions.size(), 2u);
  EXPECT_EQ(regions[0].id, low.id());
  EXPECT_EQ(regions[0].keys, (MidiRange{50, 60})) << "in order, whatever the file said";
  EXPECT_EQ(regions[0].rootKey, 65);
  EXPECT_EQ(regions[1].rootKey, 75);
  EXPECT_EQ(regions[1].layer, 1u);
  EXPECT_EQ(mapRegionsOf(second).at(0).id, high.id());
  EXPECT_EQ(mapRegionsOf(low).size(), 1u);
  EXPECT_TRUE(mapRegionsOf(wave).empty());
}

TEST(KeyMapLayout, PlacesKeysAndVelocities) {
  const KeyMapLayout layout = layoutOf({});
  EXPECT_EQ(layout.xOfKey(0), 100);
  EXPECT_EQ(layout.xOfKey(128), 1380);
  EXPECT_EQ(layout.yOfVelocity(0), 128);
  EXPECT_EQ(layout.yOfVelocity(128), 0);
  EXPECT_EQ(layout.keyAt(709.9), 60);
  EXPECT_EQ(layout.keyAt(-5), 0);
  EXPECT_EQ(layout.keyAt(9999), 127);
  EXPECT_EQ(layout.velocityAt(0.5), 127);
  EXPECT_EQ(layout.velocityAt(500), 0);
  const Box box = layout.boxOf(region({60, 60}, {64, 127}));
  EXPECT_EQ(box.right - box.left, 10);
  EXPECT_EQ(box.bottom - box.top, 64);
}

TEST(KeyMapLayout, CrossFadesCutTheOutline) {
  const KeyMapLayout layout = layoutOf({});
  const MapRegion whole = region({60, 69}, {0, 99});
  MapRegion keyIn = whole, keyOut = whole, velocityIn = whole, all = whole, outside = whole, empty = whole;
  keyIn.fadeInKeys = {60, 65};
  keyOut.fadeOutKeys = {64, 69};
  velocityIn.fadeInVelocities = {0, 20};
  all.fadeInKeys = {60, 62}, all.fadeOutKeys = {67, 69}, all.fadeInVelocities = {0, 20};
  all.fadeOutVelocities = {79, 99};
  outside.fadeInKeys = {20, 40}, outside.fadeOutKeys = {80, 90};
  empty.fadeInKeys = {68, 90}, empty.fadeOutKeys = {30, 61};
  struct Case {
    const char* name;
    MapRegion region;
    double area;
    bool fades = true;
  };
  const Case cases[] = {
      {"no fade", whole, 10000, false},
      {"keys in", keyIn, 10000 - 50 * 100 / 2},
      {"keys out", keyOut, 10000 - 50 * 100 / 2},
      {"velocities in", velocityIn, 10000 - 20 * 100 / 2},
      {"fades that lie outside", outside, 10000, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(KeyMapLayout::hasFades(c.region), c.fades);
    EXPECT_NEAR(areaOf(layout.outlineOf(c.region)), c.area, 1e-6);
  }
  EXPECT_EQ(layout.outlineOf(all).size(), 4u);
  EXPECT_LT(areaOf(layout.outlineOf(all)), 10000 - 2 * 20 * 100 / 2);
  EXPECT_LE(layout.outlineOf(empty).size(), 4u);
}

TEST(KeyMapLayout, ClicksCycleThroughWhatLiesUnderThem) {
  const KeyMapLayout layout = layoutOf({region({0, 127}, {0, 127}), region({60, 72}, {0, 127}),
                                        region({60, 64}, {0, 63}), region({100, 110}, {0, 127})});
  const double x = layout.xOfKey(62) + 1, y = layout.yOfVelocity(30) - 0.5;
  EXPECT_EQ(layout.regionsAt(x, y), (std::vector<std::size_t>{2, 1, 0}));
  const auto first = layout.pick(x, y, {}), second = layout.pick(x, y, first);
  EXPECT_EQ(first, 2u);
  EXPECT_EQ(second, 1u);
  EXPECT_EQ(layout.pick(x, y, 0), 2u) << "back to the top";
  EXPECT_EQ(layout.pick(x, y, 3), 2u) << "selected elsewhere";
  EXPECT_FALSE(layoutOf({}).pick(x, y, {}));
}

TEST(KeyMapLayout, ArrowsLeadToTheNeighbour) {
  const KeyMapLayout layout =
      layoutOf({region({0, 20}, {0, 63}), region({0, 20}, {64, 127}), region({21, 40}, {0, 63}),
                region({21, 40}, {64, 127}), region({60, 60}, {0, 127})});
  using enum Direction;
  const auto none = std::optional<std::size_t>();
  EXPECT_EQ(layout.neighbour(0, Right), 2u);
  EXPECT_EQ(layout.neighbour(2, Up), 3u);
  EXPECT_EQ(layout.neighbour(3, Left), 1u);
  EXPECT_EQ(layout.neighbour(3, Right), 4u);
  EXPECT_EQ(layout.neighbour(1, Down), 0u);
  EXPECT_EQ(layout.neighbour(0, Left), none);
  EXPECT_EQ(layout.neighbour(0, Down), none);
  EXPECT_EQ(layout.neighbour(77, Down), none);
}

TEST(KeyMapLayout, EveryRegionIsReachedInOrder) {
  const KeyMapLayout layout = layoutOf({region({50, 60}, {0, 127}), region({0, 127}, {0, 127}),
                                        region({50, 60}, {0, 127}), region({50, 60}, {0, 20})});
  std::vector<std::size_t> order;
  std::optional<std::size_t> at;
  while ((at = layout.next(at, true))) order.push_back(*at);
  EXPECT_EQ(order, (std::vector<std::size_t>{1, 0, 2, 3}));
  EXPECT_EQ(layout.next({}, false), 3u);
  EXPECT_EQ(layout.next(1, false), std::nullopt);
}

TEST(KeyMapLayout, KnowsHowManyRegionsLieOverEachOther) {
  const MapRegion half = region({0, 63}, {0, 127}), all = region({0, 127}, {0, 127});
  EXPECT_EQ(layoutOf({}).meanOverlap(), 1);
  EXPECT_EQ(layoutOf({half}).meanOverlap(), 1);
  EXPECT_EQ(layoutOf({half, half, half}).meanOverlap(), 3);
  EXPECT_EQ(layoutOf({half, all}).meanOverlap(), 1.5);
}

}  // namespace
}  // namespace vemko::view
