#include "app/view/wave_scale.h"

#include <gtest/gtest.h>
#include <random>

#include "app/view/ruler.h"

namespace vemko::view {
namespace {

WaveScale scaleOf(std::uint32_t frames, int width) {
  WaveScale scale;
  scale.setWidth(width);
  scale.setFrames(frames);
  return scale;
}

TEST(WaveScale, StaysWithinTheWaveform) {
  std::mt19937 random(3);
  for (std::uint32_t frames : {0u, 1u, 10u, 5000u, 158760000u, 4294967295u}) {
    SCOPED_TRACE(frames);
    WaveScale scale = scaleOf(frames, 900);
    EXPECT_TRUE(scale.showsAll());
    const auto somewhere = [&](std::uint32_t below) {
      return static_cast<double>(below ? random() % below : 0);
    };
    for (int i = 0; i < 300; ++i) {
      switch (random() % 5) {
        case 0:
          scale.zoom(0.3, somewhere(900));
          break;
        case 1:
          scale.zoom(2.5, somewhere(900));
          break;
        case 2:
          scale.scrollBy(somewhere(4000) - 2000);
          break;
        case 3:
          scale.setWidth(static_cast<int>(random() % 2000));
          break;
        default:
          scale.reveal(somewhere(frames));
      }
      ASSERT_GE(scale.firstFrame(), 0);
      ASSERT_LE(scale.endFrame(), std::max(frames * (1 + 1e-9), 1.0 * scale.width()));
      ASSERT_GT(scale.framesPerPixel(), 0);
      ASSERT_LE(scale.boundaryAt(1e12), frames);
    }
    scale.showAll();
    EXPECT_TRUE(scale.showsAll());
  }
}

TEST(WaveScale, HoldsWhatIsUnderThePointer) {
  WaveScale scale = scaleOf(1000000, 1000);
  for (double factor : {0.5, 0.5, 0.1, 0.5, 2.0}) {
    const double held = scale.frameAt(700);
    scale.zoom(factor, 700);
    EXPECT_NEAR(scale.frameAt(700), held, 1e-6);
    EXPECT_NEAR(scale.xOf(held), 700, 1e-6);
  }
  scale.reveal(10);
  EXPECT_GE(scale.xOf(10), 0);
  EXPECT_EQ(scale.boundaryAt(-1e9), 0u);
}

TEST(WaveScale, KeepsShowingAllWhenResized) {
  WaveScale scale = scaleOf(1000000, 1000);
  scale.setWidth(300);
  EXPECT_TRUE(scale.showsAll());
  scale.zoom(0.5, 0);
  scale.setWidth(400);
  EXPECT_FALSE(scale.showsAll());
  EXPECT_EQ(scale.firstFrame(), 0);
}

TEST(Ruler, TicksStandAtRoundPlaces) {
  struct Case {
    const char* name;
    std::uint32_t frames;
    double first, end;
    std::vector<std::string> times, frameLabels;
  };
  const Case cases[] = {
      {"a second",
       48000,
       0,
       48000,
       {"0:00.0", "0:00.2", "0:00.4", "0:00.6", "0:00.8", "0:01.0"},
       {"0", "10 000", "20 000", "30 000", "40 000"}},
      {"an hour",
       172800000,
       0,
       172800000,
       {"0:00", "15:00", "30:00", "45:00", "1:00:00"},
       {"0", "50 000 000", "100 000 000", "150 000 000"}},
      {"some frames",
       48000,
       24000,
       24006,
       {"0:00.50000", "0:00.50005", "0:00.50010", "0:00.50015"},
       {"24 000", "24 002", "24 004", "24 006"}},
      {"nothing", 0, 0, 0, {}, {}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    WaveScale scale = scaleOf(c.frames, 500);
    scale.show(c.first, c.end);
    for (const bool ofTime : {true, false}) {
      std::vector<std::string> labels;
      double lastLabel = -1e9, lastX = -1e9;
      for (const Tick& tick : ofTime ? timeTicks(scale, 48000, 90) : frameTicks(scale, 90)) {
        EXPECT_GT(tick.x, lastX);
        lastX = tick.x;
        if (!tick.isMajor) continue;
        if (tick.x >= -1e-6) labels.push_back(tick.label);
        EXPECT_GE(tick.x - lastLabel, 90 * (1 - 1e-6));
        lastLabel = tick.x;
      }
      EXPECT_EQ(labels, ofTime ? c.times : c.frameLabels);
    }
  }
  EXPECT_TRUE(timeTicks(scaleOf(1000, 500), 0, 90).empty());
}

TEST(Ruler, NeverMakesMoreTicksThanPixels) {
  for (std::uint32_t frames : {1u, 3u, 999u, 4294967295u})
    for (int width : {1, 50, 3000})
      for (double zoomed : {1.0, 1e-3, 1e-9}) {
        WaveScale scale = scaleOf(frames, width);
        scale.zoom(zoomed, width / 3.0);
        for (std::uint32_t rate : {1u, 44100u, 4294967295u})
          EXPECT_LE(timeTicks(scale, rate, 80).size(), static_cast<std::size_t>(width) + 25);
        EXPECT_LE(frameTicks(scale, 80).size(), static_cast<std::size_t>(width) + 25);
      }
}

}  // namespace
}  // namespace vemko::view
