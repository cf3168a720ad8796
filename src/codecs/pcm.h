#pragma once
// Samples between their stored bytes and floats: integer PCM, floats and the companded encodings. Plain loops
// that the compiler vectorises; no allocation.
#include <cstddef>
#include <cstdint>
#include <span>

#include "base/bytes.h"
#include "core/sample_encoding.h"

namespace vemko {

/// How single samples stand in a file. PCM of a width between the encodings is left-justified in its
/// container and read as PCM of the container's width: 12 bits in two bytes are Pcm16, 20 in three Pcm24, 27
/// in four Pcm32.
struct PcmFormat {
  SampleEncoding encoding = SampleEncoding::Pcm16;  ///< Pcm8, 16, 24, 32, Float32, Float64, MuLaw, ALaw.
  bool bigEndian = false;
  bool signed8 = false;  ///< 8-bit PCM as signed bytes; otherwise unsigned with 128 as silence.

  friend bool operator==(const PcmFormat&, const PcmFormat&) = default;
};

/// Bytes of one sample; 0 for an encoding that is none of the above.
std::size_t bytesPerSample(const PcmFormat& format);

/// Stored samples to floats, integers scaled by 1/2^(bits-1); stored.size() = floats.size() x bytesPerSample.
void decodePcm(const PcmFormat& format, Bytes stored, std::span<float> floats);

/// Floats to stored samples, rounded to nearest and clamped; not-a-number becomes 0 in integers.
void encodePcm(const PcmFormat& format, std::span<const float> floats, std::span<std::byte> stored);

/// Floats to integers of 2 to 24 bits, as codecs take them: rounded and clamped as above.
void floatsToIntegers(std::span<const float> floats, unsigned bits, std::span<std::int32_t> integers);

}  // namespace vemko
