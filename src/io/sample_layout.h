#pragma once
// Which encoding and channel layout a writer stores a waveform in.
#include <cstdint>

#include "io/format_entry.h"

namespace vemko::io {

struct SampleLayout {
  SampleEncoding encoding = SampleEncoding::Pcm16;
  std::uint8_t channels = 1;
};

/// The encoding: what the options ask for, where the row has it; else the waveform's own, unless storing it
/// once more would lose again; else the narrowest one of the row that holds the waveform without loss; else
/// the waveform's own or the row's richest. A waveform's own encoding is that of its intact source, else what
/// its source-format code says, else 32-bit float, as in memory.
/// Channels stay, also more than two, unless kMono or kStereo alone is asked for and the row has it, or the
/// row has only one of these layouts; where stereo is kept as pairs of mono waveforms, what is mono stays so,
/// as a side or by itself. GSM 06.10 and ADPCM, which are codes for speech, have one channel.
SampleLayout chooseLayout(const Waveform& waveform, const SaveOptions& options, CapabilityMask capabilities);

}  // namespace vemko::io
