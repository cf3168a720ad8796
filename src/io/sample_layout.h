#pragma once
// Which encoding and channel layout a writer stores a waveform in.
#include <cstdint>

#include "io/format_entry.h"

namespace vemko::io {

struct SampleLayout {
  SampleEncoding encoding = SampleEncoding::Pcm16;
  std::uint8_t channels = 1;
};

/// What the options ask for, where the row has it; else the waveform's own encoding; else the narrowest one
/// of the row that holds the waveform without loss; else the row's widest. Channels stay unless kMono or
/// kStereo alone is asked for, or the row has only mono; more than two stay more than two.
SampleLayout chooseLayout(const Waveform& waveform, const SaveOptions& options, CapabilityMask capabilities);

}  // namespace vemko::io
