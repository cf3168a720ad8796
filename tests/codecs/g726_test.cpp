// G.726 against a decoder that follows the recommendation's block diagram, without shortcuts and tables of
// its own making: the numbers are those of ITU-T G.726, section by section.
#include "codecs/g726.h"

#include <array>
#include <cstdlib>
#include <gtest/gtest.h>

#include "formats/audio_support.h"

namespace vemko::test {
namespace {

struct Tables {
  std::vector<int> logMagnitude, scaleStep, speedStep;  // by magnitude of the code
};
// clang-format off
const std::array<Tables, 4> kTables = {{
  {{116, 365}, {-22, 439}, {0, 7}},
  {{-2048, 135, 273, 373}, {-4, 30, 137, 582}, {0, 1, 2, 7}},
  {{-2048, 4, 135, 213, 273, 323, 373, 425}, {-12, 18, 41, 64, 112, 198, 355, 1122}, {0, 0, 0, 1, 1, 1, 3, 7}},
  {{-2048, -66, 28, 104, 169, 224, 274, 318, 358, 395, 429, 459, 488, 514, 539, 566},
   {14, 14, 24, 39, 40, 41, 58, 100, 141, 179, 219, 280, 358, 440, 529, 696},
   {0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 2, 3, 4, 5, 6, 6}}}};
// clang-format on

struct SmallFloat {
  bool negative = false;
  int exponent = 0, mantissa = 32;

  static SmallFloat of(bool isNegative, int magnitude) {
    SmallFloat result{isNegative};
    while (magnitude >> result.exponent) ++result.exponent;
    if (magnitude) result.mantissa = magnitude << 6 >> result.exponent;
    return result;
  }
};

int product(int coefficient, const SmallFloat& b) {
  const SmallFloat a = SmallFloat::of(coefficient < 0, coefficient < 0 ? -coefficient & 8191 : coefficient);
  const int exponent = a.exponent + b.exponent, mantissa = (a.mantissa * b.mantissa + 48) >> 4;
  const int value =
      exponent <= 26 ? mantissa << 7 >> (26 - exponent) : mantissa << 7 << (exponent - 26) & 32767;
  return a.negative != b.negative ? -value : value;
}

class Reference {
 public:
  explicit Reference(unsigned bits) : bits_(bits), tables_(kTables[bits - 2]) {}

  int decode(unsigned code) {
    const unsigned half = 1u << (bits_ - 1);
    const bool negative = code & half;
    const unsigned index = (negative ? ~code : code) & (half - 1);

    int zeros = 0;
    for (std::size_t i = 0; i < b_.size(); ++i) zeros += product(b_[i] >> 2, differences_[i]);
    zeros = static_cast<std::int16_t>(zeros);
    const auto sum = static_cast<std::int16_t>(zeros + product(a_[1] >> 2, signals_[1]) +
                                               product(a_[0] >> 2, signals_[0]));
    const int estimate = sum >> 1, zeroEstimate = zeros >> 1;

    const int speed = speed_ >= 256 ? 64 : speed_ >> 2, lead = fast_ - (slow_ >> 6);
    const int scale = (slow_ >> 6) + (lead < 0 ? -(-lead * speed >> 6) : lead * speed >> 6);
    const int logarithm = tables_.logMagnitude[index] + (scale >> 2);
    const int magnitude = logarithm < 0 ? 0 : ((logarithm & 127) + 128) << 7 >> (14 - (logarithm >> 7 & 15));
    const int difference = negative ? -magnitude : magnitude;

    const int whole = slow_ >> 15, threshold = whole > 9 ? 31 << 10 : (32 + (slow_ >> 10 & 31)) << whole;
    const bool isTransition = tone_ && magnitude > (threshold + (threshold >> 1)) >> 1;
    fast_ = std::clamp(scale + (((tables_.scaleStep[index] << 5) - scale) >> 5), 544, 5120);
    slow_ += fast_ + (-slow_ >> 6);

    const auto signal = static_cast<std::int16_t>(estimate + difference);
    adaptPredictor(zeroEstimate + difference, negative, magnitude, isTransition);
    std::copy_backward(differences_.begin(), differences_.end() - 1, differences_.end());
    differences_[0] = SmallFloat::of(negative, magnitude);
    signals_[1] = signals_[0];
    signals_[0] = SmallFloat::of(signal < 0, signal < 0 ? -signal & 32767 : signal);

    const int step = tables_.speedStep[index];
    shortMean_ += ((step << 9) - shortMean_) >> 5;
    longMean_ += ((step << 11) - longMean_) >> 7;
    const bool isChanging =
        std::abs((shortMean_ << 2) - longMean_) >= longMean_ >> 3 || scale < 1536 || tone_;
    speed_ = isTransition ? 256 : speed_ + (((isChanging << 9) - speed_) >> 4);
    return std::clamp(signal * 4, -32768, 32767);
  }

 private:
  void adaptPredictor(int partial, bool negative, int magnitude, bool isTransition) {
    const bool sign = partial < 0, same0 = sign == sign_[0], same1 = sign == sign_[1];
    sign_ = {sign, sign_[0]};
    if (isTransition) {
      a_ = {};
      b_ = {};
      tone_ = false;
      return;
    }
    int second = a_[1] - (a_[1] >> 7), first = a_[0] - (a_[0] >> 8);
    if (partial != 0) {
      const int limited = std::clamp(a_[0], -8191, 8191) * 4;
      second += ((same1 ? 16384 : -16384) + (same0 ? -limited : limited)) >> 7;
      first += same0 ? 192 : -192;
    }
    a_[1] = std::clamp(second, -12288, 12288);
    a_[0] = std::clamp(first, -(15360 - a_[1]), 15360 - a_[1]);
    for (std::size_t i = 0; i < b_.size(); ++i) {
      b_[i] -= b_[i] >> (bits_ == 5 ? 9 : 8);
      if (magnitude) b_[i] += negative == differences_[i].negative ? 128 : -128;
    }
    tone_ = a_[1] < -11776;
  }

  unsigned bits_;
  const Tables& tables_;
  std::array<int, 2> a_{};
  std::array<int, 6> b_{};
  std::array<SmallFloat, 6> differences_;
  std::array<SmallFloat, 2> signals_;
  std::array<bool, 2> sign_{};
  int shortMean_ = 0, longMean_ = 0, speed_ = 0, fast_ = 544, slow_ = 34816;
  bool tone_ = false;
};

struct VectorStream final : SampleStream {
  explicit VectorStream(const std::vector<float>& from) : samples(from) {}
  std::optional<std::size_t> read(std::span<float> out) override {
    const std::size_t count = std::min(out.size(), samples.size() - position);
    std::copy_n(samples.begin() + static_cast<std::ptrdiff_t>(position), count, out.begin());
    position += count;
    return count;
  }
  const std::vector<float>& samples;
  std::size_t position = 0;
};

std::vector<std::byte> encoded(const std::vector<float>& samples, g726::Format format) {
  VectorStream stream(samples);
  MemorySink sink;
  EXPECT_TRUE(g726::encode({stream, samples.size(), 8000, 1}, format, sink)) << toUtf8(lastError());
  EXPECT_EQ(sink.size(), g726::encodedBytes(format, samples.size()));
  return sink.bytes;
}

TEST(G726, DecodesAsTheRecommendationDoes) {
  if (!g726::missingLibrary().empty()) GTEST_SKIP() << "libspandsp is missing";
  for (unsigned bits = 2; bits <= 5; ++bits)
    for (g726::BitOrder order : {g726::BitOrder::LowBitsFirst, g726::BitOrder::HighBitsFirst}) {
      SCOPED_TRACE(bits);
      const std::vector<std::byte> codes = encoded(music(8001, 1, 8000), {bits, order});
      CompressedSamples samples;
      ASSERT_TRUE(g726::open(FilePart::inMemory(codes), {bits, order}, {0, 8000, 1, 0}, samples))
          << toUtf8(lastError());
      std::vector<float> found(samples.facts.frames);
      ASSERT_EQ(samples.source->open(0)->read(found), 8008u);
      Reference reference(bits);
      std::size_t different = 0;
      for (std::size_t i = 0, bit = 0; i < found.size(); ++i) {
        unsigned code = 0;
        for (unsigned n = 0; n < bits; ++n, ++bit) {
          const auto byte = std::to_integer<unsigned>(codes[bit / 8]);
          if (order == g726::BitOrder::HighBitsFirst)
            code = code << 1 | (byte >> (7 - bit % 8) & 1);
          else
            code |= (byte >> bit % 8 & 1) << n;
        }
        different += found[i] != static_cast<float>(reference.decode(code)) / 32768;
      }
      EXPECT_EQ(different, 0u);
      const bool isTooCoarse = bits == 2;  // to tell the orders apart
      EXPECT_TRUE(isTooCoarse || g726::likelyOrder(FilePart::inMemory(codes), bits) == order);
    }
}

}  // namespace
}  // namespace vemko::test
