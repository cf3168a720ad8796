#pragma once
// From sample headers to waveforms with deferred samples.
#include <memory>
#include <optional>
#include <vector>

#include "core/collection.h"
#include "formats/soundfont/sf_notes.h"

namespace vemko::soundfont {

/// Where the samples of a header are: its source and its length in frames. A skipped one has neither, and
/// gets no waveform.
struct SamplePlace {
  bool isSkipped = false;
  std::shared_ptr<const SampleSource> source;
  std::uint32_t frames = 0;
};
/// One a header, in the file's order. Asks about samples in ROM.
std::vector<SamplePlace> placeSamples(const BankFile& bank, const std::shared_ptr<SourceFile>& file,
                                      Complaints& complaints);

/// The waveforms of a bank. Where zones of one sample loop differently, each way is a waveform of its own on
/// the same source; the one that most zones use comes first.
class SampleWaveforms {
 public:
  SampleWaveforms(const BankTables& tables, const std::vector<SamplePlace>& places);

  /// Notes that some zone plays the sample with these amounts.
  void use(std::uint32_t sample, const Generators& generators, Complaints& complaints);
  /// Makes the waveforms, in the order of the headers, and links left and right sides.
  void create(Collection& collection, const std::shared_ptr<BankNotes>& notes, Complaints& complaints);
  /// The one that these amounts play; kNoItem when the sample was skipped or is none.
  ItemId find(std::uint32_t sample, const Generators& generators) const;

 private:
  struct Variant {
    ZoneLoop loop;
    std::size_t uses = 0;
    ItemId id = kNoItem;
  };

  bool isPlayable(std::uint32_t sample) const;
  ZoneLoop loopFor(std::uint32_t sample, const Generators& generators) const;
  bool isSide(std::uint32_t sample, std::uint16_t side) const;
  bool nameEachOther(std::uint32_t left, std::uint32_t right) const;
  std::optional<std::uint32_t> rightOf(std::uint32_t left, Complaints& complaints) const;
  void link(Collection& collection, Complaints& complaints);

  const BankTables& tables_;
  const std::vector<SamplePlace>& places_;
  std::vector<std::vector<Variant>> variants_;  // one list a header
};

}  // namespace vemko::soundfont
