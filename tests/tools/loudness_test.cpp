#include "tools/loudness.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <iostream>
#include <limits>

#include "support.h"
#include "tools/waves.h"

namespace vemko::tools {
namespace {

using test::addWave;

// --- The definition, written down as directly as possible: no streaming, no folding, sums in double.

constexpr double kPoints[][2] = {
    {0, 120},   {20, 113},    {30, 103},   {40, 97},     {50, 93},     {60, 91},     {70, 89},
    {80, 87},   {90, 86},     {100, 85},   {200, 78},    {300, 76},    {400, 76},    {500, 76},
    {600, 76},  {700, 77},    {800, 78},   {900, 79.5},  {1000, 80},   {1500, 79},   {2000, 77},
    {2500, 74}, {3000, 71.5}, {3700, 70},  {4000, 70.5}, {5000, 74},   {6000, 79},   {7000, 84},
    {8000, 86}, {9000, 86},   {10000, 85}, {12000, 95},  {15000, 110}, {20000, 125}, {24000, 140}};

std::vector<float> slowTaps(double rate) {
  double amplitude[64];
  for (int k = 0; k < 64; ++k) {
    const double f = k * rate * 0.007936508;
    double level = 140;
    for (std::size_t i = 0; i + 1 < std::size(kPoints); ++i)
      if (f >= kPoints[i][0] && f < kPoints[i + 1][0])
        level = kPoints[i][1] + (kPoints[i + 1][1] - kPoints[i][1]) / (kPoints[i + 1][0] - kPoints[i][0]) *
                                    (f - kPoints[i][0]);
    amplitude[k] = std::exp((70 - level) * 0.115129255);
  }
  std::vector<float> taps(128);
  for (int t = 0; t < 64; ++t) {
    const double w = t * std::numbers::pi / 64 + std::numbers::pi / 128;
    double value = amplitude[0] * 0.5;
    for (int k = 1; k < 64; ++k) value += (k % 2 ? -1 : 1) * amplitude[k] * std::cos(k * w);
    taps[static_cast<std::size_t>(t)] = taps[static_cast<std::size_t>(127 - t)] =
        static_cast<float>(value * 0.015625);
  }
  return taps;
}

/// Each channel by itself, filtered.
std::vector<double> slowFilter(const std::vector<float>& channel, double rate, std::size_t room) {
  const std::vector<float> taps = slowTaps(rate);
  std::vector<double> filtered(room);
  for (std::size_t i = 0; i < room; ++i)
    for (std::size_t j = 0; j < 128; ++j) {
      const auto at = static_cast<std::ptrdiff_t>(i) + 63 - static_cast<std::ptrdiff_t>(j);
      if (at >= 0 && at < static_cast<std::ptrdiff_t>(channel.size()))
        filtered[i] += double{taps[j]} * channel[static_cast<std::size_t>(at)];
    }
  return filtered;
}

/// The bins of all blocks, in ascending order.
std::vector<int> slowBins(const std::vector<float>& samples, std::size_t channels, std::uint32_t rate,
                          bool filter) {
  const std::size_t frames = samples.size() / channels;
  const auto b = static_cast<std::size_t>(rate * 0.05 + 0.5);
  std::size_t blocks = frames < 64 ? 0 : (frames - 64) / b;
  if (frames - blocks * b > b / 2) ++blocks;
  std::vector<double> energy(blocks);
  for (std::size_t c = 0; c < channels; ++c) {
    std::vector<float> channel(frames);
    for (std::size_t i = 0; i < frames; ++i) channel[i] = samples[i * channels + c];
    std::vector<double> heard(channel.begin(), channel.end());
    if (filter) heard = slowFilter(channel, rate, blocks * b);
    heard.resize(blocks * b);
    for (std::size_t i = 0; i < heard.size(); ++i) energy[i / b] += heard[i] * heard[i];
  }
  std::vector<int> bins;
  for (double e : energy) {
    const double ms = std::max(e / static_cast<double>(channels * b), 1e-37);
    bins.push_back(std::clamp(static_cast<int>(-1000 * std::log10(ms)), 0, 11999));
  }
  std::ranges::sort(bins);
  return bins;
}

float slowLoudness(const std::vector<int>& bins, bool filter) {
  if (bins.empty()) return 0;
  int budget = static_cast<int>(static_cast<double>(bins.size()) * (1 - 0.95) + 0.5);
  int k = 0;
  for (std::size_t i = 0; i < bins.size();) {
    std::size_t end = i;
    while (end < bins.size() && bins[end] == bins[i]) ++end;
    const int before = budget;
    budget -= static_cast<int>(end - i);
    k = bins[i];
    if (budget <= 0) {
      if (-budget > before) --k;
      break;
    }
    i = end;
  }
  return static_cast<float>((filter ? -31.49 : -21.26) + 0.01 * k);
}

// ---

std::vector<int> binsOf(LoudnessAnalyser& analyser) {
  std::vector<int> bins;
  for (std::size_t bin = 0; bin < analyser.histogram().size(); ++bin)
    bins.insert(bins.end(), analyser.histogram()[bin], static_cast<int>(bin));
  return bins;
}

/// Swelling chords with noise bursts.
std::vector<float> music(std::size_t frames, std::size_t channels, std::uint32_t rate) {
  std::vector<float> samples(frames * channels);
  const std::vector<float> hiss = test::noise(samples.size(), 1, 7);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double seconds = static_cast<double>(i / channels) / rate;
    const double turn = 2 * std::numbers::pi * seconds;
    double x = 0;
    for (double hertz : {110.0, 164.8, 220.0, 277.2, 1318.5, 4186.0})
      x += std::sin(turn * hertz * (1 + 0.001 * static_cast<double>(i % channels))) * 40 / (hertz + 200);
    x *= 0.3 * (0.6 + 0.4 * std::sin(turn * 0.9));
    samples[i] = static_cast<float>(x + 0.2 * hiss[i] * std::exp(-12 * std::fmod(seconds, 0.5)));
  }
  return samples;
}

struct Signal {
  std::string name;
  std::vector<float> samples;
  std::size_t channels;
  std::uint32_t rate;
};

std::vector<Signal> signals() {
  std::vector<Signal> all;
  for (std::uint32_t rate : {8000u, 11025u, 22050u, 44100u, 48000u, 96000u, 192000u})
    for (std::size_t channels : {1u, 2u, 3u, 8u}) {
      const std::string format = std::to_string(rate) + " Hz, " + std::to_string(channels) + " channels";
      const std::size_t frames = rate / (channels == 8 ? 5 : 2) + 1234;
      all.push_back({"noise, " + format, test::noise(frames * channels, 0.5f, rate), channels, rate});
      all.push_back({"music, " + format, music(frames, channels, rate), channels, rate});
    }
  for (double hertz : {30.0, 440.0, 3700.0, 12000.0, 19000.0})
    all.push_back({"sine of " + std::to_string(hertz), test::sine(50'000, 0.9, hertz / 44100), 1, 44100});
  all.push_back({"long music", music(12 * 22050, 2, 22050), 2, 22050});
  all.push_back({"blocks shorter than the filter", test::noise(3000, 0.5f), 1, 1000});
  const std::size_t b = 551;  // of 11025 Hz
  for (std::size_t frames :
       std::initializer_list<std::size_t>{b / 2, b / 2 + 1, b - 1, b, b + 1, b + 63, b + 64, b + 65,
                                          2 * b + 64, 3 * b, 2 * b + b / 2, 2 * b + b / 2 + 1, 1, 63, 64, 65})
    all.push_back({std::to_string(frames) + " frames", test::noise(frames * 2, 0.25f), 2, 11025});
  return all;
}

// The filtered sums are made in floats and in another order, so that a level on the border between two bins
// may fall into the neighbour.
TEST(Loudness, AgreesWithTheDefinition) {
  std::size_t blocks = 0, offByOne = 0, results = 0, resultsOff = 0;
  for (const Signal& signal : signals())
    for (bool filter : {false, true}) {
      SCOPED_TRACE(signal.name + (filter ? ", filtered" : ", plain"));
      LoudnessAnalyser analyser(filter);
      analyser.feed(signal.samples, signal.channels, signal.rate);
      const float found = analyser.finish();
      const std::vector<int> bins = binsOf(analyser);
      const std::vector<int> expected = slowBins(signal.samples, signal.channels, signal.rate, filter);
      ASSERT_EQ(bins.size(), expected.size());
      for (std::size_t i = 0; i < bins.size(); ++i) {
        ASSERT_NEAR(bins[i], expected[i], 1);
        offByOne += bins[i] != expected[i];
      }
      ASSERT_NEAR(found, slowLoudness(expected, filter), 0.0101);
      blocks += bins.size();
      ++results;
      resultsOff += found != slowLoudness(expected, filter);
    }
  std::cout << offByOne << " of " << blocks << " blocks and " << resultsOff << " of " << results
            << " results lie one bin off\n";
  EXPECT_LE(offByOne * 200, blocks);
  EXPECT_LE(resultsOff * 50, results);
}

TEST(Loudness, DoesNotDependOnHowTheSamplesArrive) {
  const std::vector<float> samples = music(5 * 22050 + 321, 2, 22050);
  LoudnessAnalyser whole(true);
  whole.feed(samples, 2, 22050);
  const float expected = whole.finish();
  for (std::size_t frames : {1u, 7u, 63u, 64u, 65u, 128u, 1000u, 1103u, 1231u, 5000u, 100'000u}) {
    SCOPED_TRACE(frames);
    LoudnessAnalyser analyser(true);
    for (std::size_t at = 0; at < samples.size(); at += frames * 2)
      analyser.feed(std::span(samples).subspan(at, std::min(frames * 2, samples.size() - at)), 2, 22050);
    EXPECT_EQ(analyser.finish(), expected);
    EXPECT_EQ(binsOf(analyser), binsOf(whole));
  }
}

// A change of the format ends a stretch: its last block is filled up, or dropped, and the levels go on.
TEST(Loudness, WaveformsOfOneRecordingMayDiffer) {
  const std::vector<float> low = test::noise(11025 + 300, 0.5f), high = test::noise(2 * 96000, 0.1f);
  LoudnessAnalyser both(true), first(true), second(true);
  both.feed(low, 1, 11025);
  both.feed({}, 0, 44100);
  both.feed(high, 2, 96000);
  both.finish();
  first.feed(low, 1, 11025);
  first.finish();
  second.feed(high, 2, 96000);
  second.finish();
  std::vector<int> expected = binsOf(first);
  const std::vector<int> more = binsOf(second);
  expected.insert(expected.end(), more.begin(), more.end());
  std::ranges::sort(expected);
  EXPECT_EQ(binsOf(both), expected);
}

TEST(Loudness, StepsBackWhenABinOverdrawsTheBudget) {
  auto plain = [](std::vector<std::pair<float, std::size_t>> stretches) {
    std::vector<float> samples;  // blocks of 200 frames
    for (auto [level, blocks] : stretches) samples.insert(samples.end(), blocks * 200, level);
    Collection collection;
    return loudness(addWave(collection, samples, 1, 4000), false);
  };
  auto result = [](int bin) { return static_cast<float>(-21.26 + 0.01 * bin); };
  const int half = 602, tenth = 1999;  // -1000 log10 of the squares; 0.1f is a little above 0.1
  // A twentieth of 20 blocks is one: met exactly.
  EXPECT_EQ(plain({{0.5f, 1}, {0.1f, 19}}), result(half));
  // Two blocks overdraw the budget of 1 by 1, which is not more than was left.
  EXPECT_EQ(plain({{0.5f, 2}, {0.1f, 18}}), result(half));
  EXPECT_EQ(plain({{0.5f, 3}, {0.1f, 17}}), result(half - 1));
  // 9 blocks have a budget of 0 and 10 one of 1.
  EXPECT_EQ(plain({{0.5f, 9}}), result(half - 1));
  EXPECT_EQ(plain({{0.5f, 1}, {0.1f, 9}}), result(half));
  // Of 40 blocks two: one is taken, and 39 overdraw the one that is left.
  EXPECT_EQ(plain({{0.5f, 1}, {0.1f, 39}}), result(tenth - 1));
  // Above the loudest bin.
  EXPECT_EQ(plain({{1, 9}}), result(-1));
  EXPECT_EQ(plain({{4, 9}}), result(-1));
  EXPECT_EQ(plain({{0, 9}}), result(11998));
}

TEST(Loudness, ShortAndBrokenWavesAreSafe) {
  Collection collection;
  EXPECT_EQ(loudness(createWaveform(collection, u"no data"), true), 0);
  EXPECT_EQ(loudness(addWave(collection, test::noise(1102, 1), 1, 44100), true), 0);  // 2205 / 2
  EXPECT_NE(loudness(addWave(collection, test::noise(1103, 1), 1, 44100), true), 0);
  EXPECT_NE(loudness(addWave(collection, test::noise(100, 1), 1, 0), true), 0);
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_EQ(loudness(addWave(collection, std::vector<float>(9 * 50, kNan), 1, 1000), false),
            static_cast<float>(-21.26 + 119.98));
  EXPECT_EQ(loudness(addWave(collection, std::vector<float>(1000, 0.5f), 1, 0xFFFFFFFF), true), 0);
}

}  // namespace
}  // namespace vemko::tools
