#include "codecs/g726.h"

#include <algorithm>
#include <array>
#include <spandsp/telephony.h>
// After what it needs.
#include <spandsp/g726.h>
#include <utility>

#include "base/last_error.h"
#include "codecs/codec_library.h"
#include "codecs/decoder.h"
#include "codecs/pcm.h"

namespace vemko::g726 {
namespace {

constexpr std::size_t kGroupFrames = 8;  // which end on a byte, whatever the bits are
constexpr std::size_t kRunFrames = 1024;
constexpr int kBitRateOfBit = 8000;  // the library knows the codes by their bit rate at 8000 Hz

constexpr LibraryNames kLibrary = {u"libspandsp",
                                   u"Debian package libspandsp2, Windows libspandsp-2.dll",
                                   {"libspandsp.so.2", "libspandsp-2.dll"}};

struct Functions {
  CodecLibrary library{kLibrary};
  decltype(&g726_init) init = library.find("g726_init");
  decltype(&g726_free) free = library.find("g726_free");
  decltype(&g726_decode) decode = library.find("g726_decode");
  decltype(&g726_encode) encode = library.find("g726_encode");
};

const Functions& functions() {
  static const Functions loaded;
  return loaded;
}

struct FreeState {
  void operator()(g726_state_t* state) const { functions().free(state); }
};
using State = std::unique_ptr<g726_state_t, FreeState>;

State makeState(Format format) {
  const int packing = format.order == BitOrder::LowBitsFirst ? G726_PACKING_RIGHT : G726_PACKING_LEFT;
  State state(functions().init(nullptr, static_cast<int>(format.bits) * kBitRateOfBit, G726_ENCODING_LINEAR,
                               packing));
  if (!state) setLastError(u"Out of memory");
  return state;
}

class G726Decoder final : public Decoder {
 public:
  G726Decoder(std::unique_ptr<PartInput> input, Format format, State state)
      : input_(std::move(input)), bits_(format.bits), state_(std::move(state)) {}

  DecodedRun next() override {
    std::array<std::uint8_t, kRunFrames * 5 / 8> stored;
    const auto room = std::span(stored).first(kRunFrames * bits_ / 8);
    const std::size_t bytes = input_->read(std::as_writable_bytes(room));
    if (bytes == 0) return {};
    const auto frames = static_cast<std::size_t>(
        functions().decode(state_.get(), integers_.data(), stored.data(), static_cast<int>(bytes)));
    for (std::size_t i = 0; i < frames; ++i) samples_[i] = static_cast<float>(integers_[i]) * (1.0f / 32768);
    const std::uint64_t first = position_;
    position_ += frames;
    return {first, std::span(samples_).first(frames)};
  }

  bool seek(std::uint64_t) override { return false; }

 private:
  std::unique_ptr<PartInput> input_;
  unsigned bits_;
  State state_;
  std::uint64_t position_ = 0;
  std::array<std::int16_t, kRunFrames + kGroupFrames> integers_{};
  std::array<float, kRunFrames + kGroupFrames> samples_{};
};

SampleEncoding encodingOf(Format format) {
  return static_cast<SampleEncoding>(static_cast<unsigned>(SampleEncoding::Adpcm2) + format.bits - 2);
}

// Energy of the second differences, in relation to that of the samples: rises with high frequencies, of which
// codes in a wrong order make plenty.
double roughness(const FilePart& part, Format format) {
  constexpr std::size_t kRunsHeard = 16;
  auto input = PartInput::open(part);
  State state = makeState(format);
  if (!input || !state) return 0;
  G726Decoder decoder(std::move(input), format, std::move(state));
  double differences = 0, samples = 0;
  float last = 0, lastStep = 0;
  for (std::size_t i = 0; i < kRunsHeard; ++i)
    for (float sample : decoder.next().samples) {
      const float step = sample - last, bend = step - lastStep;
      differences += double{bend} * bend;
      samples += double{sample} * sample;
      last = sample;
      lastStep = step;
    }
  return samples > 0 ? differences / samples : 0;
}

}  // namespace

BitOrder likelyOrder(const FilePart& part, unsigned bits) {
  constexpr double kPlainlySmoother = 0.8;
  if (!functions().library.isAvailable()) return BitOrder::HighBitsFirst;
  const double low = roughness(part, {bits, BitOrder::LowBitsFirst}),
               high = roughness(part, {bits, BitOrder::HighBitsFirst});
  return low < high * kPlainlySmoother ? BitOrder::LowBitsFirst : BitOrder::HighBitsFirst;
}

std::u16string missingLibrary() { return functions().library.missingText(); }

bool open(const FilePart& part, Format format, StreamFacts facts, CompressedSamples& samples) {
  if (!functions().library.require()) return false;
  const std::uint64_t held = part.size * 8 / format.bits;
  DecoderRecipe recipe;
  recipe.part = part;
  recipe.facts = facts;
  recipe.facts.channels = 1;
  recipe.facts.frames = facts.frames == 0 ? held : std::min(facts.frames, held);
  recipe.encoding = encodingOf(format);
  recipe.canSeek = false;  // the decoder's state comes from all samples before
  recipe.open = [format](std::unique_ptr<PartInput> input) -> std::unique_ptr<Decoder> {
    State state = makeState(format);
    if (!state) return nullptr;
    return std::make_unique<G726Decoder>(std::move(input), format, std::move(state));
  };
  return makeDecodedSamples(std::move(recipe), samples);
}

std::uint64_t encodedBytes(Format format, std::uint64_t frames) {
  return (frames + kGroupFrames - 1) / kGroupFrames * format.bits;
}

bool encode(const EncoderInput& input, Format format, ByteSink& sink) {
  if (!functions().library.require()) return false;
  const State state = makeState(format);
  if (!state) return false;
  EncoderBlocks blocks(input, kRunFrames);
  std::array<std::int32_t, kRunFrames> integers{};
  for (;;) {
    const auto samples = blocks.next();
    if (!samples) return false;
    if (samples->empty()) return true;
    const std::size_t frames = (samples->size() + kGroupFrames - 1) / kGroupFrames * kGroupFrames;
    integers.fill(0);
    floatsToIntegers(*samples, 16, std::span(integers).first(samples->size()));
    std::array<std::int16_t, kRunFrames> words;
    std::ranges::transform(integers, words.begin(),
                           [](auto value) { return static_cast<std::int16_t>(value); });
    std::array<std::uint8_t, kRunFrames> stored;
    const int bytes = functions().encode(state.get(), stored.data(), words.data(), static_cast<int>(frames));
    if (!sink.write(std::as_bytes(std::span(stored).first(static_cast<std::size_t>(bytes))))) return false;
  }
}

}  // namespace vemko::g726
