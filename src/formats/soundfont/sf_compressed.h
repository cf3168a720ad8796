#pragma once
// Samples that a bank keeps as Ogg Vorbis or FLAC streams.
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "codecs/bridge.h"
#include "formats/soundfont/sf_sample_pool.h"

namespace vemko::soundfont {

/// Opens the stream of one sample; its source remembers where the stream stands. Fails with the codec's own
/// message.
bool openCompressed(const FilePart& part, CompressedSamples& samples);

/// The stream that the source decodes, null for any other source.
const FilePart* compressedPartOf(const SampleSource* source);

/// The stream of a sample: as it came, if it came as one, else encoded. Nothing, with the last error message
/// set, when the codec or the reading fails.
std::optional<std::vector<std::byte>> compress(const ChannelData& data, std::uint32_t setting);

}  // namespace vemko::soundfont
