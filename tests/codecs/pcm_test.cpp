#include "codecs/pcm.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "codecs/companded.h"

namespace vemko {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

struct Case {
  const char* name;
  PcmFormat format;
  float sample;
  std::vector<int> stored;  // bytes
};

std::vector<int> encoded(const PcmFormat& format, float sample) {
  std::vector<std::byte> stored(bytesPerSample(format));
  encodePcm(format, {&sample, 1}, stored);
  std::vector<int> bytes;
  for (std::byte b : stored) bytes.push_back(static_cast<int>(b));
  return bytes;
}

TEST(Pcm, EncodesToNearestClampedAndInTheRightOrder) {
  using enum SampleEncoding;
  const Case cases[] = {
      {"silence, unsigned byte", {Pcm8}, 0.0f, {0x80}},
      {"silence, signed byte", {Pcm8, false, true}, 0.0f, {0x00}},
      {"full scale clamps", {Pcm8}, 1.0f, {0xFF}},
      {"half a step rounds to even", {Pcm16}, 0.5f / 32768, {0x00, 0x00}},
      {"one and a half steps round to even", {Pcm16}, 1.5f / 32768, {0x02, 0x00}},
      {"just over half a step", {Pcm16}, -0.51f / 32768, {0xFF, 0xFF}},
      {"16 bit little-endian", {Pcm16}, -0.5f, {0x00, 0xC0}},
      {"16 bit big-endian", {Pcm16, true}, -0.5f, {0xC0, 0x00}},
      {"24 bit little-endian", {Pcm24}, 3.0f / 8388608, {3, 0, 0}},
      {"24 bit big-endian", {Pcm24, true}, -3.0f / 8388608, {0xFF, 0xFF, 0xFD}},
      {"24 bit full scale", {Pcm24}, 1.0f, {0xFF, 0xFF, 0x7F}},
      {"32 bit full scale", {Pcm32}, 1.0f, {0xFF, 0xFF, 0xFF, 0x7F}},
      {"32 bit most negative", {Pcm32, true}, -1.0f, {0x80, 0, 0, 0}},
      {"32 bit just over half a step", {Pcm32}, -0.51f / 2147483648, {0xFF, 0xFF, 0xFF, 0xFF}},
      {"huge", {Pcm16}, 1e38f, {0xFF, 0x7F}},
      {"infinite", {Pcm24}, -kInfinity, {0, 0, 0x80}},
      {"infinite in 32 bit", {Pcm32}, kInfinity, {0xFF, 0xFF, 0xFF, 0x7F}},
      {"not a number", {Pcm16}, kNan, {0, 0}},
      {"not a number in 8 bit", {Pcm8}, kNan, {0x80}},
      {"not a number in 32 bit", {Pcm32}, kNan, {0, 0, 0, 0}},
      {"float beyond full scale stays", {Float32, true}, 2.0f, {0x40, 0, 0, 0}},
      {"double", {Float64}, -1.0f, {0, 0, 0, 0, 0, 0, 0xF0, 0xBF}},
      {"mu-law silence", {MuLaw}, 0.0f, {0xFF}},
      {"mu-law full scale", {MuLaw}, 1.0f, {0x80}},
      {"A-law silence", {ALaw}, 0.0f, {0xD5}},
      {"A-law most negative", {ALaw}, -1.0f, {0x2A}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(encoded(c.format, c.sample), c.stored);
  }
}

// Every stored value of up to 24 bits survives the trip through floats, whatever its order and alignment.
TEST(Pcm, RoundTripsEveryIntegerValue) {
  using enum SampleEncoding;
  const PcmFormat formats[] = {{Pcm8}, {Pcm8, false, true}, {Pcm16}, {Pcm16, true}, {Pcm24}, {Pcm24, true}};
  for (const PcmFormat& format : formats) {
    SCOPED_TRACE(static_cast<int>(format.encoding) * 2 + format.bigEndian);
    const std::size_t width = bytesPerSample(format), count = std::size_t{1} << (width * 8);
    std::vector<std::byte> stored(count * width + 1), again(stored.size());
    for (std::size_t i = 0; i < count; ++i)
      for (std::size_t b = 0; b < width; ++b)
        stored[1 + i * width + b] = static_cast<std::byte>(i >> (8 * b));
    std::vector<float> floats(count);
    decodePcm(format, Bytes(stored).subspan(1), floats);
    encodePcm(format, floats, std::span(again).subspan(1));
    EXPECT_TRUE(stored == again);
    auto [low, high] = std::minmax_element(floats.begin(), floats.end());
    EXPECT_EQ(*low, -1.0f);
    EXPECT_EQ(*high, 1.0f - 1.0f / static_cast<float>(count / 2));
  }
}

TEST(Companded, CodesAreNearestAndRoundTrip) {
  struct Law {
    const char* name;
    std::int16_t (*decode)(std::uint8_t);
    std::uint8_t (*encode)(std::int16_t);
    std::int16_t largest, smallestPositive;
  };
  const Law laws[] = {{"mu-law", decodeMuLaw, encodeMuLaw, 32124, 8},
                      {"A-law", decodeALaw, encodeALaw, 32256, 8}};
  for (const Law& law : laws) {
    SCOPED_TRACE(law.name);
    int largest = 0, smallestPositive = 32767;
    for (int code = 0; code < 256; ++code) {
      int value = law.decode(static_cast<std::uint8_t>(code));
      EXPECT_EQ(law.decode(law.encode(static_cast<std::int16_t>(value))), value);
      largest = std::max(largest, value);
      if (value > 0) smallestPositive = std::min(smallestPositive, value);
    }
    EXPECT_EQ(largest, law.largest);
    EXPECT_EQ(smallestPositive, law.smallestPositive);
    for (int value = -32768; value <= 32767; value += 7) {
      int nearest = 65536;
      for (int code = 0; code < 256; ++code)
        nearest = std::min(nearest, std::abs(law.decode(static_cast<std::uint8_t>(code)) - value));
      ASSERT_EQ(std::abs(law.decode(law.encode(static_cast<std::int16_t>(value))) - value), nearest) << value;
    }
  }
}

}  // namespace
}  // namespace vemko
