#include "io/fixup/channel_sources.h"

#include <algorithm>
#include <array>
#include <span>
#include <utility>
#include <vector>

namespace vemko::io {
namespace {

constexpr std::size_t kBlockFrames = 4096;

class ChannelStream final : public SampleStream {
 public:
  ChannelStream(std::unique_ptr<SampleStream> stereo, std::uint8_t channel)
      : stereo_(std::move(stereo)), channel_(channel), block_(kBlockFrames * 2) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    std::size_t done = 0;
    while (done < out.size()) {
      const auto wanted = std::min(out.size() - done, kBlockFrames);
      const auto frames = stereo_->read(std::span(block_).first(wanted * 2));
      if (!frames) return std::nullopt;
      for (std::size_t i = 0; i < *frames; ++i) out[done + i] = block_[i * 2 + channel_];
      done += *frames;
      if (*frames < wanted) break;
    }
    return done;
  }

 private:
  std::unique_ptr<SampleStream> stereo_;
  std::uint8_t channel_;
  std::vector<float> block_;
};

class ChannelSource final : public SampleSource {
 public:
  ChannelSource(std::shared_ptr<const SampleSource> from, std::uint8_t which)
      : stereo(std::move(from)), channel(which) {}

  std::unique_ptr<SampleStream> open(std::uint64_t firstFrame) const override {
    auto stream = stereo->open(firstFrame);
    return stream ? std::make_unique<ChannelStream>(std::move(stream), channel) : nullptr;
  }
  const std::shared_ptr<SourceFile>& file() const override { return stereo->file(); }
  SampleEncoding encoding() const override { return stereo->encoding(); }
  bool canSeek() const override { return stereo->canSeek(); }

  const std::shared_ptr<const SampleSource> stereo;
  const std::uint8_t channel;
};

using Sides = std::array<std::unique_ptr<SampleStream>, 2>;

class InterleavedStream final : public SampleStream {
 public:
  explicit InterleavedStream(Sides sides) : sides_(std::move(sides)), block_(kBlockFrames) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    std::size_t done = 0;
    for (const std::size_t frames = out.size() / 2; done < frames;) {
      const auto wanted = std::min(frames - done, kBlockFrames);
      const auto got = readBlock(out.subspan(done * 2, wanted * 2));
      if (!got) return std::nullopt;
      done += *got;
      if (*got < wanted) break;
    }
    return done;
  }

 private:
  std::optional<std::size_t> readBlock(std::span<float> out) {
    const auto block = std::span(block_).first(out.size() / 2);
    std::size_t longest = 0;
    for (std::size_t side = 0; side < 2; ++side) {
      const auto frames = sides_[side]->read(block);
      if (!frames) return std::nullopt;
      std::ranges::fill(block.subspan(*frames), 0.0f);
      for (std::size_t i = 0; i < block.size(); ++i) out[i * 2 + side] = block[i];
      longest = std::max(longest, *frames);
    }
    return longest;
  }

  Sides sides_;
  std::vector<float> block_;
};

class InterleavedSource final : public SampleSource {
 public:
  InterleavedSource(std::shared_ptr<const SampleSource> left, std::shared_ptr<const SampleSource> right)
      : sides{std::move(left), std::move(right)} {}

  std::unique_ptr<SampleStream> open(std::uint64_t firstFrame) const override {
    Sides streams{sides[0]->open(firstFrame), nullptr};
    if (streams[0]) streams[1] = sides[1]->open(firstFrame);
    return streams[1] ? std::make_unique<InterleavedStream>(std::move(streams)) : nullptr;
  }
  /// None when the sides lie in two files.
  const std::shared_ptr<SourceFile>& file() const override {
    return sides[0]->file() == sides[1]->file() ? sides[0]->file() : SampleSource::file();
  }
  SampleEncoding encoding() const override {
    return sides[0]->encoding() == sides[1]->encoding() ? sides[0]->encoding() : SampleEncoding::Float32;
  }
  bool canSeek() const override { return sides[0]->canSeek() && sides[1]->canSeek(); }

  const std::array<std::shared_ptr<const SampleSource>, 2> sides;
};

}  // namespace

std::shared_ptr<const SampleSource> makeChannelSource(std::shared_ptr<const SampleSource> stereo,
                                                      std::uint8_t channel) {
  if (const auto* pair = dynamic_cast<const InterleavedSource*>(stereo.get())) return pair->sides[channel];
  return std::make_shared<ChannelSource>(std::move(stereo), channel);
}

std::shared_ptr<const SampleSource> makeInterleavedSource(std::shared_ptr<const SampleSource> left,
                                                          std::shared_ptr<const SampleSource> right) {
  const auto* a = dynamic_cast<const ChannelSource*>(left.get());
  const auto* b = dynamic_cast<const ChannelSource*>(right.get());
  if (a && b && a->stereo == b->stereo && a->channel == 0 && b->channel == 1) return a->stereo;
  return std::make_shared<InterleavedSource>(std::move(left), std::move(right));
}

}  // namespace vemko::io
