#include "tools/volume_tools.h"

#include <gtest/gtest.h>

#include "base/text.h"
#include "tools/levels.h"
#include "tools/loudness.h"
#include "tools/waves.h"

namespace vemko::tools {
namespace {

using test::addWave;
using test::samplesOf;

/// The tools' options as at the start, before and after.
struct FreshOptions {
  FreshOptions() { reset(); }
  ~FreshOptions() { reset(); }
  static void reset() {
    for (const ToolEntry& tool : toolCatalogue(ToolList::Waveform)) resetOptions(tool.options);
  }
};

ToolContext applied(std::u16string_view tool, std::vector<Item*> selection,
                    std::optional<FrameRange> range = {}) {
  ToolContext context{.selection = std::move(selection), .range = range};
  EXPECT_TRUE(applyTool(*findTool(ToolList::Waveform, tool), context)) << toUtf8(tool);
  return context;
}

/// 600 frames of 1000 Hz, silent but for one sample.
std::vector<float> click(std::size_t at) {
  std::vector<float> samples(600);
  samples[at] = 0.5f;
  return samples;
}

TEST(FindVolume, MeasuresByTheChosenMeasure) {
  std::vector<float> rightOnly, late(8);
  for (int i = 0; i < 4; ++i) rightOnly.insert(rightOnly.end(), {0.0f, 1.0f});
  std::fill(late.begin() + 4, late.end(), 1.0f);
  const float spread = toDecibels(std::sqrt(0.25f / 200));  // one sample of 0.5 among 200
  const struct {
    const char* name;
    std::vector<float> samples;
    std::uint8_t channels;
    VolumeMeasure measure;
    float decibels;
  } cases[] = {
      {"peak", {0.1f, -0.5f}, 1, kPeakMeasure, -6},
      {"no data", {}, 1, kPeakMeasure, -96},
      {"RMS", {0.5f, -0.5f}, 1, kRmsMeasure, -6},
      {"RMS of stereo data reads the first half", late, 2, kRmsMeasure, -96},
      {"the right channel alone", rightOnly, 2, kRmsMeasure, -3.01f},
      {"RMS without data", {}, 1, kRmsMeasure, -96},
      {"around a peak in the middle, the first 200 values", click(150), 1, kRmsAroundPeakMeasure, spread},
      {"which do not hold a later peak", click(300), 1, kRmsAroundPeakMeasure, -96},
      {"around a peak near the start wraps around", click(99), 1, kRmsAroundPeakMeasure, -96},
      {"the first that does not", click(100), 1, kRmsAroundPeakMeasure, spread},
      {"short of its second half at the end", click(599), 1, kRmsAroundPeakMeasure, -96},
      {"around the peak without data", {}, 1, kRmsAroundPeakMeasure, -96},
      {"around the peak of few frames", {0.5f}, 1, kRmsAroundPeakMeasure, -6},
      {"loudness of a short wave", {0.5f}, 1, kLoudnessMeasure, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    Collection collection;
    EXPECT_EQ(measureVolume(addWave(collection, c.samples, c.channels, 1000), c.measure), c.decibels);
  }
  // A quarter of a second bounds the reach in longer waves.
  Collection collection;
  std::vector<float> samples(6000);
  samples[250] = 0.5f;
  const Waveform& longer = addWave(collection, samples, 1, 1000);
  EXPECT_EQ(measureVolume(longer, kRmsAroundPeakMeasure), toDecibels(std::sqrt(0.25f / 500)));
  const Waveform& noisy = addWave(collection, test::noise(44100, 0.5f));
  EXPECT_EQ(measureVolume(noisy, kLoudnessMeasure), loudness(noisy, true));
}

TEST(FindVolume, DoesWhatTheBoxesSay) {
  const struct {
    const char* name;
    FindVolumeOptions options;
    std::u16string waveName;
    float adjustment, sample;
  } cases[] = {
      {"as at the start", {}, u"Kick -12.00 dB", 1, 0.25f},
      {"nothing", {.appendToName = false}, u"Kick", 1, 0.25f},
      {"adjustment", {.appendToName = false, .subtractFromAdjustment = true}, u"Kick", 13, 0.25f},
      {"audio", {.appendToName = false, .normalize = true}, u"Kick", 1, 0.99527f},  // 12 dB are 3.981
      {"everything",
       {.measure = kRmsMeasure, .subtractFromAdjustment = true, .normalize = true},
       u"Kick -12.00 dB",
       13,
       0.99527f},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FreshOptions fresh;
    findVolumeOptions() = c.options;
    Collection collection;
    Waveform& wave = addWave(collection, {0.25f, -0.25f});
    wave.setName(u"Kick");
    wave.volumeAdjustmentDb = 1;
    Waveform& empty = createWaveform(collection, u"empty");
    const ToolContext context = applied(u"Find volume", {&wave, &empty});
    EXPECT_EQ(context.processedCount, 2u);  // visited, changed or not
    ASSERT_EQ(context.volumes.size(), 2u);
    EXPECT_EQ(context.volumes[0].decibels, -12);
    EXPECT_EQ(wave.name(), c.waveName);
    EXPECT_EQ(wave.volumeAdjustmentDb, c.adjustment);
    EXPECT_NEAR(samplesOf(wave)[0], c.sample, 1e-5);
    EXPECT_EQ(empty.name(), c.options.appendToName ? u"empty -96.00 dB" : u"empty");
  }
}

TEST(AdjustVolume, ChangesAudioOrMetaData) {
  const double twice = 6.0206;
  const struct {
    const char* name;
    AdjustVolumeOptions options;
    std::optional<FrameRange> range;
    std::vector<float> after;
    float adjustment;
    std::uint32_t count;
  } cases[] = {
      {"whole", {.decibels = twice}, {}, {0.25f, 0.5f, 1, -1}, 0, 1},
      {"within the selection", {.decibels = twice}, FrameRange{1, 3}, {0.125f, 0.5f, 1, -0.5f}, 0, 1},
      {"selection past the end", {.decibels = twice}, FrameRange{3, 99}, {0.125f, 0.25f, 0.5f, -1}, 0, 1},
      {"selection of nothing", {.decibels = twice}, FrameRange{9, 99}, {0.125f, 0.25f, 0.5f, -0.5f}, 0, 0},
      {"0 dB counts and changes nothing", {}, {}, {0.125f, 0.25f, 0.5f, -0.5f}, 0, 1},
      {"meta data", {.decibels = 3, .metaDataOnly = true}, {}, {0.125f, 0.25f, 0.5f, -0.5f}, 3, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FreshOptions fresh;
    adjustVolumeOptions() = c.options;
    Collection collection;
    Waveform& wave = addWave(collection, {0.125f, 0.25f, 0.5f, -0.5f});
    EXPECT_EQ(applied(u"Adjust volume/gain", {&wave}, c.range).processedCount, c.count);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_NEAR(samplesOf(wave)[i], c.after[i], 1e-6);
    EXPECT_EQ(wave.volumeAdjustmentDb, c.adjustment);
  }
}

/// Stereo noise, the left channel `left` times as loud as the right.
std::vector<float> unequalNoise(std::size_t frames, float amplitude, float left) {
  std::vector<float> samples = test::noise(frames * 2, amplitude);
  for (std::size_t i = 0; i < samples.size(); i += 2) samples[i] *= left;
  return samples;
}

class Normalize : public testing::Test {
 protected:
  FreshOptions fresh;
  Collection collection;
  Waveform& loud = addWave(collection, unequalNoise(44100, 0.02f, 2), 2, 44100);
  Waveform& soft = addWave(collection, test::noise(30000, 0.005f), 1, 22050);
  Waveform& tiny = addWave(collection, {0.25f});  // too short to have a loudness
};

TEST_F(Normalize, BringsEachWaveToTheDesiredLoudness) {
  for (bool equalLoudness : {true, false}) {
    SCOPED_TRACE(equalLoudness);
    normalizeOptions() = {.desiredDecibels = 80, .equalLoudness = equalLoudness};
    loud.volumeAdjustmentDb = 5;
    EXPECT_EQ(applied(u"Normalize volume", {&loud, &soft, &tiny}).processedCount, 3u);
    for (const Waveform* wave : {&loud, &soft})
      EXPECT_NEAR(loudness(*wave, equalLoudness), 3, 0.011);  // 83 - 80
    EXPECT_EQ(loud.volumeAdjustmentDb, 0);
  }
  EXPECT_NEAR(samplesOf(tiny)[0], 0.25 * std::pow(10, -6.0 / 20), 1e-6);  // twice by 80 - 83 + 0
}

TEST_F(Normalize, OneGainForASingleRecording) {
  LoudnessAnalyser both(true);
  both.feed(soft);
  both.feed(loud);
  const float gain = both.finish() + 6;
  normalizeOptions() = {.singleRecording = true, .channelsSeparately = true, .target = kSetAdjustment};
  const std::vector<float> before = samplesOf(loud);
  EXPECT_EQ(applied(u"Normalize volume", {&soft, &loud}).processedCount, 2u);
  EXPECT_FLOAT_EQ(soft.volumeAdjustmentDb, gain);
  EXPECT_EQ(loud.volumeAdjustmentDb, soft.volumeAdjustmentDb);
  EXPECT_EQ(samplesOf(loud), before);
}

TEST_F(Normalize, ChannelsByThemselves) {
  normalizeOptions() = {.desiredDecibels = 80, .channelsSeparately = true};
  loud.volumeAdjustmentDb = soft.volumeAdjustmentDb = 5;
  EXPECT_EQ(applied(u"Normalize volume", {&loud, &soft}).processedCount, 2u);
  const std::vector<float> samples = samplesOf(loud);
  for (std::size_t channel : {0, 1}) {
    std::vector<float> mono;
    for (std::size_t i = channel; i < samples.size(); i += 2) mono.push_back(samples[i]);
    EXPECT_NEAR(loudness(addWave(collection, mono), true), 3, 0.011);
  }
  EXPECT_EQ(loud.volumeAdjustmentDb, 5);  // left as it was, unlike that of a mono wave
  EXPECT_EQ(soft.volumeAdjustmentDb, 0);
}

TEST_F(Normalize, ChannelsWithoutFramesAreNoFailure) {
  normalizeOptions() = {.channelsSeparately = true};
  Waveform& empty = addWave(collection, {}, 2);
  Waveform& noData = createWaveform(collection, u"no data");
  noData.channels = 2;
  std::vector<std::u16string> errors;
  ToolContext context{.selection = {&empty, &noData}};
  context.showError = [&](const Item*, std::u16string_view message) { errors.emplace_back(message); };
  EXPECT_TRUE(applyTool(*findTool(ToolList::Waveform, u"Normalize volume"), context));
  EXPECT_EQ(context.processedCount, 1u);
  EXPECT_EQ(errors, std::vector<std::u16string>{u"No wave data import procedure"});
}

TEST(OtherVolumeTools, CountWhatTheyChanged) {
  Collection collection;
  Waveform& offset = addWave(collection, {0.5f, 0.25f});
  Waveform& silent = addWave(collection, {0, 0});
  EXPECT_EQ(applied(u"Remove DC offset", {&offset, &silent}).processedCount, 1u);
  EXPECT_EQ(applied(u"Remove DC offset", {&offset, &silent}).processedCount, 0u);
  EXPECT_EQ(applied(u"Maximize amplitude", {&offset, &silent}).processedCount, 1u);
  EXPECT_EQ(applied(u"Maximize amplitude", {&offset, &silent}).processedCount, 0u);
  const ToolContext context = applied(u"Statistics for the waveform", {&offset, &silent});
  EXPECT_EQ(context.processedCount, 0u);
  ASSERT_TRUE(context.statistics);
  EXPECT_EQ(context.statistics->samples, 4u);
  EXPECT_EQ(context.statistics->maximum, 1);
}

}  // namespace
}  // namespace vemko::tools
