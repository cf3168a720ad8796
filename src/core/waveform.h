#pragma once
#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "core/item.h"
#include "core/loop_record.h"
#include "core/sample_buffer.h"
#include "core/sample_source.h"

namespace vemko {

enum class StereoSide : std::uint8_t { None, Left, Right };

/// One piece of sampled audio. Its samples are in `buffer`, or still in `source`, or nowhere (new and empty,
/// or memory was short); a waveform whose samples were loaded and not edited keeps its source beside the
/// buffer.
struct Waveform final : Item {
  explicit Waveform(Collection& collection);

  /// Another one for each waveform of a run, and the same in its copies and whatever is edited: ids are given
  /// again when waveforms go.
  std::uint64_t birth;
  std::uint32_t frames = 0;
  std::uint32_t rate = 22050;       ///< Hz
  std::uint8_t codecParameter = 0;  ///< For the decoders of packed formats; 16 once samples were rewritten.
  std::uint8_t channels = 1;
  std::uint8_t rootKey = 60;  ///< MIDI note 0..127
  std::int8_t fineTuneCents = 0;
  float volumeAdjustmentDb = 0;  ///< Item property 241.
  std::uint32_t mainLoopId = 0;  ///< Id of the main loop's record, 0 for none.
  SourceFormat sourceFormat = kUnclassified;
  std::array<std::uint8_t, 12> flags{};
  std::vector<LoopRecord> records;  ///< In the user's order.

  /// The other side of a left/right pair that the file keeps apart, kNoItem when there is none.
  ItemId pairedWith = kNoItem;
  StereoSide side = StereoSide::None;

  std::shared_ptr<SampleBuffer> buffer;
  std::shared_ptr<const SampleSource> source;

  /// The ninth flag byte: the samples are those of `source`, bit for bit. Whoever rewrites samples clears it.
  static constexpr std::size_t kSourceIntactFlag = 8;
  bool sourceIsIntact() const { return source != nullptr && flags[kSourceIntactFlag] != 0; }
  /// Gives the waveform deferred samples in place of those it has, and marks them intact.
  void setSource(std::shared_ptr<const SampleSource> newSource);

  ItemKind kind() const override { return ItemKind::Waveform; }
  std::unique_ptr<Item> clone(Collection& target, bool withData = true) const override;

  /// frames and channels from a new buffer, which becomes the waveform's samples; the source is dropped. They
  /// count as rewritten where there were samples before. Null leaves the waveform empty.
  void setSamples(std::shared_ptr<SampleBuffer> newBuffer);
  /// The samples to be changed in place, made this waveform's own first if they are shared; marks them as
  /// rewritten and drops the source. Empty when there is no buffer or, with "Out of memory" set, no room for
  /// a copy.
  std::span<float> editableSamples();

  LoopRecord* findRecord(std::uint32_t id);
  const LoopRecord* findRecord(std::uint32_t id) const;
  LoopRecord* mainLoop() { return findRecord(mainLoopId); }
  const LoopRecord* mainLoop() const { return findRecord(mainLoopId); }
  /// The loop that plays after the key is released, null when there is none.
  const LoopRecord* releaseLoop() const;

  /// One loop by LoopAdder's rules; linear in the number of records.
  std::uint32_t addLoop(const LoopDescriptor& loop, std::u16string_view name, bool isMain,
                        bool mergeDuplicates);
  /// The id of the first position marker there that is named "Alt Start" or has no name, and then gets this
  /// one; a new marker where there is none.
  std::uint32_t findOrAddAltStart(std::uint32_t position);
  /// Also forgets the main loop when it goes.
  void removeRecord(std::uint32_t id);
  void renameRecord(std::uint32_t id, std::u16string_view name);
  /// `to` is clamped to the last index; nothing happens when `from` is outside the list.
  void moveRecord(std::size_t from, std::size_t to);
};

/// A stream over the waveform's samples, from the buffer where there is one, else from the source; null with
/// "No wave data import procedure" when it has neither.
std::unique_ptr<SampleStream> openSamples(const Waveform& waveform, std::uint64_t firstFrame = 0);

/// The part of a waveform that plays, in frames; `end` is exclusive.
struct PlaySection {
  std::uint32_t start = 0;
  std::uint32_t end = 0;
  friend bool operator==(const PlaySection&, const PlaySection&) = default;
};

/// By the waveform's own "Play" section or "Start" marker; all of it without these.
PlaySection playSection(const Waveform& waveform);

}  // namespace vemko
