#pragma once
// From the waves of a pool to waveforms.
#include <memory>
#include <vector>

#include "core/collection.h"
#include "formats/dls/dls_notes.h"
#include "formats/dls/dls_records.h"

namespace vemko::dls {

/// The waveforms of a collection. A wave that regions loop in several ways becomes one waveform for each, on
/// the same samples.
class WaveWaveforms {
 public:
  WaveWaveforms(const CollectionRecord& record, std::shared_ptr<SourceFile> file, Complaints& complaints);

  /// Announces a region that plays the wave; `own` is its wave sample chunk, null when it has none.
  void use(std::uint32_t wave, const riff::WaveSample* own);
  void create(Collection& collection, const std::shared_ptr<CollectionNotes>& notes);
  /// Null for a wave that is not there.
  Waveform* find(Collection& collection, std::uint32_t wave, const riff::WaveSample* own) const;

 private:
  struct Loop {
    bool exists = false, untilRelease = false;
    std::uint32_t start = 0, end = 0;
    friend bool operator==(const Loop&, const Loop&) = default;
  };
  struct Variant {
    Loop loop;
    std::size_t uses = 0;
    ItemId id = kNoItem;
  };
  struct Place {
    std::shared_ptr<const SampleSource> source;
    std::uint32_t frames = 0, rate = 22050;
    std::uint8_t channels = 1;
    std::vector<Variant> variants;
  };

  void place(const WaveRecord& wave, Place& place);
  bool readFormat(const WaveRecord& wave, Place& place);
  Loop loopOf(std::uint32_t wave, const riff::WaveSample* own) const;
  const Variant* variantOf(std::uint32_t wave, const Loop& loop) const;
  void fill(Waveform& waveform, std::uint32_t wave, const Loop& loop) const;

  const CollectionRecord& record_;
  std::shared_ptr<SourceFile> file_;
  Complaints& complaints_;
  std::vector<Place> places_;
};

}  // namespace vemko::dls
