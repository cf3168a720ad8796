#pragma once
// The "fmt " chunk: one table of format tags that reader and writer share.
#include <cstdint>
#include <memory>
#include <optional>

#include "codecs/adpcm.h"
#include "codecs/pcm.h"
#include "core/sample_source.h"
#include "formats/riff/wave_coded.h"

namespace vemko::riff {

/// Integers that PcmFormat has no word for: 32 bits from `offset` on in every `stride` bytes, shifted left by
/// `shift`.
struct IntegerLayout {
  std::uint8_t stride = 8;
  std::uint8_t offset = 4;
  std::uint8_t shift = 0;
  bool bigEndian = false;
};

/// Sample data as a "fmt " chunk describes them.
struct WaveFormat {
  enum class Storage : std::uint8_t { Pcm, Integers, Adpcm };

  Storage storage = Storage::Pcm;
  std::uint8_t channels = 1;
  std::uint32_t rate = 44100;         ///< Hz
  PcmFormat pcm;                      ///< For Pcm.
  IntegerLayout integers;             ///< For Integers.
  AdpcmFormat adpcm;                  ///< For Adpcm.
  bool isJustifiedEitherWay = false;  ///< 24 bits in four bytes, in a chunk that does not say which three.
  std::optional<CodedFormat> coded;   ///< Instead of all that, for samples that a codec library decodes.
};

/// False, with the reason as last error message, for what cannot be decoded. Mends a wrong block align and a
/// sample rate of 0, for which 44100 Hz is taken. Integers of any width up to 64 bits are left-justified in
/// their containers.
bool parseFormat(Bytes body, WaveFormat& format);

/// For samples that stand with their high byte first. Companded and ADPCM ones are strings of bytes, which
/// have no order.
void setBigEndian(WaveFormat& format);

/// 24 bits in four bytes stand in the upper three as published, but recorders under Linux put them into the
/// lower three: the data decide.
void settleJustification(Bytes data, WaveFormat& format);

/// Frames in that many bytes of sample data that need no codec library.
std::uint64_t framesIn(const WaveFormat& format, std::uint64_t byteCount);

/// The deferred samples, likewise.
std::shared_ptr<const SampleSource> makeSource(const WaveFormat& format, std::shared_ptr<SourceFile> file,
                                               std::uint64_t offset, std::uint64_t byteCount,
                                               std::uint64_t frames);

/// The body to be written for an encoding of the table; more than two channels are always `extensible`.
FormatChunk buildFormat(SampleEncoding encoding, std::uint8_t channels, std::uint32_t rate, bool extensible);

}  // namespace vemko::riff
