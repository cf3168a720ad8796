#pragma once
// What the published chunks cannot say about loops and markers - fractions of a frame, tune and count mode,
// their order, loops that are off, long names, tuning upwards - stands in a block of our own at the end of
// the "adtl" list, where other programs skip what they do not know. It counts only as long as the published
// chunks are those that it was written with, so that what another program changed there wins.
//
// Layout, version 1: version u16, 0 u16, checksum of the published chunks u32, number of records u32, volume
// adjustment f32, root key u8, fine tune i8, 0 u16; for each record start u32, end u32, start and end
// hundredths u8, type u8, play u8, count u8, flags u8 (1: main loop), tune i16, length of its name u32 in
// UTF-16 units, 0xFFFFFFFF where the label says it; then these names.
#include <cstdint>
#include <vector>

#include "base/bytes.h"
#include "core/waveform.h"
#include "formats/riff/cues.h"

namespace vemko::riff {

struct PublishedChunks {
  Bytes sampler, instrument, cues, cueNotes;
};
std::uint32_t checksumOf(const PublishedChunks& chunks, std::uint32_t frames);

std::vector<std::byte> buildExactBlock(const Waveform& waveform, std::uint32_t checksum);
/// Replaces tuning, volume adjustment and records by the block's. False, and nothing changed, when the
/// checksum is another one or anything in the block is not as it must be.
bool applyExactBlock(Bytes data, std::uint32_t checksum, const CueNotes& notes, Waveform& waveform);

/// Whether both have the same tuning, volume adjustment, records and main loop, whatever the records' ids
/// are.
bool isSameDescription(const Waveform& a, const Waveform& b);

}  // namespace vemko::riff
