#pragma once
// G.726 speech (of which G.721 and G.723 are the former names of the 4-bit and the 3- and 5-bit codes), mono,
// through libspandsp: 2 to 5 bits a sample, packed into bytes without gaps.
#include "codecs/bridge.h"

namespace vemko::g726 {

/// Where the first of the codes in a byte stands.
enum class BitOrder : std::uint8_t { LowBitsFirst, HighBitsFirst };

struct Format {
  unsigned bits = 4;  ///< 2 to 5
  BitOrder order = BitOrder::LowBitsFirst;
};

std::u16string missingLibrary();

/// The order in which the codes that the part begins with give the smoother sound, because writers of WAVE
/// files disagree; HighBitsFirst where that does not decide it, or the library is missing.
BitOrder likelyOrder(const FilePart& part, unsigned bits);

/// `facts` tells the rate and, unless all that the part holds is wanted, the frames. Fails for a missing
/// library.
bool open(const FilePart& part, Format format, StreamFacts facts, CompressedSamples& samples);

/// Bytes of that many frames: whole groups of 8 frames, which end on a byte.
std::uint64_t encodedBytes(Format format, std::uint64_t frames);

/// One channel; filled up with silence to encodedBytes(). Appends to the sink.
bool encode(const EncoderInput& input, Format format, ByteSink& sink);

}  // namespace vemko::g726
