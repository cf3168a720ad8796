#pragma once
// General audio files through libsndfile.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/bridge.h"

namespace vemko::sndfile {

/// A file type, by the library's number for it (SF_FORMAT_...).
enum class Container : std::uint32_t {
  Aiff = 0x020000,
  Au = 0x030000,
  Paf = 0x050000,
  Nist = 0x070000,
  Voc = 0x080000,
  Ircam = 0x0A0000,
  Wave64 = 0x0B0000,
  Avr = 0x120000,
  CoreAudio = 0x180000,
};

std::u16string missingLibrary();

/// Fails with "The file is damaged or of a kind that can not be read" and for a missing library. The library
/// reads `head` and then the part as one file: a head that the library understands can so take the place of
/// one that it does not.
bool open(const FilePart& part, CompressedSamples& samples, std::vector<std::byte> head = {});

/// Whether the container can hold the encoding at all.
bool canHold(Container container, SampleEncoding encoding);

/// Integers up to 24 bits are stored exactly. Appends to the sink, which must be empty.
bool encode(const EncoderInput& input, Container container, SampleEncoding encoding, ByteSink& sink);

}  // namespace vemko::sndfile
