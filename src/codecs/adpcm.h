#pragma once
// The two ADPCM encodings of WAVE files that need no library: Microsoft's (tag 2) and IMA/DVI (tag 0x11), as
// published in Microsoft's and the IMA's descriptions of 1992-94. Decoding only.
#include <cstdint>
#include <memory>
#include <span>

#include "base/bytes.h"
#include "core/sample_source.h"

namespace vemko {

enum class AdpcmKind : std::uint8_t { Microsoft, Ima };

struct AdpcmFormat {
  AdpcmKind kind = AdpcmKind::Ima;
  std::uint8_t channels = 1;
  std::uint32_t blockBytes = 0;
  std::uint32_t framesPerBlock = 0;
  std::int16_t coefficients[7 * 2] = {256, 0, 512, -256, 0, 0, 192, 64, 240, 0, 460, -208, 392, -232};
};

/// Frames that a block of that size (below 1 GB) holds; 0 when it cannot hold its own header.
std::uint32_t framesOfBlock(AdpcmKind kind, std::uint32_t blockBytes, std::uint8_t channels);

/// Decodes one block, the last one of a file possibly shorter. Returns the frames written, at most out's.
std::size_t decodeAdpcmBlock(const AdpcmFormat& format, Bytes block, std::span<float> out);

std::shared_ptr<const SampleSource> makeAdpcmSource(std::shared_ptr<SourceFile> file, std::uint64_t offset,
                                                    std::uint64_t byteCount, std::uint64_t frames,
                                                    const AdpcmFormat& format);

}  // namespace vemko
