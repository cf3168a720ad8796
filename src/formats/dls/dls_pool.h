#pragma once
// The waves of a collection to be written: samples that several waveforms share stand there once.
#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/collection.h"
#include "formats/dls/dls_notes.h"
#include "io/sample_layout.h"
#include "platform/block_writer.h"

namespace vemko::dls {

/// A wave sample chunk to be written.
struct SampleFields {
  std::uint8_t unityNote = 60;
  double cents = 0;
  double gainDb = 0;
  std::uint32_t options = 0;
};
/// The whole chunk, with the waveform's main loop where it plays.
void appendWaveSample(const SampleFields& fields, const Waveform& waveform, ByteWriter& out);

/// INFO and "dlid", as they came where they did.
void appendDescription(const Item& item, const Description* before, ByteWriter& out);

class WavePool {
 public:
  WavePool(std::span<Waveform* const> waveforms, const io::SaveOptions& options,
           io::CapabilityMask capabilities);

  std::uint32_t indexOf(const Waveform& waveform) const { return indexOf_.at(&waveform); }
  std::uint8_t channelsOf(const Waveform& waveform) const {
    return waves_[indexOf(waveform)].layout.channels;
  }

  bool hasStereo() const;

  /// The chunk of the pool table, and the size of the pool's list.
  std::vector<std::byte> buildTable() const;
  std::uint64_t listBytes() const;
  /// The pool's whole list. False with the last error message set.
  bool write(BlockWriter& out) const;

 private:
  struct Wave {
    const Waveform* waveform = nullptr;
    io::SampleLayout layout;
    std::vector<std::byte> head, tail;  // around the samples, within the list
    std::uint64_t dataBytes = 0;
    std::uint64_t bytes() const { return 8 + head.size() + dataBytes + dataBytes % 2 + tail.size(); }
  };
  static Wave makeWave(const Waveform& waveform, const io::SampleLayout& layout);

  std::vector<Wave> waves_;
  std::unordered_map<const Waveform*, std::uint32_t> indexOf_;
};

}  // namespace vemko::dls
