#pragma once
// Wave files for the program to work on, written by the library.
#include "io/collections.h"
#include "io/save.h"

namespace vemko::test {

inline std::vector<float> ramp(std::size_t count) {
  std::vector<float> samples(count);
  for (std::size_t i = 0; i < count; ++i) samples[i] = static_cast<float>(i % 4096) / 4096 - 0.5f;
  return samples;
}

inline void saveWave(Waveform& wave, const Path& path, SampleEncoding encoding) {
  const int row = io::findWritingRow(u"wav", kindBit(ItemKind::Waveform));
  ASSERT_TRUE(io::saveItem(&wave, row, path, io::saveOptionsFor(row, io::encodingBit(encoding))))
      << toUtf8(lastError());
}

inline void makeWave(const Path& path, std::size_t samples, SampleEncoding encoding = SampleEncoding::Pcm16,
                     std::uint8_t channels = 1) {
  Collection collection;
  Waveform& wave = createWaveform(collection, u"ramp");
  fill(wave, ramp(samples), channels);
  wave.rate = 44100;
  saveWave(wave, path, encoding);
}

}  // namespace vemko::test
