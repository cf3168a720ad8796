#pragma once
// GSM 06.10 speech, mono, through libgsm: frames of 160 samples in 33 bytes each, or as WAVE files have it,
// two of them packed into 65 bytes.
#include "codecs/bridge.h"

namespace vemko::gsm {

enum class Packing : std::uint8_t { Single, WavePairs };

inline constexpr std::uint32_t kBlockFrames[] = {160, 320};  ///< By packing.
inline constexpr std::uint32_t kBlockBytes[] = {33, 65};

std::u16string missingLibrary();

/// `facts` tells the rate and, unless all that the part holds is wanted, the frames. Fails for a missing
/// library.
bool open(const FilePart& part, Packing packing, StreamFacts facts, CompressedSamples& samples);

/// One channel. The last block is filled up with silence. Appends to the sink.
bool encode(const EncoderInput& input, Packing packing, ByteSink& sink);

}  // namespace vemko::gsm
