#pragma once
// WavPack through libwavpack: integers and floats, lossless (hybrid files are read as what is there).
#include "codecs/bridge.h"

namespace vemko::wavpack {

std::u16string missingLibrary();

/// The WAVE file that the samples were taken from, around them.
struct Wrapper {
  std::vector<std::byte> header;   ///< Up to the first sample.
  std::vector<std::byte> trailer;  ///< Behind the last.
};

/// Fails with "Not a WavPack file" and for a missing library. `wrapper` may be null.
bool open(const FilePart& part, CompressedSamples& samples, Wrapper* wrapper = nullptr);

struct EncodeOptions {
  unsigned bits = 16;    ///< 8 to 24; ignored for floats.
  bool isFloat = false;  ///< 32 bits.
};
/// Appends to the sink. An empty wrapper leaves it to the reader how to make a WAVE file.
bool encode(const EncoderInput& input, const EncodeOptions& options, const Wrapper& wrapper, ByteSink& sink);

}  // namespace vemko::wavpack
