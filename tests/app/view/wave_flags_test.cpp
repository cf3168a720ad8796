#include "app/view/wave_flags.h"

#include <gtest/gtest.h>

#include "base/text.h"
#include "core/collection.h"

namespace vemko::view {
namespace {

constexpr auto kMarker = RecordType::PositionMarker;
constexpr auto kSection = RecordType::SectionMarker;
constexpr auto kLoop = RecordType::Loop;
constexpr FlagMetrics kMetrics{20, 10, 9, 4};

LoopRecord record(std::uint32_t id, RecordType type, std::uint32_t start, std::uint32_t end = 0,
                  std::uint8_t startHundredths = 0, std::uint8_t endHundredths = 0) {
  LoopRecord made;
  made.id = id;
  made.type = type;
  made.start = start;
  made.end = end;
  made.startHundredths = startHundredths;
  made.endHundredths = endHundredths;
  return made;
}

WaveFlags flagsOf(std::vector<LoopRecord> records, std::uint32_t frames = 1000) {
  Collection collection;
  Waveform& wave = createWaveform(collection, u"wave");
  wave.frames = frames;
  wave.records = std::move(records);
  return WaveFlags(wave);
}

WaveScale oneToOne() {
  WaveScale scale;
  scale.setWidth(1000);
  scale.setFrames(1000);
  return scale;
}

TEST(WaveFlags, SpansThatOverlapGetLanesOfTheirOwn) {
  struct Case {
    const char* name;
    std::vector<LoopRecord> records;
    std::vector<int> lanes;  // by start
    int count;
  };
  const Case cases[] = {
      {"none", {}, {}, 0},
      {"a loop", {record(1, kLoop, 10, 20)}, {0}, 1},
      {"one after the other", {record(1, kLoop, 10, 20), record(2, kSection, 20, 30)}, {0, 0}, 1},
      {"overlapping",
       {record(1, kLoop, 10, 20), record(2, kSection, 15, 30), record(3, kLoop, 25, 40)},
       {0, 1, 0},
       2},
      {"markers stand above", {record(1, kLoop, 10, 20), record(2, kMarker, 5)}, {0, 1}, 2},
      {"no more than three",
       {record(1, kLoop, 0, 90), record(2, kLoop, 1, 80), record(3, kLoop, 2, 70), record(4, kLoop, 3, 60)},
       {0, 1, 2, 2},
       3},
      {"beyond the end, and backwards", {record(1, kLoop, 900, 5000), record(2, kLoop, 950, 400)}, {0, 1}, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const WaveFlags flags = flagsOf(c.records);
    std::vector<int> lanes;
    for (const Flag& flag : flags.flags()) {
      lanes.push_back(flag.lane);
      EXPECT_LE(flag.first, flag.end);
      EXPECT_LE(flag.end, 1000);
    }
    EXPECT_EQ(lanes, c.lanes);
    EXPECT_EQ(flags.lanes(), c.count);
  }
}

TEST(WaveFlags, HandlesAreFoundUnderThePointer) {
  const WaveFlags flags = flagsOf({record(1, kLoop, 100, 200), record(2, kLoop, 200, 210),
                                   record(3, kMarker, 600), record(4, kMarker, 602)});
  const auto none = std::optional<Handle>();
  const auto handle = [](std::uint32_t id, HandlePart part) { return std::optional<Handle>({id, part}); };
  struct Case {
    const char* name;
    double x, y;
    std::optional<Handle> found;
    std::optional<Handle> preferred = {};
  };
  const Case cases[] = {
      {"above the lanes", 100, 10, none},
      {"start", 103, 35, handle(1, HandlePart::Start)},
      {"band", 150, 35, handle(1, HandlePart::Whole)},
      {"end", 195, 35, handle(1, HandlePart::End)},
      {"end of a narrow one", 208, 35, handle(2, HandlePart::End)},
      {"beside", 300, 35, none},
      {"the other lane", 150, 25, none},
      {"a line in the waves", 98, 200, handle(1, HandlePart::Start)},
      {"inside a loop", 150, 200, none},
      {"the nearer of two", 601.4, 200, handle(4, HandlePart::Start)},
      {"the preferred of two", 601.4, 200, handle(3, HandlePart::Start), handle(3, HandlePart::Start)},
      {"a preferred one elsewhere", 98, 200, handle(1, HandlePart::Start), handle(3, HandlePart::Start)},
      {"a marker's label", 620, 25, handle(4, HandlePart::Start)},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(flags.hit(oneToOne(), kMetrics, c.x, c.y, c.preferred), c.found);
  }
}

TEST(WaveFlags, HandlesFollowEachOtherFromLeftToRight) {
  const WaveFlags flags =
      flagsOf({record(1, kLoop, 100, 300), record(2, kMarker, 200), record(3, kSection, 250, 280)});
  std::vector<double> frames;
  std::optional<Handle> handle;
  while ((handle = flags.next(handle, true))) frames.push_back(*flags.frameOf(*handle));
  EXPECT_EQ(frames, (std::vector<double>{100, 200, 250, 280, 300}));
  frames.clear();
  while ((handle = flags.next(handle, false))) frames.push_back(*flags.frameOf(*handle));
  EXPECT_EQ(frames, (std::vector<double>{300, 280, 250, 200, 100}));
  EXPECT_EQ(flags.next(Handle{99, HandlePart::Start}, true), (Handle{1, HandlePart::Start}))
      << "a record that is gone";
  EXPECT_FALSE(WaveFlags().next({}, true));
}

TEST(WaveFlags, MovedRecordsKeepTheirOrderAndBounds) {
  using enum HandlePart;
  struct Case {
    const char* name;
    LoopRecord record;
    HandlePart part;
    std::int64_t frame;
    double start, end;
  };
  const Case cases[] = {
      {"start", record(1, kLoop, 100, 200, 25, 50), Start, 150, 150, 200.5},
      {"start behind the end", record(1, kLoop, 100, 200), Start, 900, 199, 200},
      {"start before the waveform", record(1, kLoop, 100, 200), Start, -5, 0, 200},
      {"end", record(1, kSection, 100, 200, 25, 50), End, 150, 100.25, 150},
      {"end before the start", record(1, kLoop, 100, 200), End, 3, 100, 101},
      {"end before a start with a fraction", record(1, kLoop, 100, 200, 25), End, 3, 100.25, 102},
      {"end behind the waveform", record(1, kLoop, 100, 200), End, 2000, 100, 1000},
      {"whole", record(1, kLoop, 100, 200, 25, 50), Whole, 300, 300.25, 400.5},
      {"whole to the end", record(1, kLoop, 100, 200, 25, 50), Whole, 5000, 899.25, 999.5},
      {"whole to the start", record(1, kLoop, 100, 200), Whole, -5000, 0, 100},
      {"marker", record(1, kMarker, 100), Start, 300, 300, 0},
      {"marker with an end", record(1, kMarker, 100, 100, 25), Start, 2000, 1000, 1000},
      {"a loop that lies outside", record(1, kLoop, 3000, 4000), Start, 500, 500, 4000},
      {"a loop longer than the waveform", record(1, kLoop, 0, 4000), Whole, 500, 0, 4000},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const LoopRecord moved = movedRecord(c.record, c.part, c.frame, 1000);
    EXPECT_DOUBLE_EQ(moved.startFrames(), c.start);
    EXPECT_DOUBLE_EQ(moved.endFrames(), c.end);
    EXPECT_EQ(moved.id, c.record.id);
  }
}

TEST(WaveFlags, DescriptionsNamePlaceAndLength) {
  LoopRecord loop = record(1, kLoop, 44100, 88200, 0, 50);
  loop.play = LoopPlay::Alternating;
  loop.name = u"Sustain\nLoop";
  EXPECT_EQ(toUtf8(recordDescription(loop, true, 44100)),
            "Sustain Loop\nMain loop, Alternating, Infinite\nStart 44 100 (0:01.000)\n"
            "End 88 200.50 (0:02.000)\nLength 44 100.50 (0:01.000)");
  EXPECT_EQ(toUtf8(recordDescription(record(1, kMarker, 1234), false, 0)), "Position marker\nAt 1 234");
}

TEST(WaveFlags, SnapsToTheNearestZeroCrossing) {
  SampleWindow window{1000, 2, {}};
  for (float x : {0.5f, 0.2f, -0.1f, -0.4f, -0.2f, 0.3f, 0.1f})
    window.samples.insert(window.samples.end(), {x, x / 2});
  EXPECT_EQ(nearestZeroCrossing(window, 1000), 1002u);
  EXPECT_EQ(nearestZeroCrossing(window, 1004), 1005u);
  EXPECT_EQ(nearestZeroCrossing(window, 99999), 1005u);
  window.samples.assign(20, 0.5f);
  EXPECT_FALSE(nearestZeroCrossing(window, 1004));
  EXPECT_FALSE(nearestZeroCrossing(SampleWindow{}, 0));
}

}  // namespace
}  // namespace vemko::view
