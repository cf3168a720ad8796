#include "formats/soundfont/sf_split_source.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "codecs/pcm.h"

namespace vemko::soundfont {
namespace {

constexpr std::size_t kBlockPoints = 16384;

class SplitStream final : public SampleStream {
 public:
  SplitStream(std::shared_ptr<InputFile> file, const SplitSamples& place)
      : file_(std::move(file)), place_(place) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    std::size_t done = 0;
    while (done < out.size() && place_.points > 0) {
      const auto points =
          static_cast<std::size_t>(std::min<std::uint64_t>({out.size() - done, kBlockPoints, place_.points}));
      if (!readPoints(points)) return std::nullopt;
      decodePcm({SampleEncoding::Pcm24}, joined_, out.subspan(done, points));
      place_.highOffset += points * 2;
      place_.lowOffset += points;
      place_.points -= points;
      done += points;
    }
    return done;
  }

 private:
  bool readPoints(std::size_t points) {
    high_.resize(points * 2);
    low_.resize(points);
    joined_.resize(points * 3);
    if (!file_->readAt(place_.highOffset, high_) || !file_->readAt(place_.lowOffset, low_)) return false;
    for (std::size_t i = 0; i < points; ++i) {
      joined_[i * 3] = low_[i];
      joined_[i * 3 + 1] = high_[i * 2];
      joined_[i * 3 + 2] = high_[i * 2 + 1];
    }
    return true;
  }

  std::shared_ptr<InputFile> file_;
  SplitSamples place_;  // of what is still to be read
  std::vector<std::byte> high_, low_, joined_;
};

class SplitSource final : public SampleSource {
 public:
  SplitSource(std::shared_ptr<SourceFile> file, const SplitSamples& where)
      : place(where), file_(std::move(file)) {}

  std::unique_ptr<SampleStream> open(std::uint64_t firstFrame) const override {
    auto file = file_->open();
    if (!file) return nullptr;
    firstFrame = std::min(firstFrame, place.points);
    return std::make_unique<SplitStream>(
        std::move(file), SplitSamples{place.highOffset + firstFrame * 2, place.lowOffset + firstFrame,
                                      place.points - firstFrame});
  }

  const std::shared_ptr<SourceFile>& file() const override { return file_; }
  SampleEncoding encoding() const override { return SampleEncoding::Pcm24; }
  bool canSeek() const override { return true; }

  const SplitSamples place;

 private:
  std::shared_ptr<SourceFile> file_;
};

}  // namespace

std::shared_ptr<const SampleSource> makeSplitSource(std::shared_ptr<SourceFile> file,
                                                    const SplitSamples& place) {
  return std::make_shared<SplitSource>(std::move(file), place);
}

const SplitSamples* splitSamplesOf(const SampleSource* source) {
  const auto* split = dynamic_cast<const SplitSource*>(source);
  return split ? &split->place : nullptr;
}

void splitPoints(Bytes pcm24, std::span<std::byte> high, std::span<std::byte> low) {
  for (std::size_t i = 0; i < low.size(); ++i) {
    low[i] = pcm24[i * 3];
    high[i * 2] = pcm24[i * 3 + 1];
    high[i * 2 + 1] = pcm24[i * 3 + 2];
  }
}

}  // namespace vemko::soundfont
