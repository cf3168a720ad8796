#pragma once
// What all decoders share: a codec gives runs of decoded frames, each at its place; this side makes a
// deferred sample source of them. Frames that are lost to damage are silent, so that everything behind them,
// loops above all, stays where it was; a warning is logged.
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "codecs/bridge.h"

namespace vemko {

/// Decoded frames and where they belong; `samples` is valid until the decoder is asked again.
struct DecodedRun {
  std::uint64_t first = 0;  ///< Frame.
  std::span<const float> samples;
};

class Decoder {
 public:
  virtual ~Decoder() = default;
  /// The next frames in order. No samples: nothing more can be decoded.
  virtual DecodedRun next() = 0;
  /// Goes on at that frame or a little before it; false when it cannot, and then the decoder is of no more
  /// use.
  virtual bool seek(std::uint64_t frame) = 0;
};

struct DecoderRecipe {
  FilePart part;
  StreamFacts facts;
  SampleEncoding encoding = SampleEncoding::Codec;  ///< As a user is told.
  /// Frames decoded after a seek are bit for bit those of decoding from the start.
  bool canSeek = false;
  /// Null with the last error message set.
  std::function<std::unique_ptr<Decoder>(std::unique_ptr<PartInput>)> open;
};

/// The samples to be decoded when they are needed. A frame count of 0, and one that so few bytes can hardly
/// hold, is replaced by what decoding the stream once gives. Fails as recipe.open does, when there are no
/// channels or no sample rate, and when nothing can be decoded, save that lossless files may be empty.
bool makeDecodedSamples(DecoderRecipe recipe, CompressedSamples& samples);

/// The encoding that says "integers of so many bits"; Codec for 0.
SampleEncoding encodingOfBits(unsigned bits);

}  // namespace vemko
