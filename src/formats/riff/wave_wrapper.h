#pragma once
// The chunks of a WAVE file without its samples, as lossless codecs keep them beside their own stream: what
// such a file says of loops, markers and tuning comes and goes with it.
#include <cstdint>
#include <vector>

#include "base/bytes.h"
#include "core/waveform.h"
#include "formats/riff/kept_chunks.h"

namespace vemko::riff {

struct WrapperLayout {
  std::uint8_t channels = 1;
  unsigned bits = 16;
  bool isFloat = false;
};

/// Pieces of the file, in its order; all empty for a waveform whose chunks would say nothing.
struct WaveWrapper {
  std::vector<std::byte> head;               ///< "RIFF", size, "WAVE"
  std::vector<std::byte> format;             ///< Whole chunk.
  std::vector<std::byte> dataHead;           ///< "data" and its size, without the samples.
  std::vector<std::vector<std::byte>> rest;  ///< Whole chunks, padded.

  bool isEmpty() const { return rest.empty(); }
};
/// Empty, with a warning, also when the file would be too large for RIFF.
WaveWrapper buildWrapper(const Waveform& waveform, const WrapperLayout& layout);

/// Takes tuning, loops, markers and texts from such chunks. The others are the notes to be attached when all
/// texts were read.
WaveFileNotes readWrapperChunks(const std::vector<Bytes>& chunks, Waveform& waveform);

}  // namespace vemko::riff
