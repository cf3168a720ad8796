#include "core/waveform.h"

#include <bit>
#include <gtest/gtest.h>

#include "base/last_error.h"
#include "base/text.h"
#include "core/collection.h"

namespace vemko {
namespace {

std::shared_ptr<SampleBuffer> ramp(std::uint32_t frames, std::uint8_t channels) {
  auto buffer = SampleBuffer::allocate(frames, channels, 44100);
  float next = 0;
  for (float& sample : buffer->samples()) sample = next++;
  return buffer;
}

class EmptySource final : public SampleSource {
 public:
  std::unique_ptr<SampleStream> open(std::uint64_t) const override {
    setLastError(u"source opened");
    return nullptr;
  }
};

LoopRecord record(RecordType type, std::u16string_view name, std::uint32_t start, std::uint32_t end,
                  LoopPlay play = LoopPlay::Forward, LoopCount count = LoopCount::Infinite) {
  LoopRecord made;
  made.type = type;
  made.play = play;
  made.count = count;
  made.start = start;
  made.end = end;
  made.id = nextRecordId();
  made.name = name;
  return made;
}

TEST(SampleBuffer, IsAlignedAndGuardedByZeros) {
  for (std::uint8_t channels : std::initializer_list<std::uint8_t>{1, 2, 3, 8})
    for (std::uint32_t frames : {0u, 1u, 5u, 1000u}) {
      SCOPED_TRACE(testing::Message() << int{channels} << " channels, " << frames << " frames");
      auto buffer = ramp(frames, channels);
      const std::span<float> samples = buffer->samples();
      EXPECT_EQ(samples.size(), std::size_t{frames} * channels);
      EXPECT_EQ(std::bit_cast<std::uintptr_t>(samples.data()) % 16, 0u);
      for (int i = 1; i <= channels; ++i) EXPECT_EQ(samples.data()[-i], 0);
      for (int i = 0; i < 3 * channels; ++i) EXPECT_EQ(*(samples.data() + samples.size() + i), 0);
    }
}

TEST(SampleBuffer, KnowsWhatTheAddressSpaceHolds) {
  struct Case {
    const char* name;
    std::uint64_t frames;
    std::uint32_t channels;
    int bits;
    bool fits;
  };
  const Case cases[] = {
      {"largest mono in 32 bits", 0x3FFFFFFF, 1, 32, true},
      {"one frame more", 0x40000000, 1, 32, false},
      {"stereo", 0x20000000, 2, 32, false},
      {"wraps in 32 bits", 0x80000001, 2, 32, false},
      {"stereo in 64 bits", 0x20000000, 2, 64, true},
      {"wraps in 64 bits", ~std::uint64_t{0} / 8, 255, 64, false},
      {"no channels", ~std::uint64_t{0}, 0, 32, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(fitsAddressSpace(c.frames, c.channels, c.bits), c.fits);
    setLastError(u"");
    EXPECT_EQ(mayLoad(c.frames, c.channels, c.bits), c.fits);
    EXPECT_EQ(toUtf8(lastError()), c.fits ? "" : "Wave too big - use 64-bit version!");
    setLastError(u"");
    const bool mayGrow = c.fits && c.frames <= UINT32_MAX;
    EXPECT_EQ(mayGrowTo(c.frames, c.channels, c.bits), mayGrow);
    EXPECT_EQ(toUtf8(lastError()), mayGrow ? "" : "Wave would be too big for the 32-bit app");
  }
}

TEST(Waveform, StreamsItsBuffer) {
  Collection collection;
  Waveform& waveform = createWaveform(collection, u"");
  waveform.setSamples(ramp(5, 2));
  auto stream = openSamples(waveform, 1);
  float out[6];
  EXPECT_EQ(stream->read(out), 3u);
  EXPECT_EQ(out[0], 2);
  EXPECT_EQ(stream->read(out), 1u);
  EXPECT_EQ(out[1], 9);
  EXPECT_EQ(stream->read(out), 0u);
  EXPECT_EQ(openSamples(waveform, 99)->read(out), 0u);
}

TEST(Waveform, StreamsItsSourceWithoutABuffer) {
  Collection collection;
  Waveform& waveform = createWaveform(collection, u"");
  EXPECT_EQ(openSamples(waveform), nullptr);
  EXPECT_EQ(lastError(), u"No wave data import procedure");
  waveform.setSource(std::make_shared<EmptySource>());
  EXPECT_TRUE(waveform.sourceIsIntact());
  EXPECT_EQ(openSamples(waveform), nullptr);
  EXPECT_EQ(lastError(), u"source opened");
}

TEST(Waveform, EditingMakesSharedSamplesItsOwn) {
  Collection collection;
  Waveform& waveform = createWaveform(collection, u"");
  EXPECT_TRUE(waveform.editableSamples().empty());
  waveform.setSource(std::make_shared<EmptySource>());
  waveform.buffer = ramp(4, 1);
  auto& copy = static_cast<Waveform&>(copyItem(waveform, collection));
  auto& bare = static_cast<Waveform&>(copyItem(waveform, collection, false));
  EXPECT_EQ(copy.buffer, waveform.buffer);
  EXPECT_TRUE(copy.sourceIsIntact());
  EXPECT_EQ(bare.buffer, nullptr);
  EXPECT_EQ(bare.source, nullptr);
  EXPECT_FALSE(bare.sourceIsIntact());

  copy.editableSamples()[2] = 99;
  EXPECT_EQ(waveform.buffer->samples()[2], 2);
  EXPECT_EQ(copy.buffer->samples()[2], 99);
  EXPECT_EQ(copy.buffer->samples()[3], 3);
  EXPECT_FALSE(copy.sourceIsIntact());
  EXPECT_EQ(copy.codecParameter, 16);
  EXPECT_TRUE(waveform.sourceIsIntact());
  const float* own = copy.buffer->samples().data();
  EXPECT_EQ(copy.editableSamples().data(), own);
}

TEST(Waveform, FindsOrAddsTheAltStart) {
  struct Case {
    const char* name;
    std::vector<LoopRecord> records;
    std::size_t found;
  };
  using enum RecordType;
  const Case cases[] = {
      {"none", {}, 0},
      {"present", {record(PositionMarker, u"x", 50, 0), record(PositionMarker, u"Alt Start", 50, 0)}, 1},
      {"unnamed there", {record(PositionMarker, u"", 50, 0), record(PositionMarker, u"Alt Start", 50, 0)}, 0},
      {"elsewhere", {record(PositionMarker, u"Alt Start", 51, 0), record(PositionMarker, u"", 49, 0)}, 2},
      {"other kinds", {record(SectionMarker, u"", 50, 60), record(Loop, u"Alt Start", 50, 60)}, 2},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    waveform.records = c.records;
    const std::uint32_t id = waveform.findOrAddAltStart(50);
    ASSERT_EQ(waveform.records.size(), std::max(c.records.size(), c.found + 1));
    EXPECT_EQ(waveform.records[c.found].id, id);
    EXPECT_EQ(waveform.records[c.found].name, u"Alt Start");
    EXPECT_EQ(waveform.records[c.found].start, 50u);
  }
}

TEST(Waveform, FindsTheReleaseLoop) {
  struct Case {
    const char* name;
    LoopPlay mainPlay;
    std::u16string_view mainName;
    std::vector<LoopRecord> records;
    int found;  // index in records, -1 for none
  };
  using enum RecordType;
  using enum LoopPlay;
  const LoopRecord release = record(Loop, u"Release Loop", 5, 9);
  const LoopRecord off = record(Loop, u"Release Loop", 5, 9, Off);
  const LoopRecord ends = record(Loop, u"Release Loop", 5, 9, Off, LoopCount::UntilRelease);
  const LoopRecord section = record(SectionMarker, u"Release Loop", 5, 9);
  const Case cases[] = {
      {"no main loop plays", Off, u"Main Loop", {release}, -1},
      {"forward", Forward, u"Main Loop", {section, release}, 1},
      {"off and infinite", Forward, u"Main Loop", {off}, 0},
      {"off until release", Forward, u"Main Loop", {ends}, -1},
      {"only the first counts", Forward, u"Main Loop", {ends, release}, -1},
      {"main loop bears the name", Forward, u"Release Loop", {release}, -1},
      {"section only", Forward, u"Main Loop", {section}, -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    waveform.records = c.records;
    EXPECT_EQ(waveform.releaseLoop(), nullptr);
    waveform.records.insert(waveform.records.begin(), record(Loop, c.mainName, 1, 2, c.mainPlay));
    waveform.mainLoopId = waveform.records[0].id;
    EXPECT_EQ(waveform.releaseLoop(),
              c.found < 0 ? nullptr : &waveform.records[static_cast<std::size_t>(c.found) + 1]);
  }
}

TEST(Waveform, RemovingTheMainLoopForgetsIt) {
  Collection collection;
  Waveform& waveform = createWaveform(collection, u"");
  const std::uint32_t main = waveform.addLoop({.endFrames = 9}, u"", true, false);
  const std::uint32_t alt = waveform.addLoop({.endFrames = 8}, u"", false, false);
  waveform.renameRecord(alt, u" Second ");
  EXPECT_EQ(waveform.findRecord(alt)->name, u"Second");
  waveform.moveRecord(1, 0);
  EXPECT_EQ(waveform.records[0].id, alt);
  waveform.removeRecord(main);
  EXPECT_EQ(waveform.mainLoopId, 0u);
  EXPECT_EQ(waveform.mainLoop(), nullptr);
  EXPECT_EQ(waveform.records.size(), 1u);
}

TEST(Waveform, PlaysBetweenItsMarkers) {
  struct Case {
    const char* name;
    std::vector<LoopRecord> records;
    PlaySection played;
  };
  using enum RecordType;
  const Case cases[] = {
      {"no markers", {}, {0, 100}},
      {"section", {record(SectionMarker, u"Play", 10, 60)}, {10, 60}},
      {"section past the end", {record(SectionMarker, u"Play", 10, 600)}, {10, 100}},
      {"section outside", {record(SectionMarker, u"Play", 200, 600)}, {0, 100}},
      {"start", {record(PositionMarker, u"Start", 30, 0)}, {30, 100}},
      {"start outside", {record(PositionMarker, u"Start", 100, 0)}, {0, 100}},
      {"other names",
       {record(SectionMarker, u"Verse", 10, 60), record(PositionMarker, u"Play", 9, 0)},
       {0, 100}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& waveform = createWaveform(collection, u"");
    waveform.frames = 100;
    waveform.records = c.records;
    EXPECT_EQ(playSection(waveform), c.played);
  }
}

}  // namespace
}  // namespace vemko
