#pragma once
// The samples of a bank to be written: one header a channel of each waveform, data that several headers share
// only once.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/collection.h"
#include "formats/soundfont/sf_notes.h"
#include "formats/soundfont/sf_sample_names.h"

namespace vemko::soundfont {

/// Samples of one channel, wherever they are.
struct ChannelData {
  const Waveform* waveform = nullptr;
  int channel = 0;  ///< kAllChannels: their mean.
  /// The stored samples of this channel alone, where they are in a file.
  std::shared_ptr<const SampleSource> source;
  std::uint32_t frames = 0;
};
inline constexpr int kAllChannels = -1;

struct PooledSample {
  std::string name;      ///< As bytes of the file, at most 20.
  std::size_t data = 0;  ///< Index of its ChannelData.
  std::uint32_t rate = 0;
  std::uint8_t key = 60;
  std::int8_t correctionCents = 0;
  std::int64_t loopStart = 0, loopEnd = 0;  ///< From its first frame.
  std::uint16_t type = 1;                   ///< Without the bit for compressed data.
  std::uint16_t link = 0;
};

/// Where a waveform's channels are among the samples.
struct PooledWaveform {
  std::uint32_t sample = 0;  ///< The left one of two.
  bool isStereo = false;
  std::optional<std::uint32_t> right() const { return isStereo ? std::optional(sample + 1) : std::nullopt; }
};

class SamplePool {
 public:
  /// With `mono`, two-channel waveforms become one sample.
  SamplePool(std::span<Waveform* const> waveforms, bool mono);

  /// Null for a waveform that is not in the pool.
  const PooledWaveform* find(const Waveform& waveform) const;
  /// Keeps the loop that the waveform's header had in its file: some zone says its own loop as an offset to
  /// that. Call before the samples are used.
  void keepFileLoop(const Waveform& waveform);
  bool keepsFileLoop(const Waveform& waveform) const;

  const std::vector<PooledSample>& samples() const { return samples_; }
  const std::vector<ChannelData>& data() const { return data_; }

 private:
  struct Group {
    PooledWaveform place;
    const SampleHeader* header = nullptr;  // of the file that the waveform comes from
    bool keepsFileLoop = false;
    bool isNameCut = false;
  };
  Group makeGroup(const Waveform& waveform, std::vector<std::shared_ptr<const SampleSource>> sources,
                  bool mono);
  std::size_t addData(ChannelData data);
  void setNames(Group& group, const SampleNames& names);
  void numberCutNames(std::span<const Waveform* const> firstOfGroup);
  void linkSides(std::span<Waveform* const> waveforms);

  std::vector<PooledSample> samples_;
  std::vector<ChannelData> data_;
  std::vector<Group> groups_;
  std::unordered_map<const Waveform*, std::size_t> groupOf_;
  std::unordered_map<std::string, std::size_t> dataOf_;
};

}  // namespace vemko::soundfont
