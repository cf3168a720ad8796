#include "codecs/pcm.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/wider_vectors.h"
#include "codecs/companded.h"

namespace vemko {
namespace {

// Every loop below reads or writes through memcpy, which the compiler turns into plain, vectorised accesses;
// stored samples stand at any address.
template <class T>
T load(const std::byte* at) {
  T value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

template <class T>
void store(std::byte* at, T value) {
  std::memcpy(at, &value, sizeof value);
}

template <class T, bool kSwap>
void decodeIntegers(const std::byte* stored, float* floats, std::size_t count) {
  constexpr float kScale = 1.0f / (static_cast<float>(1u << (sizeof(T) * 8 - 2)) * 2.0f);
  for (std::size_t i = 0; i < count; ++i) {
    T value = load<T>(stored + i * sizeof(T));
    if constexpr (kSwap) value = byteSwapped(value);
    floats[i] = static_cast<float>(value) * kScale;
  }
}

template <class T, bool kSwap>
void decodeFloats(const std::byte* stored, float* floats, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    T value = load<T>(stored + i * sizeof(T));
    if constexpr (kSwap) value = byteSwapped(value);
    floats[i] = static_cast<float>(value);
  }
}

void decodeUnsigned8(const std::byte* stored, float* floats, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    floats[i] = static_cast<float>(static_cast<int>(stored[i]) - 128) * (1.0f / 128);
}

// Three bytes are taken as the upper three of a word, whose sign is then the sample's.
template <bool kSwap>
void decode24(const std::byte* stored, float* floats, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const std::byte* at = stored + i * 3;
    std::byte bytes[4] = {std::byte{0}, at[kSwap ? 2 : 0], at[1], at[kSwap ? 0 : 2]};
    floats[i] = static_cast<float>(load<std::int32_t>(bytes)) * (1.0f / 2147483648.0f);
  }
}

template <std::int16_t expand(std::uint8_t)>
void decodeCompanded(const std::byte* stored, float* floats, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    floats[i] = static_cast<float>(expand(static_cast<std::uint8_t>(stored[i]))) * (1.0f / 32768);
}

// In the processor's mode, which is to nearest. GCC vectorises its own 32-bit form, but not lrint with its
// 64-bit result.
inline std::int32_t roundToInteger(float value) {
#if defined(__GNUC__) && !defined(__clang__)
  return __builtin_irintf(value);
#else
  return static_cast<std::int32_t>(std::lrint(value));
#endif
}

// To nearest, clamped to -scale..scale-1; not-a-number gives 0. Bits up to 24 are exact in a float.
inline std::int32_t scaleToInteger(float sample, float scale) {
  float scaled = sample == sample ? sample * scale : 0.0f;
  scaled = scaled > -scale ? scaled : -scale;
  scaled = scaled < scale - 1 ? scaled : scale - 1;
  return roundToInteger(scaled);
}

template <int kBits>
std::int32_t toInteger(float sample) {
  return scaleToInteger(sample, static_cast<float>(1u << (kBits - 1)));
}

// The largest float below 2^31 is 127 short of the largest integer, which full scale shall reach.
template <>
std::int32_t toInteger<32>(float sample) {
  if (sample >= 1.0f) return INT32_MAX;
  if (sample <= -1.0f) return INT32_MIN;
  return sample == sample ? roundToInteger(sample * 2147483648.0f) : 0;
}

template <class T, bool kSwap>
VEMKO_WIDER void encodeIntegers(const float* floats, std::byte* stored, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    T value = static_cast<T>(toInteger<sizeof(T) * 8>(floats[i]));
    if constexpr (kSwap) value = byteSwapped(value);
    store(stored + i * sizeof(T), value);
  }
}

VEMKO_WIDER void encodeUnsigned8(const float* floats, std::byte* stored, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) stored[i] = static_cast<std::byte>(toInteger<8>(floats[i]) + 128);
}

// Eight 24-bit values, in the low bits of their words, to 24 bytes in three stores.
void pack24(const std::uint32_t* values, std::byte* stored) {
  std::uint64_t v[8];
  for (int i = 0; i < 8; ++i) v[i] = values[i];
  store(stored, v[0] | v[1] << 24 | v[2] << 48);
  store(stored + 8, v[2] >> 16 | v[3] << 8 | v[4] << 32 | v[5] << 56);
  store(stored + 16, v[5] >> 8 | v[6] << 16 | v[7] << 40);
}

// Converts a run first, which vectorises, and packs it then.
template <bool kSwap>
VEMKO_WIDER void encode24(const float* floats, std::byte* stored, std::size_t count) {
  constexpr std::size_t kRun = 256;
  std::uint32_t values[kRun];
  for (std::size_t run; count > 0; floats += run, stored += run * 3, count -= run) {
    run = std::min(count, kRun);
    for (std::size_t i = 0; i < run; ++i) {
      std::uint32_t value = static_cast<std::uint32_t>(toInteger<24>(floats[i]));
      values[i] = kSwap ? (value & 0xFF) << 16 | (value & 0xFF00) | (value >> 16 & 0xFF) : value & 0xFFFFFF;
    }
    std::size_t i = 0;
    for (; i + 8 <= run; i += 8) pack24(values + i, stored + i * 3);
    for (; i < run; ++i) std::memcpy(stored + i * 3, &values[i], 3);
  }
}

VEMKO_WIDER void encodeWords(const float* floats, float scale, std::int32_t* integers, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) integers[i] = scaleToInteger(floats[i], scale);
}

template <class T, bool kSwap>
void encodeFloats(const float* floats, std::byte* stored, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    T value = static_cast<T>(floats[i]);
    if constexpr (kSwap) value = byteSwapped(value);
    store(stored + i * sizeof(T), value);
  }
}

template <std::uint8_t compress(std::int16_t)>
void encodeCompanded(const float* floats, std::byte* stored, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    stored[i] = static_cast<std::byte>(compress(static_cast<std::int16_t>(toInteger<16>(floats[i]))));
}

struct PcmRow {
  SampleEncoding encoding;
  std::uint8_t bytes;
  void (*decode[2])(const std::byte*, float*, std::size_t);  // little-endian, big-endian
  void (*encode[2])(const float*, std::byte*, std::size_t);
};

// clang-format off
constexpr PcmRow kRows[] = {
  {SampleEncoding::Pcm8,    1, {decodeUnsigned8, decodeUnsigned8},
                               {encodeUnsigned8, encodeUnsigned8}},
  {SampleEncoding::Pcm16,   2, {decodeIntegers<std::int16_t, false>, decodeIntegers<std::int16_t, true>},
                               {encodeIntegers<std::int16_t, false>, encodeIntegers<std::int16_t, true>}},
  {SampleEncoding::Pcm24,   3, {decode24<false>, decode24<true>},
                               {encode24<false>, encode24<true>}},
  {SampleEncoding::Pcm32,   4, {decodeIntegers<std::int32_t, false>, decodeIntegers<std::int32_t, true>},
                               {encodeIntegers<std::int32_t, false>, encodeIntegers<std::int32_t, true>}},
  {SampleEncoding::Float32, 4, {decodeFloats<float, false>, decodeFloats<float, true>},
                               {encodeFloats<float, false>, encodeFloats<float, true>}},
  {SampleEncoding::Float64, 8, {decodeFloats<double, false>, decodeFloats<double, true>},
                               {encodeFloats<double, false>, encodeFloats<double, true>}},
  {SampleEncoding::MuLaw,   1, {decodeCompanded<decodeMuLaw>, decodeCompanded<decodeMuLaw>},
                               {encodeCompanded<encodeMuLaw>, encodeCompanded<encodeMuLaw>}},
  {SampleEncoding::ALaw,    1, {decodeCompanded<decodeALaw>, decodeCompanded<decodeALaw>},
                               {encodeCompanded<encodeALaw>, encodeCompanded<encodeALaw>}},
};
constexpr PcmRow kSigned8 = {SampleEncoding::Pcm8, 1,
    {decodeIntegers<std::int8_t, false>, decodeIntegers<std::int8_t, false>},
    {encodeIntegers<std::int8_t, false>, encodeIntegers<std::int8_t, false>}};
// clang-format on

const PcmRow* rowOf(const PcmFormat& format) {
  if (format.encoding == SampleEncoding::Pcm8 && format.signed8) return &kSigned8;
  for (const PcmRow& row : kRows)
    if (row.encoding == format.encoding) return &row;
  return nullptr;
}

}  // namespace

std::size_t bytesPerSample(const PcmFormat& format) {
  const PcmRow* row = rowOf(format);
  return row ? row->bytes : 0;
}

void decodePcm(const PcmFormat& format, Bytes stored, std::span<float> floats) {
  if (const PcmRow* row = rowOf(format))
    row->decode[format.bigEndian](stored.data(), floats.data(), floats.size());
}

void encodePcm(const PcmFormat& format, std::span<const float> floats, std::span<std::byte> stored) {
  if (const PcmRow* row = rowOf(format))
    row->encode[format.bigEndian](floats.data(), stored.data(), floats.size());
}

void floatsToIntegers(std::span<const float> floats, unsigned bits, std::span<std::int32_t> integers) {
  encodeWords(floats.data(), static_cast<float>(1u << (bits - 1)), integers.data(), floats.size());
}

}  // namespace vemko
