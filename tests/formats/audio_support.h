#pragma once
// Waveforms to be written by every row that holds one, and how near what comes back is to them.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <vector>

#include "codecs/pcm.h"
#include "io/collections.h"
#include "io/open.h"
#include "io/registry.h"
#include "io/save.h"
#include "support.h"

namespace vemko::test {

/// Interleaved, with an attack now and then, so that a shift by one frame shows, and little above 4 kHz.
inline std::vector<float> music(std::size_t frames, unsigned channels = 1, double rate = 44100) {
  std::vector<float> samples;
  for (std::size_t i = 0; i < frames; ++i) {
    const double seconds = static_cast<double>(i) / rate, sinceAttack = std::fmod(seconds, 0.11);
    for (unsigned channel = 0; channel < channels; ++channel) {
      double sum = 0;
      for (int harmonic = 1; harmonic <= 6; ++harmonic)
        sum += std::sin(2 * std::numbers::pi * (180 + 25 * channel) * harmonic *
                        (seconds + 0.001 * std::sin(seconds * 17))) /
               harmonic;
      samples.push_back(static_cast<float>(0.22 * sum * (0.2 + std::exp(-30 * sinceAttack))));
    }
  }
  return samples;
}

/// The samples as an encoding holds them; unchanged for floats and for lossy encodings.
inline std::vector<float> heldBy(SampleEncoding encoding, std::vector<float> samples) {
  using enum SampleEncoding;
  const unsigned bits = encoding == Pcm12 ? 12 : encoding == Pcm20 ? 20 : 0;
  for (float& sample : samples)
    if (bits > 0)
      sample =
          std::round(std::ldexp(sample, static_cast<int>(bits) - 1)) / static_cast<float>(1u << (bits - 1));
  if (bits > 0 || encoding > ALaw || encoding == Float32 || encoding == Float64) return samples;
  std::vector<std::byte> stored(samples.size() * bytesPerSample({encoding}));
  encodePcm({encoding}, samples, stored);
  decodePcm({encoding}, stored, samples);
  return samples;
}

inline bool isLossy(SampleEncoding encoding) {
  return (encoding >= SampleEncoding::Gsm610 && encoding <= SampleEncoding::Adpcm5) ||
         encoding == SampleEncoding::Codec;
}

/// Decibels of the signal over what differs, where `other` starts `shift` samples later.
inline double signalToNoise(std::span<const float> signal, std::span<const float> other,
                            std::ptrdiff_t shift = 0) {
  double energy = 0, noise = 1e-20;
  for (std::size_t i = 0; i < signal.size(); ++i) {
    const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(i) + shift;
    if (at < 0 || at >= static_cast<std::ptrdiff_t>(other.size())) continue;
    const double difference = double{signal[i]} - other[static_cast<std::size_t>(at)];
    energy += double{signal[i]} * signal[i];
    noise += difference * difference;
  }
  return 10 * std::log10(energy / noise + 1e-20);
}

/// The shift in frames, of more than any codec's delay either way, at which `other` fits best. Looked for in
/// the middle, where decoders have found into their stride.
inline std::ptrdiff_t bestShift(std::span<const float> signal, std::span<const float> other,
                                unsigned channels) {
  constexpr std::ptrdiff_t kFarthest = 2000;
  const std::size_t start = signal.size() / channels / 3 * channels;
  const auto compared = signal.subspan(start, std::min<std::size_t>(signal.size() - start, 6000 * channels));
  const auto ratioAt = [&](std::ptrdiff_t shift) {
    return signalToNoise(compared, other, std::ssize(signal.first(start)) + shift * std::ptrdiff_t{channels});
  };
  std::ptrdiff_t best = 0;
  double bestRatio = ratioAt(0);
  for (std::ptrdiff_t shift = -kFarthest; shift <= kFarthest; ++shift) {
    const double ratio = ratioAt(shift);
    if (ratio <= bestRatio) continue;
    bestRatio = ratio;
    best = shift;
  }
  return best;
}

/// A collection with one waveform, opened from a file.
struct Opened {
  std::unique_ptr<Collection> collection = std::make_unique<Collection>();
  Waveform* waveform = nullptr;  ///< Null, with the reason told, when the file cannot be opened.
};

inline Opened openWaveform(const Path& path) {
  Opened opened;
  EXPECT_TRUE(io::openFile(*opened.collection, path, false)) << path << ": " << toUtf8(lastError());
  const auto waveforms = opened.collection->all<Waveform>();
  if (!waveforms.empty()) opened.waveform = waveforms.front();
  EXPECT_TRUE(opened.waveform) << path;
  return opened;
}

inline std::vector<int> waveformWritingRows() {
  std::vector<int> rows;
  for (int row = io::nextWritingRow(0); row != io::kNoRow; row = io::nextWritingRow(row + 1))
    if (io::canHold(row, ItemKind::Waveform)) rows.push_back(row);
  return rows;
}

inline bool isMissing(int row) {
  const io::FormatEntry& entry = *io::formatRow(row);
  return entry.missingLibrary &&
         (!entry.missingLibrary(true).empty() || !entry.missingLibrary(false).empty());
}

/// The last error names a codec library that is not there.
inline bool failedWithoutLibrary() { return lastError().find(u"is not available") != lastError().npos; }

inline bool hasProgram(const std::string& name) {
  return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
}

}  // namespace vemko::test
