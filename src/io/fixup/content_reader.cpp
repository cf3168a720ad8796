#include "io/fixup/content_reader.h"

#include <algorithm>

namespace vemko::io {
namespace {

constexpr std::size_t kBlockFloats = 16384;

/// Where the waveform's samples stand in an encoding that is wider than a float.
std::optional<StoredSamples> widerThanFloat(const Waveform& waveform) {
  if (!waveform.sourceIsIntact()) return std::nullopt;
  auto stored = waveform.source->stored();
  if (!stored || !waveform.source->file()) return std::nullopt;
  const bool isWide =
      stored->encoding == SampleEncoding::Pcm32 || stored->encoding == SampleEncoding::Float64;
  return isWide ? stored : std::nullopt;
}

}  // namespace

ContentReader::ContentReader(const Waveform& waveform)
    : channels_(std::max<std::uint8_t>(waveform.channels, 1)) {
  block_.resize(std::clamp<std::size_t>(waveform.frames, 1, kBlockFloats / channels_) * channels_);
  if (const auto stored = widerThanFloat(waveform)) {
    file_ = waveform.source->file()->open();
    offset_ = stored->offset;
    remaining_ = stored->byteCount;
  } else {
    stream_ = openSamples(waveform);
  }
}

std::optional<Bytes> ContentReader::next() {
  const auto block = std::as_writable_bytes(std::span(block_));
  if (stream_) {
    const auto frames = stream_->read(block_);
    return frames ? std::optional(block.first(*frames * channels_ * sizeof(float))) : std::nullopt;
  }
  const auto part = block.first(static_cast<std::size_t>(std::min<std::uint64_t>(remaining_, block.size())));
  if (!file_ || !file_->readAt(offset_, part)) return std::nullopt;
  offset_ += part.size();
  remaining_ -= part.size();
  return part;
}

std::uint64_t ContentReader::formOf(const Waveform& waveform) {
  const auto stored = widerThanFloat(waveform);
  if (!stored) return 0;
  return stored->byteCount << 8 | static_cast<std::uint64_t>(stored->encoding) << 1 | stored->bigEndian;
}

}  // namespace vemko::io
