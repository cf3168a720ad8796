#include "formats/sfz/sfz_generators.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"

namespace vemko::sfz {
namespace {

// 66976 / 256 Hz is middle C to a hundredth of a cent.
constexpr std::uint32_t kPeriodFrames = 256, kPeriodRate = 66976;
constexpr std::uint32_t kNoiseFrames = 88200, kNoiseRate = 44100;
constexpr std::size_t kHarmonics = 60;  // up to about 16 kHz at middle C

using Amplitude = double (*)(int harmonic);

double sine(int harmonic) { return harmonic == 1 ? 1 : 0; }
double saw(int harmonic) { return 2 / std::numbers::pi / harmonic; }
double square(int harmonic) { return harmonic % 2 == 1 ? 4 / std::numbers::pi / harmonic : 0; }
double triangle(int harmonic) {
  const double sign = harmonic % 4 == 1 ? 1 : -1;
  return harmonic % 2 == 1 ? sign * 8 / (std::numbers::pi * std::numbers::pi) / (harmonic * harmonic) : 0;
}
double silence(int) { return 0; }

struct Generator {
  std::string_view name;
  Amplitude amplitude;  // null: noise
};
constexpr Generator kGenerators[] = {{"sine", sine},         {"saw", saw},      {"square", square},
                                     {"triangle", triangle}, {"tri", triangle}, {"noise", nullptr},
                                     {"silence", silence}};

// A period of the sine in so many steps, from one quarter of it: zeros are zeros, equal values are equal, and
// what the systems' libraries compute differently in the last bit is gone when it is rounded.
double sineAt(std::size_t step) {
  constexpr std::size_t kQuarter = kPeriodFrames / 4;
  const std::size_t inHalf = step % (2 * kQuarter);
  const std::size_t inQuarter = inHalf <= kQuarter ? inHalf : 2 * kQuarter - inHalf;
  const double value = std::sin(std::numbers::pi / 2 * static_cast<double>(inQuarter) / kQuarter);
  return step % kPeriodFrames < 2 * kQuarter ? value : -value;
}

void fillPeriod(std::span<float> samples, Amplitude amplitude) {
  for (std::size_t i = 0; i < samples.size(); ++i) {
    double value = 0;
    for (std::size_t harmonic = 1; harmonic <= kHarmonics; ++harmonic)
      value += amplitude(static_cast<int>(harmonic)) * sineAt(i * harmonic);
    samples[i] = static_cast<float>(0.5 * value);
  }
}

// The same noise every time, so that equal files give equal output.
void fillNoise(std::span<float> samples) {
  std::mt19937 random(1);
  for (float& each : samples) each = static_cast<float>(static_cast<double>(random()) / 4294967296.0 - 0.5);
}

}  // namespace

Waveform* generateWaveform(Collection& collection, std::string_view name) {
  const Generator* generator = std::ranges::find(kGenerators, name, &Generator::name);
  if (generator == std::end(kGenerators)) {
    logWarning(u"There is no generator *" + toUtf16(name) + u"; it is silent");
    generator = std::ranges::find(kGenerators, "silence", &Generator::name);
  }
  const bool isNoise = !generator->amplitude;
  const std::uint32_t rate = isNoise ? kNoiseRate : kPeriodRate;
  auto buffer = SampleBuffer::allocate(isNoise ? kNoiseFrames : kPeriodFrames, 1, rate);
  if (!buffer) {
    fail(u"Out of memory");
    return nullptr;
  }
  if (isNoise)
    fillNoise(buffer->samples());
  else
    fillPeriod(buffer->samples(), generator->amplitude);
  Waveform& waveform = createWaveform(collection, toUtf16(generator->name));
  waveform.rate = rate;
  const std::uint32_t frames = buffer->frames();
  waveform.setSamples(std::move(buffer));
  waveform.addLoop({.endFrames = double(frames)}, kMainLoopName, true, false);
  return &waveform;
}

}  // namespace vemko::sfz
