#include "codecs/block_source.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vemko {
namespace {

struct Blocks {
  std::shared_ptr<SourceFile> file;
  std::uint64_t offset;
  std::uint64_t byteCount;
  std::uint64_t frames;
  BlockLayout layout;
};

class BlockStream final : public SampleStream {
 public:
  BlockStream(std::shared_ptr<InputFile> file, std::shared_ptr<const Blocks> blocks, std::uint64_t firstFrame)
      : file_(std::move(file)), blocks_(std::move(blocks)), frame_(firstFrame) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    const std::size_t channels = blocks_->layout.channels;
    const std::uint64_t left = blocks_->frames - frame_;
    const std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>(out.size() / channels, left));
    for (std::size_t done = 0; done < wanted;) {
      const std::uint64_t block = frame_ / blocks_->layout.framesPerBlock;
      const std::size_t within = static_cast<std::size_t>(frame_ % blocks_->layout.framesPerBlock);
      if (!loadBlock(block)) return std::nullopt;
      std::size_t count = std::min<std::size_t>(wanted - done, blocks_->layout.framesPerBlock - within);
      std::copy_n(decoded_.begin() + static_cast<std::ptrdiff_t>(within * channels), count * channels,
                  out.begin() + static_cast<std::ptrdiff_t>(done * channels));
      done += count;
      frame_ += count;
    }
    return wanted;
  }

 private:
  bool loadBlock(std::uint64_t block) {
    if (block == loaded_) return true;
    const BlockLayout& layout = blocks_->layout;
    const std::uint64_t start = std::min(block * layout.blockBytes, blocks_->byteCount);
    stored_.resize(
        static_cast<std::size_t>(std::min<std::uint64_t>(layout.blockBytes, blocks_->byteCount - start)));
    decoded_.resize(std::size_t{layout.framesPerBlock} * layout.channels);
    if (!stored_.empty() && !file_->readAt(blocks_->offset + start, stored_)) return false;
    const std::size_t samples = layout.decode(stored_, decoded_) * layout.channels;
    std::fill(decoded_.begin() + static_cast<std::ptrdiff_t>(samples), decoded_.end(), 0.0f);
    loaded_ = block;
    return true;
  }

  std::shared_ptr<InputFile> file_;
  std::shared_ptr<const Blocks> blocks_;
  std::uint64_t frame_;
  std::uint64_t loaded_ = UINT64_MAX;
  std::vector<std::byte> stored_;
  std::vector<float> decoded_;
};

class BlockSource final : public SampleSource {
 public:
  explicit BlockSource(Blocks blocks) : blocks_(std::make_shared<const Blocks>(std::move(blocks))) {}

  std::unique_ptr<SampleStream> open(std::uint64_t firstFrame) const override {
    auto file = blocks_->file->open();
    if (!file) return nullptr;
    return std::make_unique<BlockStream>(std::move(file), blocks_, std::min(firstFrame, blocks_->frames));
  }

  const std::shared_ptr<SourceFile>& file() const override { return blocks_->file; }
  SampleEncoding encoding() const override { return blocks_->layout.encoding; }
  bool canSeek() const override { return true; }

 private:
  std::shared_ptr<const Blocks> blocks_;
};

}  // namespace

std::shared_ptr<const SampleSource> makeBlockSource(std::shared_ptr<SourceFile> file, std::uint64_t offset,
                                                    std::uint64_t byteCount, std::uint64_t frames,
                                                    BlockLayout layout) {
  return std::make_shared<BlockSource>(Blocks{std::move(file), offset, byteCount, frames, std::move(layout)});
}

}  // namespace vemko
