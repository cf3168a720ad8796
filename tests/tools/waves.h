#pragma once
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numbers>
#include <random>
#include <span>
#include <string>
#include <vector>

#include "core/collection.h"

namespace vemko::test {

/// A waveform of these interleaved samples.
inline Waveform& addWave(Collection& collection, std::span<const float> samples, std::uint8_t channels = 1,
                         std::uint32_t rate = 44100, std::u16string_view name = u"wave") {
  Waveform& wave = createWaveform(collection, name);
  wave.rate = rate;
  auto buffer = SampleBuffer::allocate(static_cast<std::uint32_t>(samples.size() / channels), channels, rate);
  std::copy_n(samples.begin(), buffer->samples().size(), buffer->samples().begin());
  wave.setSamples(std::move(buffer));
  return wave;
}
inline Waveform& addWave(Collection& collection, std::initializer_list<float> samples,
                         std::uint8_t channels = 1, std::uint32_t rate = 44100) {
  return addWave(collection, std::span(samples.begin(), samples.size()), channels, rate);
}

inline std::vector<float> samplesOf(const Waveform& wave) {
  const auto samples = std::as_const(*wave.buffer).samples();
  return {samples.begin(), samples.end()};
}

inline std::vector<float> noise(std::size_t count, float amplitude, unsigned seed = 1, float offset = 0) {
  std::mt19937 random(seed);
  std::vector<float> samples(count);
  for (float& x : samples) x = offset + amplitude * (static_cast<float>(random() >> 8) / float(1 << 23) - 1);
  return samples;
}

inline std::vector<float> sine(std::size_t count, double amplitude, double cyclesPerSample) {
  std::vector<float> samples(count);
  for (std::size_t i = 0; i < count; ++i)
    samples[i] = static_cast<float>(
        amplitude * std::sin(2 * std::numbers::pi * cyclesPerSample * static_cast<double>(i)));
  return samples;
}

/// What the shell command prints on standard output and standard error; empty when it fails.
inline std::string outputOf(const std::string& command) {
  std::string output;
  FILE* pipe = ::popen((command + " 2>&1").c_str(), "r");
  if (!pipe) return {};
  char part[4096];
  for (std::size_t got; (got = std::fread(part, 1, sizeof part, pipe)) > 0;) output.append(part, got);
  return ::pclose(pipe) == 0 ? output : std::string();
}

}  // namespace vemko::test
