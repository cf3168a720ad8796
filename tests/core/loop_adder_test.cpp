#include <chrono>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>

#include "base/text.h"
#include "core/collection.h"

namespace vemko {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// The rules as they are told, one walk over the list each: what LoopAdder's indexes must amount to. Ids are
// positions plus one, as nothing is removed.
struct PlainLoops {
  std::vector<LoopRecord> records;
  std::size_t main = 0;

  std::size_t add(const LoopDescriptor& loop, std::u16string name, bool isMain, bool mergeDuplicates) {
    LoopRecord made;
    made.type = RecordType::Loop;
    made.name = !name.empty() ? name : isMain ? u"Main Loop" : u"Alt Loop";
    made.start = static_cast<std::uint32_t>(loop.startFrames);
    made.end = static_cast<std::uint32_t>(loop.endFrames);
    made.startHundredths = static_cast<std::uint8_t>(std::round((loop.startFrames - made.start) * 100));
    made.endHundredths = static_cast<std::uint8_t>(std::round((loop.endFrames - made.end) * 100));
    made.play = loop.play;
    made.count = loop.count;
    made.tuneCents = static_cast<std::int16_t>(std::round(loop.tuneSemitones * 100));
    if (isMain && main) {
      records[main - 1] = made;
      return main;
    }
    if (mergeDuplicates)
      for (std::size_t i = 0; i < records.size(); ++i)
        if (isSameLoop(records[i], made)) return i + 1;
    const auto start = static_cast<std::uint32_t>(std::round(loop.startFrames));
    const auto length = static_cast<std::uint32_t>(std::round(loop.endFrames - loop.startFrames));
    std::size_t at = 0;
    while (at < records.size() && !(records[at].type == RecordType::SectionMarker &&
                                    records[at].start == start && records[at].end == start + length))
      ++at;
    if (at < records.size() && name.empty() && !records[at].name.empty()) made.name = records[at].name;
    for (std::size_t i = 0; i < records.size(); ++i)
      if (records[i].name == made.name && (at == records.size() || records[at].name != made.name)) {
        records[i].name += u" 1";
        made.name += u" 2";
        break;
      }
    if (at == records.size()) records.emplace_back();
    records[at] = made;
    if (isMain || !main) main = at + 1;
    return at + 1;
  }

  static bool isSameLoop(const LoopRecord& a, const LoopRecord& b) {
    return a.type == RecordType::Loop && a.start == b.start && a.end == b.end &&
           a.startHundredths == b.startHundredths && a.endHundredths == b.endHundredths && a.play == b.play &&
           a.count == b.count && a.tuneCents == b.tuneCents;
  }
};

std::string told(const LoopRecord& r) {
  return formatted("%d %u.%02d-%u.%02d %d %d %d ", int(r.type), r.start, r.startHundredths, r.end,
                   r.endHundredths, int(r.play), int(r.count), r.tuneCents) +
         toUtf8(r.name);
}

TEST(LoopAdder, FollowsTheRulesOnRandomInput) {
  std::mt19937 random(7);
  auto below = [&](std::uint32_t end) { return static_cast<std::uint32_t>(random() % end); };
  const std::u16string names[] = {u"", u"", u"A", u"A 1", u"A 2", u"Main Loop", u"Alt Loop"};
  for (int run = 0; run < 2000; ++run) {
    SCOPED_TRACE(run);
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    PlainLoops plain;
    for (std::uint32_t i = below(6); i > 0; --i) {
      LoopRecord marker;
      marker.type = below(3) ? RecordType::SectionMarker : RecordType::PositionMarker;
      marker.start = below(3);
      marker.end = marker.start + below(3);
      marker.name = names[below(7)];
      plain.records.push_back(marker);
      marker.id = nextRecordId();
      waveform.records.push_back(marker);
    }
    LoopAdder adder(waveform);
    for (std::uint32_t i = 2 + below(10); i > 0; --i) {
      const LoopDescriptor loop{static_cast<LoopPlay>(below(2)), LoopCount::Infinite, below(9) * 0.25,
                                2 + below(9) * 0.25, below(2) * -0.25};
      const std::u16string name = names[below(7)];
      const bool isMain = below(4) == 0, mergeDuplicates = below(2) == 0;
      const std::size_t at = plain.add(loop, name, isMain, mergeDuplicates) - 1;
      const std::uint32_t id = adder.add(loop, name, isMain, mergeDuplicates);
      ASSERT_EQ(waveform.records.size(), plain.records.size());
      EXPECT_EQ(waveform.records[at].id, id);
      for (std::size_t k = 0; k < plain.records.size(); ++k)
        ASSERT_EQ(told(waveform.records[k]), told(plain.records[k])) << k;
      ASSERT_EQ(waveform.mainLoop() ? waveform.mainLoop() - waveform.records.data() + 1 : 0,
                static_cast<std::ptrdiff_t>(plain.main));
    }
  }
}

TEST(LoopAdder, RoundsPositionsAndTune) {
  struct Case {
    const char* name;
    LoopDescriptor loop;
    const char* record;
  };
  using enum LoopPlay;
  const auto endless = LoopCount::Infinite;
  const Case cases[] = {
      {"fractions", {Forward, endless, 100.25, 200.5, 0}, "2 100.25-200.50 1 0 0 Main Loop"},
      {"fraction of a whole frame",
       {Forward, endless, 100.996, 200.994, 0},
       "2 101.00-200.99 1 0 0 Main Loop"},
      {"tune too high", {Reverse, endless, 0, 9, 13}, "2 0.00-9.00 2 0 1200 Main Loop"},
      {"tune too low", {Off, endless, 0, 9, -1e30}, "2 0.00-9.00 0 0 -1200 Main Loop"},
      {"half a cent down", {Forward, endless, 0, 9, -0.005}, "2 0.00-9.00 1 0 -1 Main Loop"},
      {"half a cent from a float", {Forward, endless, 0, 9, -0.005f}, "2 0.00-9.00 1 0 -1 Main Loop"},
      {"outside", {Forward, endless, -3.5, 1e20, 0}, "2 0.00-4294967295.00 1 0 0 Main Loop"},
      {"no numbers", {Forward, LoopCount::UntilRelease, kNaN, kNaN, kNaN}, "2 0.00-0.00 1 1 0 Main Loop"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    EXPECT_EQ(waveform.addLoop(c.loop, u"", true, true), waveform.mainLoopId);
    ASSERT_EQ(waveform.records.size(), 1u);
    EXPECT_EQ(told(waveform.records[0]), c.record);
  }
}

TEST(LoopAdder, ConvertsTheMarkerOfTheSameSpan) {
  Collection collection;
  Waveform& waveform = createWaveform(collection, u"");
  LoopAdder adder(waveform);
  const std::uint32_t marker =
      adder.addMarker({.type = RecordType::SectionMarker, .start = 100, .end = 200, .name = u" Verse "});
  EXPECT_EQ(adder.add({.startFrames = 100.25, .endFrames = 200.5}, u"", true, true), marker);
  ASSERT_EQ(waveform.records.size(), 1u);
  EXPECT_EQ(told(waveform.records[0]), "2 100.25-200.50 1 0 0 Verse");
  EXPECT_EQ(waveform.mainLoopId, marker);
}

TEST(LoopRecords, IdsStartAgainAtOne) {
  std::uint32_t id = nextRecordId();
  EXPECT_GT(id, 0u);
  while (id != 0x7FFFFF) {
    const std::uint32_t next = nextRecordId();
    if (next != id + 1) FAIL() << id << " was followed by " << next;
    id = next;
  }
  EXPECT_EQ(nextRecordId(), 1u);
}

TEST(LoopAdder, AddsManyLoopsInLinearTime) {
  constexpr std::uint32_t kLoops = 100'000;
  struct Case {
    const char* name;
    bool distinct, named, isMain, mergeDuplicates, markers;
    std::size_t records;
  };
  const Case cases[] = {
      {"of one name", true, false, false, true, false, kLoops},
      {"of many names", true, true, false, true, false, kLoops},
      {"all equal", false, false, false, true, false, 1},
      {"all equal and kept", false, false, false, false, false, kLoops},
      {"all main", true, true, true, true, false, 1},
      {"in place of markers", false, false, false, false, true, kLoops},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    const auto begin = std::chrono::steady_clock::now();
    LoopAdder adder(waveform);
    if (c.markers)
      for (std::uint32_t i = 0; i < kLoops; ++i)
        adder.addMarker({.type = RecordType::SectionMarker, .end = 9, .name = u"M"});
    for (std::uint32_t i = 0; i < kLoops; ++i)
      adder.add({.startFrames = c.distinct ? i * 1.0 : 0, .endFrames = c.distinct ? i + 9.0 : 9},
                c.named ? toUtf16(std::to_string(i)) : u"", c.isMain, c.mergeDuplicates);
    const std::chrono::duration<double> spent = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(spent.count(), 5);
    EXPECT_EQ(waveform.records.size(), c.records);
  }
}

}  // namespace
}  // namespace vemko
