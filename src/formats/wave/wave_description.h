#pragma once
// Everything that the chunks beside the samples say about a waveform's tuning, gain, loops and markers.
#include <vector>

#include "base/bytes.h"
#include "core/waveform.h"

namespace vemko::wave {

/// Bodies as they stand in the file, the first of each kind; empty where there is no such chunk.
struct DescriptionChunks {
  Bytes sampler;                ///< "smpl"
  Bytes instrument;             ///< "inst"
  Bytes waveSample;             ///< "wsmp"
  Bytes cues;                   ///< "cue "
  std::vector<Bytes> cueNotes;  ///< Contents of the "LIST"s of type "adtl".
};

/// The waveform's frame count must be known by then.
void readDescription(const DescriptionChunks& chunks, Waveform& waveform);

/// Bodies to be written; empty ones are left out.
struct DescriptionBodies {
  std::vector<std::byte> cues, cueNotes, sampler, instrument;
};
DescriptionBodies buildDescription(const Waveform& waveform);

}  // namespace vemko::wave
