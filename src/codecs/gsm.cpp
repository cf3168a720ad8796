#include "codecs/gsm.h"

#include <algorithm>
#include <array>
#include <gsm.h>
#include <utility>

#include "base/last_error.h"
#include "codecs/codec_library.h"
#include "codecs/decoder.h"
#include "codecs/pcm.h"

namespace vemko::gsm {
namespace {

constexpr std::size_t kSpeechFrames = 160;  // of one codec frame
constexpr std::size_t kLargestBlock = 320;

constexpr LibraryNames kLibrary = {
    u"libgsm", u"Debian package libgsm1, Windows libgsm.dll", {"libgsm.so.1", "libgsm.dll"}};

struct Functions {
  CodecLibrary library{kLibrary};
  decltype(&gsm_create) create = library.find("gsm_create");
  decltype(&gsm_destroy) destroy = library.find("gsm_destroy");
  decltype(&gsm_option) option = library.find("gsm_option");
  decltype(&gsm_encode) encode = library.find("gsm_encode");
  decltype(&gsm_decode) decode = library.find("gsm_decode");
};

const Functions& functions() {
  static const Functions loaded;
  return loaded;
}

std::size_t blockFrames(Packing packing) { return kBlockFrames[static_cast<std::size_t>(packing)]; }
std::size_t blockBytes(Packing packing) { return kBlockBytes[static_cast<std::size_t>(packing)]; }

// The codec's state, which runs on from block to block.
class Codec {
 public:
  explicit Codec(Packing packing) : packing_(packing), state_(functions().create()) {
    int pairs = packing == Packing::WavePairs;
    if (state_) functions().option(state_, GSM_OPT_WAV49, &pairs);
  }
  ~Codec() {
    if (state_) functions().destroy(state_);
  }
  Codec(const Codec&) = delete;
  Codec& operator=(const Codec&) = delete;

  // Of a pair, the first frame takes 33 bytes of which the last is shared with the second.
  bool decode(std::span<gsm_byte> block, std::span<gsm_signal> samples) {
    bool ok = functions().decode(state_, block.data(), samples.data()) == 0;
    if (packing_ == Packing::WavePairs)
      ok = functions().decode(state_, block.data() + 33, samples.data() + kSpeechFrames) == 0 && ok;
    return ok;
  }
  void encode(std::span<gsm_signal> samples, std::span<gsm_byte> block) {
    functions().encode(state_, samples.data(), block.data());
    if (packing_ == Packing::WavePairs)
      functions().encode(state_, samples.data() + kSpeechFrames, block.data() + 32);
  }

 private:
  Packing packing_;
  ::gsm state_;
};

class GsmDecoder final : public Decoder {
 public:
  GsmDecoder(std::unique_ptr<PartInput> input, Packing packing)
      : input_(std::move(input)), packing_(packing), codec_(packing) {}

  DecodedRun next() override {
    std::array<gsm_byte, 65> block{};
    const auto bytes = std::span(block).first(blockBytes(packing_));
    if (input_->read(std::as_writable_bytes(bytes)) < bytes.size()) return {};
    const auto frames = std::span(integers_).first(blockFrames(packing_));
    // A block that is none leaves its place silent.
    if (!codec_.decode(bytes, frames)) std::ranges::fill(frames, gsm_signal{0});
    for (std::size_t i = 0; i < frames.size(); ++i)
      samples_[i] = static_cast<float>(frames[i]) * (1.0f / 32768);
    const std::uint64_t first = position_;
    position_ += frames.size();
    return {first, std::span(samples_).first(frames.size())};
  }

  bool seek(std::uint64_t) override { return false; }

 private:
  std::unique_ptr<PartInput> input_;
  Packing packing_;
  Codec codec_;
  std::uint64_t position_ = 0;
  std::array<gsm_signal, kLargestBlock> integers_{};
  std::array<float, kLargestBlock> samples_{};
};

}  // namespace

std::u16string missingLibrary() { return functions().library.missingText(); }

bool open(const FilePart& part, Packing packing, StreamFacts facts, CompressedSamples& samples) {
  if (!functions().library.require()) return false;
  const std::uint64_t held = part.size / blockBytes(packing) * blockFrames(packing);
  DecoderRecipe recipe;
  recipe.part = part;
  recipe.facts = facts;
  recipe.facts.channels = 1;
  recipe.facts.frames = facts.frames == 0 ? held : std::min(facts.frames, held);
  recipe.encoding = SampleEncoding::Gsm610;
  recipe.canSeek = false;  // the decoder's state comes from all blocks before
  recipe.open = [packing](std::unique_ptr<PartInput> input) {
    return std::make_unique<GsmDecoder>(std::move(input), packing);
  };
  return makeDecodedSamples(std::move(recipe), samples);
}

bool encode(const EncoderInput& input, Packing packing, ByteSink& sink) {
  if (!functions().library.require()) return false;
  Codec codec(packing);
  EncoderBlocks blocks(input, blockFrames(packing));
  std::array<std::int32_t, kLargestBlock> integers{};
  for (;;) {
    const auto samples = blocks.next();
    if (!samples) return false;
    if (samples->empty()) return true;
    integers.fill(0);
    floatsToIntegers(*samples, 16, std::span(integers).first(samples->size()));
    std::array<gsm_signal, kLargestBlock> frames;
    std::ranges::transform(integers, frames.begin(),
                           [](auto value) { return static_cast<gsm_signal>(value); });
    std::array<gsm_byte, 65> block{};
    codec.encode(frames, block);
    if (!sink.write(std::as_bytes(std::span(block).first(blockBytes(packing))))) return false;
  }
}

}  // namespace vemko::gsm
