#pragma once
// Deferred samples that are stored in blocks of one size, each holding the same number of frames and
// decodable by itself.
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "base/bytes.h"
#include "core/sample_source.h"

namespace vemko {

struct BlockLayout {
  std::uint8_t channels = 1;
  std::uint32_t blockBytes = 0;
  std::uint32_t framesPerBlock = 0;
  SampleEncoding encoding = SampleEncoding::Codec;  ///< As a user is told.
  /// Decodes one block, the last one of a file possibly shorter, into at most `out`; the frames written.
  std::function<std::size_t(Bytes block, std::span<float> out)> decode;
};

/// The `byteCount` bytes from `offset` on hold the blocks. Frames that these do not give are silent.
std::shared_ptr<const SampleSource> makeBlockSource(std::shared_ptr<SourceFile> file, std::uint64_t offset,
                                                    std::uint64_t byteCount, std::uint64_t frames,
                                                    BlockLayout layout);

}  // namespace vemko
