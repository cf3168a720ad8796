#include "tools/statistics.h"

#include <gtest/gtest.h>

#include "base/text.h"
#include "support.h"
#include "tools/levels.h"
#include "tools/waves.h"

namespace vemko::tools {
namespace {

using test::addWave;

std::vector<std::string> valuesOf(const Statistics& statistics) {
  std::vector<std::string> values;
  for (const StatisticsRow& row : statisticsRows(statistics))
    values.push_back(toUtf8(row.label) + " " + toUtf8(row.value));
  return values;
}

TEST(Statistics, TakesAllWaveformsTogether) {
  Collection collection;
  Waveform* waves[] = {&addWave(collection, {0.5f, -0.25f, -0.5f, 0.25f, 0, 0}, 2, 2),
                       &addWave(collection, {1.5f, 1.5f}, 1, 8), &createWaveform(collection, u"no data")};
  EXPECT_EQ(valuesOf(statisticsOf(waves)),
            (std::vector<std::string>{"Wavesamples: 8 / 1.75 s", "Max level: 1.500 / 3.52 dB",
                                      "RMS: 0.800 / -1.93 dB", "Min..Max value: -0.500000..1.500000",
                                      "Mean value: 0.375", "Maximum delta: 1.000000", "Zero crossings: 2"}));
  EXPECT_EQ(valuesOf(statisticsOf({})),
            (std::vector<std::string>{"Wavesamples: 0 / 0.00 s", "Max level: 0.000 / -96.00 dB",
                                      "RMS: 0.000 / -96.00 dB", "Min..Max value: 0.000000..0.000000",
                                      "Mean value: 0.000", "Maximum delta: 0.000000", "Zero crossings: 0"}));
}

/// The number after `label`, in the n-th line that has it.
double numberAfter(const std::string& text, const std::string& label, int n = 0) {
  std::size_t at = 0;
  for (int i = 0; i <= n; ++i) {
    at = text.find(label, at);
    if (at == std::string::npos) return std::nan("");
    at += label.size();
  }
  return std::strtod(text.c_str() + at, nullptr);
}

struct Signal {
  const char* name;
  std::vector<float> samples;
  int channels;
};
std::vector<Signal> signals() {
  return {{"noise with an offset, stereo", test::noise(400'000, 0.8f, 1, 0.125f), 2},
          {"sine, mono", test::sine(48'000, -0.7, 997.0 / 48000), 1},
          {"quiet noise, mono", test::noise(300'001, 0.001f, 2), 1},
          {"noise, 6 channels", test::noise(6 * 50'000, 0.4f, 3, -0.01f), 6}};
}

Path putRaw(const test::TempFolder& folder, const Signal& signal) {
  const Path file = folder / "raw.f32";
  test::putFile(file, std::as_bytes(std::span(signal.samples)));
  return file;
}

TEST(Statistics, AgreesWithSox) {
  if (test::outputOf("sox --version").empty()) GTEST_SKIP() << "sox is not installed";
  for (const Signal& signal : signals()) {
    SCOPED_TRACE(signal.name);
    test::TempFolder folder;
    const std::string report = test::outputOf("sox -t f32 -r 48000 -c " + std::to_string(signal.channels) +
                                              " " + putRaw(folder, signal).string() + " -n stats");
    Collection collection;
    Waveform& wave = addWave(collection, signal.samples, static_cast<std::uint8_t>(signal.channels), 48000);
    Waveform* waves[] = {&wave};
    const Statistics found = statisticsOf(waves);
    EXPECT_NEAR(toDecibels(found.peak), numberAfter(report, "Pk lev dB"), 0.011);
    EXPECT_NEAR(toDecibels(found.rms), numberAfter(report, "RMS lev dB"), 0.011);
    EXPECT_NEAR(found.minimum, numberAfter(report, "Min level"), 2e-6);
    EXPECT_NEAR(found.maximum, numberAfter(report, "Max level"), 2e-6);
    if (signal.channels == 1) {
      EXPECT_NEAR(found.mean, numberAfter(report, "DC offset"), 2e-6);
    }
  }
}

TEST(Statistics, AgreesWithFfmpeg) {
  if (test::outputOf("ffmpeg -version").empty()) GTEST_SKIP() << "ffmpeg is not installed";
  for (const Signal& signal : signals()) {
    SCOPED_TRACE(signal.name);
    test::TempFolder folder;
    const std::string report =
        test::outputOf("ffmpeg -nostdin -f f32le -ar 48000 -ac " + std::to_string(signal.channels) + " -i " +
                       putRaw(folder, signal).string() + " -af astats -f null -");
    Collection collection;
    Waveform& wave = addWave(collection, signal.samples, static_cast<std::uint8_t>(signal.channels), 48000);
    Waveform* waves[] = {&wave};
    const Statistics found = statisticsOf(waves);
    // ffmpeg tells each channel by itself and then some values of all together. It takes a channel that
    // begins above zero for one that has just crossed it.
    double crossings = 0, delta = 0, mean = 0;
    for (int channel = 0; channel < signal.channels; ++channel) {
      const auto at = static_cast<std::size_t>(channel);
      const bool beginsAbove = signal.samples[at] > 0;
      crossings += numberAfter(report, "Zero crossings: ", channel) - beginsAbove;
      delta = std::max(delta, numberAfter(report, "Max difference: ", channel));
      mean += numberAfter(report, "DC offset: ", channel) / signal.channels;
    }
    EXPECT_EQ(static_cast<double>(found.zeroCrossings), crossings);
    EXPECT_NEAR(found.maximumDelta, delta, 2e-6);
    EXPECT_NEAR(found.mean, mean, 2e-6);
    EXPECT_NEAR(20 * std::log10(found.peak), numberAfter(report, "Peak level dB: ", signal.channels), 1e-4);
    EXPECT_NEAR(20 * std::log10(found.rms), numberAfter(report, "RMS level dB: ", signal.channels), 1e-4);
  }
}

}  // namespace
}  // namespace vemko::tools
