#include "codecs/pcm_source.h"

#include <algorithm>
#include <utility>

namespace vemko {
namespace {

// Reads through a buffer that stays in the processor's second-level cache: bytes come from the system, become
// floats and are used before they are gone from there.
constexpr std::size_t kReadBytes = 1 << 18;

class PcmStream final : public SampleStream {
 public:
  PcmStream(std::shared_ptr<InputFile> file, std::uint64_t offset, std::uint64_t frames,
            std::uint8_t channels, const PcmFormat& format)
      : file_(std::move(file)),
        offset_(offset),
        frames_(frames),
        channels_(channels),
        format_(format),
        sampleBytes_(bytesPerSample(format)),
        bufferBytes_(static_cast<std::size_t>(
            std::min<std::uint64_t>(frames * channels * sampleBytes_,
                                    kReadBytes / (sampleBytes_ * channels) * sampleBytes_ * channels))),
        buffer_(std::make_unique_for_overwrite<std::byte[]>(bufferBytes_)) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    std::size_t wanted = static_cast<std::size_t>(std::min<std::uint64_t>(out.size() / channels_, frames_));
    for (std::span<float> rest = out.first(wanted * channels_); !rest.empty();) {
      std::span<float> part = rest.first(std::min(rest.size(), bufferBytes_ / sampleBytes_));
      std::span<std::byte> stored{buffer_.get(), part.size() * sampleBytes_};
      if (!file_->readAt(offset_, stored)) return std::nullopt;
      decodePcm(format_, stored, part);
      offset_ += stored.size();
      rest = rest.subspan(part.size());
    }
    frames_ -= wanted;
    return wanted;
  }

 private:
  std::shared_ptr<InputFile> file_;
  std::uint64_t offset_;
  std::uint64_t frames_;
  std::uint8_t channels_;
  PcmFormat format_;
  std::size_t sampleBytes_;
  std::size_t bufferBytes_;
  std::unique_ptr<std::byte[]> buffer_;
};

class PcmSource final : public SampleSource {
 public:
  PcmSource(std::shared_ptr<SourceFile> file, std::uint64_t offset, std::uint64_t frames,
            std::uint8_t channels, const PcmFormat& format)
      : file_(std::move(file)), offset_(offset), frames_(frames), channels_(channels), format_(format) {}

  std::unique_ptr<SampleStream> open(std::uint64_t firstFrame) const override {
    auto file = file_->open();
    if (!file) return nullptr;
    firstFrame = std::min(firstFrame, frames_);
    return std::make_unique<PcmStream>(std::move(file), offset_ + firstFrame * frameBytes(),
                                       frames_ - firstFrame, channels_, format_);
  }

  const std::shared_ptr<SourceFile>& file() const override { return file_; }

  std::optional<StoredSamples> stored() const override {
    return StoredSamples{format_.encoding, format_.bigEndian, format_.signed8, offset_,
                         frames_ * frameBytes()};
  }

  SampleEncoding encoding() const override { return format_.encoding; }
  bool canSeek() const override { return true; }

 private:
  std::uint64_t frameBytes() const { return bytesPerSample(format_) * channels_; }

  std::shared_ptr<SourceFile> file_;
  std::uint64_t offset_;
  std::uint64_t frames_;
  std::uint8_t channels_;
  PcmFormat format_;
};

}  // namespace

std::shared_ptr<const SampleSource> makePcmSource(std::shared_ptr<SourceFile> file, std::uint64_t offset,
                                                  std::uint64_t frames, std::uint8_t channels,
                                                  PcmFormat format) {
  return std::make_shared<PcmSource>(std::move(file), offset, frames, channels, format);
}

}  // namespace vemko
