#pragma once
// Deferred samples seen through another channel layout, so that stereo waveforms are split and pairs merged
// without loading anything.
#include <cstdint>
#include <memory>

#include "core/sample_source.h"

namespace vemko::io {

/// One channel, 0 or 1, of a stereo source.
std::shared_ptr<const SampleSource> makeChannelSource(std::shared_ptr<const SampleSource> stereo,
                                                      std::uint8_t channel);

/// Two mono sources as one stereo source; where one ends before the other, silence follows. The two channels
/// of one source give that source back.
std::shared_ptr<const SampleSource> makeInterleavedSource(std::shared_ptr<const SampleSource> left,
                                                          std::shared_ptr<const SampleSource> right);

}  // namespace vemko::io
