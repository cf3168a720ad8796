#pragma once
// Collections built by hand, with sources in memory that count how often they are opened.
#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/last_error.h"
#include "base/text.h"
#include "core/collection.h"
#include "core/parameters.h"
#include "io/samples.h"

namespace vemko::test {

class MemorySource final : public SampleSource {
 public:
  MemorySource(std::vector<float> interleaved, std::uint8_t channelCount)
      : samples(std::move(interleaved)), channels(channelCount) {}

  std::unique_ptr<SampleStream> open(std::uint64_t firstFrame) const override {
    ++opened;
    if (broken) {
      fail(u"Broken source");
      return nullptr;
    }
    return std::make_unique<Stream>(*this, static_cast<std::size_t>(firstFrame) * channels);
  }
  SampleEncoding encoding() const override { return storedAs; }
  bool canSeek() const override { return true; }

  std::vector<float> samples;
  std::uint8_t channels;
  SampleEncoding storedAs = SampleEncoding::Pcm16;
  bool broken = false;
  mutable std::atomic<int> opened = 0;

 private:
  struct Stream final : SampleStream {
    Stream(const MemorySource& from, std::size_t at) : source(from), position(at) {}
    std::optional<std::size_t> read(std::span<float> out) override {
      const std::size_t count = std::min(out.size(), source.samples.size() - position);
      std::copy_n(source.samples.begin() + static_cast<std::ptrdiff_t>(position), count, out.begin());
      position += count;
      return count / source.channels;
    }
    const MemorySource& source;
    std::size_t position;
  };
};

/// A deferred waveform over these samples.
inline std::shared_ptr<MemorySource> defer(Waveform& waveform, std::vector<float> samples,
                                           std::uint8_t channels = 1) {
  auto source = std::make_shared<MemorySource>(std::move(samples), channels);
  waveform.channels = channels;
  waveform.frames = static_cast<std::uint32_t>(source->samples.size() / channels);
  waveform.setSource(source);
  return source;
}

/// A waveform whose samples are in memory only.
inline void fill(Waveform& waveform, const std::vector<float>& samples, std::uint8_t channels = 1) {
  auto buffer =
      SampleBuffer::allocate(static_cast<std::uint32_t>(samples.size() / channels), channels, 44100);
  ASSERT_TRUE(buffer);
  std::ranges::copy(samples, buffer->samples().begin());
  waveform.setSamples(std::move(buffer));
}

/// The waveform's samples, which are loaded for this.
inline std::vector<float> samplesOf(Waveform& waveform) {
  EXPECT_TRUE(io::loadSamples(waveform, true)) << toUtf8(lastError());
  if (!waveform.buffer) return {};
  const auto samples = waveform.buffer->samples();
  return {samples.begin(), samples.end()};
}

inline Region& play(Layer& layer, const Waveform& waveform, MidiRange keys = {0, 127},
                    MidiRange velocities = {0, 127}) {
  RegionRequest request;
  request.keys = keys;
  request.velocities = velocities;
  Region& region = createRegion(layer, u"region", request);
  region.setWaveform(waveform.id());
  return region;
}

inline LoopRecord record(RecordType type, std::u16string name, std::uint32_t start, std::uint32_t end,
                         LoopPlay play = LoopPlay::Off) {
  LoopRecord result;
  result.type = type;
  result.name = std::move(name);
  result.start = start;
  result.end = end;
  result.play = play;
  result.id = nextRecordId();
  return result;
}

inline std::vector<std::string> namesOf(const std::vector<Item*>& items) {
  std::vector<std::string> names;
  for (const Item* item : items) names.push_back(toUtf8(item->name()));
  return names;
}

}  // namespace vemko::test
