#pragma once
// Encodings of WAVE files that codec libraries know: GSM 06.10, the ADPCM of G.721, G.723 and G.726, MPEG
// audio and, to read, Ogg Vorbis.
#include <cstdint>
#include <optional>

#include "codecs/bridge.h"
#include "core/sample_encoding.h"

namespace vemko::riff {

struct CodedFormat {
  enum class Codec : std::uint8_t { Gsm, G726, Mpeg, Vorbis };

  Codec codec = Codec::Gsm;
  std::uint8_t bits = 0;          ///< Of a G.726 code.
  std::uint32_t delayFrames = 0;  ///< What MPEG audio begins with, besides the samples.
};

/// Nothing for a format tag of another kind. `bits` and `extra` are fields of the "fmt " chunk.
std::optional<CodedFormat> codedFormat(std::uint16_t tag, std::uint16_t bits, Bytes extra);

/// Always false: names the codec that a format tag stands for, where it is known by name.
bool failUnknownTag(std::uint16_t tag);

/// `facts` holds what the "fmt " chunk says of channels and rate. Fails for a missing library, and for speech
/// of several channels.
bool openCoded(const CodedFormat& format, const FilePart& part, const StreamFacts& facts,
               CompressedSamples& samples);

struct FormatChunk {
  ByteWriter body;
  bool needsFact = false;  ///< The format tag is another one than that of plain PCM.
};

bool isCoded(SampleEncoding encoding);
/// `setting` is an index of compression settings, for MPEG audio.
FormatChunk buildCodedFormat(SampleEncoding encoding, std::uint8_t channels, std::uint32_t rate,
                             std::uint32_t setting);
/// Frames that the "fact" chunk tells: GSM 06.10 has whole blocks only.
std::uint64_t codedFrames(SampleEncoding encoding, std::uint64_t frames);
/// Appends the sample data. Fails for a missing library, and where the codec does not have the sample rate.
bool encodeCoded(SampleEncoding encoding, const EncoderInput& input, std::uint32_t setting, ByteSink& sink);

}  // namespace vemko::riff
