#pragma once
// The sample data of a bank to be written.
#include <vector>

#include "formats/soundfont/sf_bank_tables.h"
#include "formats/soundfont/sf_sample_pool.h"
#include "platform/block_writer.h"

namespace vemko::soundfont {

/// Zero points behind each sample, for players that read ahead.
inline constexpr std::uint32_t kGapPoints = 46;

/// A stream of that channel alone; null with the last error message set.
std::unique_ptr<SampleStream> openChannel(const ChannelData& data);

/// Whether zones and links, which have 16 bits for them, can name all samples; false with the last error
/// message set.
bool haveNumbers(const SamplePool& pool);
/// The order in which the samples, by their indexes, are best written: those that are copied as they lie in
/// their files, so that neighbours stay neighbours and go in one piece.
std::vector<std::size_t> storedOrder(const std::vector<ChannelData>& data);
/// Where each sample will be when all are written one behind the other; nothing, with the last error message
/// set, when they are too much for a file.
std::optional<std::vector<SamplePosition>> placePoints(const std::vector<ChannelData>& data, bool is24);

/// Appends 16 bits of every point: all of them, or the upper ones of 24. Stored bytes are copied.
bool writePoints(const std::vector<ChannelData>& data, bool is24, BlockWriter& out);
/// Appends a stream for each sample, of the given compression setting or as it came, and tells where they
/// are.
bool writeStreams(const std::vector<ChannelData>& data, std::uint32_t setting, BlockWriter& out,
                  std::vector<SamplePosition>& positions);
/// Appends the lower 8 of 24 bits.
bool writeLowBytes(const std::vector<ChannelData>& data, BlockWriter& out);

}  // namespace vemko::soundfont
