#include "tools/levels.h"

#include <gtest/gtest.h>
#include <limits>

#include "base/last_error.h"
#include "base/text.h"
#include "tools/waves.h"

namespace vemko::tools {
namespace {

using test::addWave;
using test::samplesOf;

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

TEST(Levels, DecibelsAreRoundedAndSomeAnswersAreExact) {
  const struct {
    float level, decibels;
  } cases[] = {
      {1, 0},
      {2, 6},
      {4, 12},
      {0.5f, -6},
      {0.25f, -12},
      {1.999f, 6.02f},  // by the formula, unlike its neighbour 2
      {2.001f, 6.02f},
      {0.501f, -6},
      {0.499f, -6.04f},
      {8, 18.06f},
      {0.125f, -18.06f},
      {0, -96},
      {-1, -96},
      {1.5848933e-5f, -96},
      {1.59e-5f, -95.97f},
      {kNan, -96},
      // 1.5005 hundredths: adding 0.499 before truncation leaves 1.
      {1.0017290f, 0.01f},
      {1 / 1.0017290f, -0.01f},
      {kInfinity, kInfinity},
      {0.99995f, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.level);
    EXPECT_EQ(toDecibels(c.level), c.decibels);
    EXPECT_EQ(std::signbit(toDecibels(c.level)), c.decibels < 0) << "0 is shown without a sign";
  }
}

TEST(Levels, PeakIsTheFirstFrameOfTheLargestSample) {
  std::vector<float> longWave(700'001, 0.25f);
  longWave[600'001] = -0.75f;
  longWave[700'000] = 0.75f;
  const struct {
    const char* name;
    std::vector<float> samples;
    std::uint8_t channels;
    Peak expected;
  } cases[] = {
      {"empty", {}, 1, {0, 0}},
      {"silent", {0, 0, 0}, 1, {0, 0}},
      {"a later equal value does not replace it", {0.1f, -0.5f, 0.5f, 0.5f}, 1, {0.5f, 1}},
      {"any channel", {0.1f, 0.2f, 0.1f, -0.9f, 0.9f, 0}, 2, {0.9f, 1}},
      {"beyond full scale", {0, -3, 1}, 1, {3, 1}},
      {"not-a-number is passed over", {kNan, 0.5f, kNan}, 1, {0.5f, 1}},
      {"in a later block", longWave, 1, {0.75f, 600'001}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    const Peak found = peak(addWave(collection, c.samples, c.channels));
    EXPECT_EQ(found.level, c.expected.level);
    EXPECT_EQ(found.frame, c.expected.frame);
  }
  Collection collection;
  EXPECT_EQ(peak(createWaveform(collection, u"no data")).level, 0);
}

// The range tells how many values are averaged; they are the first of the interleaved samples in any case.
TEST(Levels, RmsReadsTheFirstSamples) {
  Collection collection;
  Waveform& mono = addWave(collection, {0.5f, 0.5f, 0, 0, 1, 1});
  Waveform& stereo = addWave(collection, {0, 1, 0, 1, 0, 1, 0, 1}, 2);
  Waveform& late = addWave(collection, {0, 0, 0, 0, 1, 1, 1, 1}, 2);
  const float third = std::sqrt(0.5f / 3);
  const struct {
    const char* name;
    const Waveform* wave;
    std::uint32_t start, end;
    float expected;
  } cases[] = {
      {"from the start", &mono, 0, 2, 0.5f},
      {"not from the start frame", &mono, 4, 6, 0.5f},
      {"three values", &mono, 1, 4, third},
      {"end 0 is the frame count", &mono, 3, 0, third},
      {"frames count as samples", &stereo, 0, 2, std::sqrt(0.5f)},
      {"only the first half of stereo data", &late, 0, 0, 0},
      {"start above end", &mono, 5, 4, 0},
      {"start wrapped around", &mono, 0u - 2, 4, 0},
      {"empty range", &mono, 3, 3, 0},
      {"past the samples is silence", &mono, 0, 12, std::sqrt(2.5f / 12)},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_FLOAT_EQ(rms(*c.wave, c.start, c.end), c.expected);
  }
  EXPECT_EQ(rms(createWaveform(collection, u"no data"), 0, 10), 0);
}

TEST(Levels, GainIsClampedAndKeepsToItsRange) {
  const std::vector<float> before = {0.5f, -0.5f, 0.125f, -0.125f};
  const struct {
    const char* name;
    float decibels;
    std::uint32_t start, end;
    std::vector<float> after;
  } cases[] = {
      {"whole", 20, 0, 0, {1, -1, 1, -1}},
      {"20 dB is a factor of 10", -20, 0, 0, {0.05f, -0.05f, 0.0125f, -0.0125f}},
      {"second frame of two channels", 6.0206f, 1, 2, {0.5f, -0.5f, 0.25f, -0.25f}},
      {"end beyond the wave", 6.0206f, 1, 99, {0.5f, -0.5f, 0.25f, -0.25f}},
      {"end of 0 is the wave's", 6.0206f, 1, 0, {0.5f, -0.5f, 0.25f, -0.25f}},
      {"to silence", -kInfinity, 0, 1, {0, 0, 0.125f, -0.125f}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& wave = addWave(collection, before, 2);
    wave.flags[Waveform::kSourceIntactFlag] = 1;
    ASSERT_TRUE(applyGain(wave, c.decibels, c.start, c.end)) << toUtf8(lastError());
    for (std::size_t i = 0; i < before.size(); ++i) EXPECT_NEAR(samplesOf(wave)[i], c.after[i], 1e-6);
    EXPECT_EQ(wave.codecParameter, 16);
    EXPECT_EQ(wave.flags[Waveform::kSourceIntactFlag], 0);
  }
}

TEST(Levels, GainThatDoesNothingLeavesTheWaveformAsItWas) {
  const struct {
    float decibels;
    std::uint32_t start, end;
  } cases[] = {{0, 0, 0}, {kNan, 0, 0}, {6, 2, 2}, {6, 3, 1}, {6, 9, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.start);
    Collection collection;
    Waveform& wave = addWave(collection, {0.5f, 0.25f});
    wave.flags[Waveform::kSourceIntactFlag] = 1;
    EXPECT_TRUE(applyGain(wave, c.decibels, c.start, c.end));
    EXPECT_EQ(samplesOf(wave), (std::vector{0.5f, 0.25f}));
    EXPECT_EQ(wave.codecParameter, 0);
    EXPECT_EQ(wave.flags[Waveform::kSourceIntactFlag], 1);
  }
  Collection collection;
  Waveform& noData = createWaveform(collection, u"no data");
  EXPECT_TRUE(applyGain(noData, 0, 0, 0));
  EXPECT_FALSE(applyGain(noData, 1, 0, 0));
  EXPECT_EQ(lastError(), u"No wave data import procedure");
}

TEST(Levels, MaximizeStretchesByItsMode) {
  using enum MaximizeMode;
  const struct {
    const char* name;
    MaximizeMode mode;
    std::vector<float> before, after;  // `after` empty: unchanged
  } cases[] = {
      {"the maximum", FixedZero, {0.25f, -0.125f}, {1, -0.5f}},
      {"the minimum", FixedZero, {0.25f, -0.5f, 0}, {0.5f, -1, 0}},
      {"down to full scale", FixedZero, {4, 2}, {1, 0.5f}},
      {"at full scale already", FixedZero, {0.5f, -1}, {}},
      {"silent", FixedZero, {0, 0}, {}},
      {"infinite", FixedZero, {0, kInfinity}, {}},
      {"tiny", FixedZero, {1e-40f, -1e-40f}, {1, -1}},
      {"full range", FullRange, {0.25f, 0.5f, 0.75f}, {-1, 0, 1}},
      {"full range of a constant", FullRange, {0.5f, 0.5f}, {}},
      {"full range already", FullRange, {-1, 1, 0}, {}},
      {"centred", Centred, {0.25f, 0.25f, 1}, {-0.5f, -0.5f, 1}},
      {"centred constant", Centred, {0.5f, 0.5f}, {}},
      // The extremes are searched from +1 and -1 on.
      {"full range beyond full scale", FullRange, {3, 3}, {1, 1}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& wave = addWave(collection, c.before);
    EXPECT_EQ(maximize(wave, c.mode), !c.after.empty());
    const auto& expected = c.after.empty() ? c.before : c.after;
    for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_FLOAT_EQ(samplesOf(wave)[i], expected[i]);
    EXPECT_EQ(wave.codecParameter, c.after.empty() ? 0 : 16);
  }
  Collection collection;
  EXPECT_FALSE(maximize(createWaveform(collection, u"no data"), FixedZero));
}

TEST(Levels, OffsetIsTheMeanOfAllChannels) {
  const struct {
    const char* name;
    std::vector<float> before, after;
  } cases[] = {
      {"one mean for both channels", {0.5f, 0, 0.5f, 0}, {0.25f, -0.25f, 0.25f, -0.25f}},
      {"clamped", {1, -3}, {1, -1}},
      {"none", {0.5f, -0.5f}, {}},
      {"not-a-number", {kNan, 0.5f}, {}},
      {"infinite", {kInfinity, 0.5f}, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    Waveform& wave = addWave(collection, c.before, 2);
    EXPECT_EQ(removeOffset(wave), !c.after.empty());
    if (!c.after.empty()) {
      EXPECT_EQ(samplesOf(wave), c.after);
    }
  }
}

// What other holders of the samples see, as an undo step does, stays.
TEST(Levels, SharedSamplesAreCopiedBeforeTheyChange) {
  Collection collection;
  Waveform& wave = addWave(collection, {0.5f, 0.25f});
  const auto kept = wave.buffer;
  ASSERT_TRUE(maximize(wave, MaximizeMode::FixedZero));
  EXPECT_EQ(kept->samples()[0], 0.5f);
  EXPECT_EQ(wave.buffer->samples()[0], 1);
}

}  // namespace
}  // namespace vemko::tools
