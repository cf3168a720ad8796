#include "io/samples.h"

#include <gtest/gtest.h>
#include <numeric>

#include "base/progress.h"
#include "collections.h"

namespace vemko::io {
namespace {

using test::defer;
using test::samplesOf;

std::vector<float> ramp(std::size_t samples) {
  std::vector<float> values(samples);
  std::iota(values.begin(), values.end(), 0.0f);
  return values;
}

TEST(Samples, LoadShowsItselfOnlyAboveTheLimit) {
  for (std::uint32_t frames : {1u, 250000u, 250001u}) {
    for (bool quiet : {false, true}) {
      SCOPED_TRACE(frames);
      Collection collection;
      Waveform& waveform = createWaveform(collection, u"Piano");
      defer(waveform, ramp(frames));
      std::vector<std::u16string> statuses;
      int waits = 0;
      const auto before = setProgressSink({[&](std::u16string_view text) { statuses.emplace_back(text); },
                                           {},
                                           [&](bool on) { waits += on; }});
      EXPECT_TRUE(loadSamples(waveform, quiet)) << toUtf8(lastError());
      EXPECT_TRUE(loadSamples(waveform, quiet));  // present already
      setProgressSink(before);
      const bool shown = !quiet && frames > 250000;
      EXPECT_EQ(waits, shown ? 1 : 0);
      EXPECT_EQ(statuses,
                shown ? std::vector<std::u16string>{u"Reading: Piano"} : std::vector<std::u16string>{});
      EXPECT_TRUE(waveform.sourceIsIntact());
    }
  }
}

TEST(Samples, SlicesOfLongWaveformsFitTogether) {
  Collection collection;
  Waveform& waveform = createWaveform(collection, u"");
  const auto source = defer(waveform, ramp(2 * 600001), 2);
  EXPECT_EQ(samplesOf(waveform), source->samples);
  EXPECT_EQ(source->opened, 3);

  dropSamples(waveform);
  EXPECT_EQ(waveform.buffer, nullptr);
  waveform.frames += 5;  // the data end earlier than the waveform: silence follows
  auto expected = source->samples;
  expected.resize(expected.size() + 10);
  EXPECT_EQ(samplesOf(waveform), expected);
}

TEST(Samples, FailuresLeaveTheWaveformWithoutSamples) {
  Collection collection;
  Waveform& empty = createWaveform(collection, u"empty");
  Waveform& broken = createWaveform(collection, u"broken");
  defer(broken, ramp(10))->broken = true;
  struct Case {
    Waveform& waveform;
    const char* error;
  };
  for (const Case& c : {Case{empty, "No wave data import procedure"}, Case{broken, "Broken source"}}) {
    SCOPED_TRACE(toUtf8(c.waveform.name()));
    EXPECT_FALSE(loadSamples(c.waveform, true));
    EXPECT_EQ(toUtf8(lastError()), c.error);
    EXPECT_EQ(c.waveform.buffer, nullptr);
  }
}

TEST(Samples, ManyAtOnce) {
  Collection collection;
  std::vector<Waveform*> waveforms;
  for (int i = 0; i < 50; ++i) {
    waveforms.push_back(&createWaveform(collection, u""));
    defer(*waveforms.back(), std::vector<float>(1000, static_cast<float>(i)));
  }
  EXPECT_TRUE(checkSamples(waveforms)) << toUtf8(lastError());
  ASSERT_TRUE(loadSamples(waveforms)) << toUtf8(lastError());
  for (std::size_t i = 0; i < waveforms.size(); ++i)
    EXPECT_EQ(waveforms[i]->buffer->samples().back(), static_cast<float>(i));

  defer(*waveforms[20], ramp(5))->broken = true;
  EXPECT_FALSE(checkSamples(waveforms));
  EXPECT_FALSE(loadSamples(waveforms));
  EXPECT_EQ(toUtf8(lastError()), "Broken source");
  test::fill(*waveforms[20], ramp(5));
  dropSamples(*waveforms[20]);
  EXPECT_NE(waveforms[20]->buffer, nullptr) << "nothing could give rewritten samples back";
}

}  // namespace
}  // namespace vemko::io
