#pragma once
// Everything that the chunks beside the samples say about a waveform's tuning, gain, loops and markers.
#include <vector>

#include "base/bytes.h"
#include "core/waveform.h"
#include "formats/riff/riff.h"

namespace vemko::riff {

struct Options {
  bool noLoopOff = true;  ///< Loops that are off are not written to "smpl".
};
Options& options();

/// Bodies as they stand in the file, the first of each kind; empty where there is no such chunk.
struct DescriptionChunks {
  Bytes sampler;                ///< "smpl"
  Bytes instrument;             ///< "inst"
  Bytes waveSample;             ///< "wsmp"
  Bytes cues;                   ///< "cue "
  std::vector<Bytes> cueNotes;  ///< Contents of the "LIST"s of type "adtl".
};

/// Takes the body of a chunk that describes, as a view; false for any other.
bool takeDescriptionChunk(const Chunk& chunk, DescriptionChunks& chunks);

/// The waveform's frame count must be known by then.
void readDescription(const DescriptionChunks& chunks, Waveform& waveform);

/// The chunks to be written, whole; empty when there is nothing to say.
std::vector<std::byte> buildDescription(const Waveform& waveform);

}  // namespace vemko::riff
