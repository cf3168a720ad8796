#pragma once
#include <memory>

#include "codecs/pcm.h"
#include "core/sample_source.h"

namespace vemko {

/// Deferred samples that lie in a file as PCM, interleaved, `frames` frames of `channels` from `offset` on;
/// at least one channel, and a format whose samples have a fixed size.
std::shared_ptr<const SampleSource> makePcmSource(std::shared_ptr<SourceFile> file, std::uint64_t offset,
                                                  std::uint64_t frames, std::uint8_t channels,
                                                  PcmFormat format);

}  // namespace vemko
