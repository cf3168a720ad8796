#include "codecs/decoder.h"

#include <algorithm>
#include <atomic>
#include <string>
#include <utility>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"

namespace vemko {
namespace {

// Music has fewer frames a byte; a stream that claims more is silent, or lies.
constexpr std::uint64_t kPlausibleFramesPerByte = 64;

struct Shared {
  DecoderRecipe recipe;
  std::atomic<bool> warned = false;  // once a source, however many streams read it
};

std::unique_ptr<Decoder> openDecoder(const DecoderRecipe& recipe) {
  auto input = PartInput::open(recipe.part);
  return input ? recipe.open(std::move(input)) : nullptr;
}

void warnOfDamage(Shared& shared, std::uint64_t from, std::uint64_t to) {
  if (shared.warned.exchange(true)) return;
  const SourceFile* file = shared.recipe.part.file.get();
  logWarning((file ? textOf(file->path()) + u": the" : std::u16string(u"The")) +
             toUtf16(formatted(" compressed samples are damaged, frames %llu to %llu are silent",
                               static_cast<unsigned long long>(from), static_cast<unsigned long long>(to))));
}

class DecodedStream final : public SampleStream {
 public:
  DecodedStream(std::shared_ptr<Shared> shared, std::unique_ptr<Decoder> decoder, std::uint64_t firstFrame)
      : shared_(std::move(shared)), decoder_(std::move(decoder)), position_(firstFrame) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const StreamFacts& facts = shared_->recipe.facts;
    const std::size_t channels = facts.channels;
    const auto wanted =
        static_cast<std::size_t>(std::min<std::uint64_t>(out.size() / channels, facts.frames - position_));
    for (std::span<float> rest = out.first(wanted * channels); !rest.empty();) {
      const std::size_t frames = give(rest, channels);
      rest = rest.subspan(frames * channels);
      position_ += frames;
    }
    return wanted;
  }

 private:
  // Fills a part of `out` that is at least one frame.
  std::size_t give(std::span<float> out, std::size_t channels) {
    const std::size_t wanted = out.size() / channels;
    skipOverlap(channels);
    while (run_.samples.empty() && !ended_) {
      run_ = decoder_->next();
      ended_ = run_.samples.empty();
      skipOverlap(channels);
    }
    if (ended_ || run_.first > position_) {
      const std::uint64_t end = ended_ ? shared_->recipe.facts.frames : run_.first;
      warnOfDamage(*shared_, position_, end);
      const auto frames = static_cast<std::size_t>(std::min<std::uint64_t>(wanted, end - position_));
      std::fill_n(out.begin(), frames * channels, 0.0f);
      return frames;
    }
    const std::size_t frames = std::min(wanted, run_.samples.size() / channels);
    std::copy_n(run_.samples.begin(), frames * channels, out.begin());
    advanceRun(frames, channels);
    return frames;
  }

  void advanceRun(std::size_t frames, std::size_t channels) {
    run_.first += frames;
    run_.samples = run_.samples.subspan(frames * channels);
  }

  // Frames before the position: behind a seek, or where a damaged stream gives some twice.
  void skipOverlap(std::size_t channels) {
    const std::uint64_t frames = run_.samples.size() / channels;
    if (run_.first < position_)
      advanceRun(static_cast<std::size_t>(std::min(position_ - run_.first, frames)), channels);
  }

  std::shared_ptr<Shared> shared_;
  std::unique_ptr<Decoder> decoder_;
  std::uint64_t position_;
  DecodedRun run_;
  bool ended_ = false;
};

class DecodedSource final : public SampleSource {
 public:
  explicit DecodedSource(DecoderRecipe recipe) : shared_(std::make_shared<Shared>()) {
    shared_->recipe = std::move(recipe);
  }

  std::unique_ptr<SampleStream> open(std::uint64_t firstFrame) const override {
    const DecoderRecipe& recipe = shared_->recipe;
    firstFrame = std::min(firstFrame, recipe.facts.frames);
    auto decoder = openDecoder(recipe);
    // Where the library cannot find the place, decoding from the start does.
    if (decoder && firstFrame > 0 && recipe.canSeek && !decoder->seek(firstFrame))
      decoder = openDecoder(recipe);
    if (!decoder) return nullptr;
    return std::make_unique<DecodedStream>(shared_, std::move(decoder), firstFrame);
  }

  const std::shared_ptr<SourceFile>& file() const override { return shared_->recipe.part.file; }
  SampleEncoding encoding() const override { return shared_->recipe.encoding; }
  bool canSeek() const override { return shared_->recipe.canSeek; }

 private:
  std::shared_ptr<Shared> shared_;
};

bool countFrames(DecoderRecipe& recipe) {
  auto decoder = openDecoder(recipe);
  if (!decoder) return false;
  std::uint64_t frames = 0;
  for (DecodedRun run = decoder->next(); !run.samples.empty(); run = decoder->next()) {
    // Only what follows on counts here: a damaged place may claim any position.
    if (recipe.facts.frames != 0 && run.first > recipe.facts.frames) break;
    frames += run.samples.size() / recipe.facts.channels;
  }
  recipe.facts.frames = recipe.facts.frames == 0 ? frames : std::min(frames, recipe.facts.frames);
  return true;
}

bool givesAnything(const DecoderRecipe& recipe) {
  auto decoder = openDecoder(recipe);
  return decoder && !decoder->next().samples.empty();
}

}  // namespace

bool makeDecodedSamples(DecoderRecipe recipe, CompressedSamples& samples) {
  StreamFacts& facts = recipe.facts;
  if (facts.channels == 0 || facts.rate == 0) return fail(u"The compressed samples can not be decoded");
  const bool isPlausible = facts.frames / kPlausibleFramesPerByte <= recipe.part.size;
  if ((facts.frames == 0 || !isPlausible) && !countFrames(recipe)) return false;
  const bool isEmpty = facts.frames == 0 && recipe.encoding != SampleEncoding::Codec;
  if (!isEmpty && !givesAnything(recipe)) return fail(u"The compressed samples can not be decoded");
  samples.facts = facts;
  samples.source = std::make_shared<DecodedSource>(std::move(recipe));
  return true;
}

SampleEncoding encodingOfBits(unsigned bits) {
  if (bits == 0) return SampleEncoding::Codec;
  if (bits <= 8) return SampleEncoding::Pcm8;
  if (bits <= 12) return SampleEncoding::Pcm12;
  if (bits <= 16) return SampleEncoding::Pcm16;
  if (bits <= 20) return SampleEncoding::Pcm20;
  return bits <= 24 ? SampleEncoding::Pcm24 : SampleEncoding::Pcm32;
}

}  // namespace vemko
