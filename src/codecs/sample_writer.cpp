#include "codecs/sample_writer.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "base/last_error.h"
#include "base/log.h"
#include "base/progress.h"
#include "base/text.h"

namespace vemko {
namespace {

// Floats on their way from source to file: large enough that a block's fixed costs vanish, small enough to
// stay in the second-level cache together with what they become.
constexpr std::size_t kBlockSamples = 32768;

class ChannelStream final : public SampleStream {
 public:
  ChannelStream(std::unique_ptr<SampleStream> stream, std::uint8_t from, std::uint8_t to)
      : stream_(std::move(stream)), from_(from), to_(to) {}

  std::optional<std::size_t> read(std::span<float> out) override {
    std::size_t wanted = out.size() / to_, done = 0;
    block_.resize(std::min(wanted, kBlockSamples) * from_);
    while (done < wanted) {
      std::size_t ask = std::min(wanted - done, kBlockSamples);
      auto got = stream_->read(std::span(block_).first(ask * from_));
      if (!got) return std::nullopt;
      convert(out.data() + done * to_, *got);
      done += *got;
      if (*got < ask) break;
    }
    return done;
  }

 private:
  void convert(float* out, std::size_t frames) const {
    const float* in = block_.data();
    for (std::size_t frame = 0; frame < frames; ++frame, in += from_, out += to_) {
      if (to_ == 1) {
        float sum = 0;
        for (std::size_t i = 0; i < from_; ++i) sum += in[i];
        out[0] = sum / static_cast<float>(from_);
      } else {
        for (std::size_t i = 0; i < to_; ++i) out[i] = from_ == 1 ? in[0] : i < from_ ? in[i] : 0.0f;
      }
    }
  }

  std::unique_ptr<SampleStream> stream_;
  std::size_t from_;
  std::size_t to_;
  std::vector<float> block_;
};

class WatchedStream final : public SampleStream {
 public:
  WatchedStream(std::unique_ptr<SampleStream> stream, std::u16string name, std::size_t channels)
      : stream_(std::move(stream)), name_(std::move(name)), channels_(channels) {}
  ~WatchedStream() override {
    if (beyond_ == 0) return;
    logWarning(u"Samples beyond full scale are clipped: " + toUtf16(std::to_string(beyond_)) + u" of \"" +
               name_ + u"\"");
  }

  std::optional<std::size_t> read(std::span<float> out) override {
    const auto frames = stream_->read(out);
    for (float sample : out.first(frames.value_or(0) * channels_)) beyond_ += std::fabs(sample) > 1;
    return frames;
  }

 private:
  std::unique_ptr<SampleStream> stream_;
  std::u16string name_;
  std::size_t channels_;
  std::size_t beyond_ = 0;
};

bool isFloat(SampleEncoding encoding) {
  return encoding == SampleEncoding::Float32 || encoding == SampleEncoding::Float64;
}

bool isSameFormat(const StoredSamples& stored, const PcmFormat& format) {
  return stored.encoding == format.encoding && stored.bigEndian == format.bigEndian &&
         stored.signed8 == format.signed8;
}

bool copyStored(const SampleSource& source, const StoredSamples& stored, BlockWriter& out) {
  auto file = source.file() ? source.file()->open() : nullptr;
  return file && out.copyFrom(*file, stored.offset, stored.byteCount);
}

bool encodeStream(SampleStream& stream, std::uint64_t frames, const PcmFormat& format, std::uint8_t channels,
                  BlockWriter& out) {
  const std::size_t frameBytes = bytesPerSample(format) * channels;
  const std::size_t blockFrames = std::max<std::size_t>(1, kBlockSamples / channels);
  std::vector<float> block(blockFrames * channels);
  for (std::uint64_t done = 0; done < frames;) {
    std::size_t ask = static_cast<std::size_t>(std::min<std::uint64_t>(blockFrames, frames - done));
    std::span<float> floats = std::span(block).first(ask * channels);
    auto got = stream.read(floats);
    if (!got) return false;
    if (*got < ask) return fail(u"Reading from file failed");
    std::span<std::byte> room = out.reserve(ask * frameBytes);
    if (room.empty()) return false;
    encodePcm(format, floats, room);
    done += ask;
    if (done / 1'000'000 != (done - ask) / 1'000'000)
      showProgress(static_cast<double>(done) / static_cast<double>(frames));
  }
  return true;
}

}  // namespace

std::unique_ptr<SampleStream> withChannels(std::unique_ptr<SampleStream> stream, std::uint8_t from,
                                           std::uint8_t to) {
  if (!stream || from == to) return stream;
  return std::make_unique<ChannelStream>(std::move(stream), from, to);
}

std::unique_ptr<SampleStream> watchClipping(std::unique_ptr<SampleStream> stream, const Waveform& waveform,
                                            std::uint8_t channels) {
  const bool canGoBeyond = !waveform.sourceIsIntact() || isFloat(waveform.source->encoding()) ||
                           waveform.source->encoding() == SampleEncoding::Codec;
  if (!stream || !canGoBeyond) return stream;
  return std::make_unique<WatchedStream>(std::move(stream), waveform.displayName(), channels);
}

bool writeSamples(const Waveform& waveform, const PcmFormat& format, std::uint8_t channels,
                  BlockWriter& out) {
  const std::uint64_t bytes = std::uint64_t{waveform.frames} * channels * bytesPerSample(format);
  if (waveform.sourceIsIntact() && channels == waveform.channels)
    if (auto stored = waveform.source->stored();
        stored && isSameFormat(*stored, format) && stored->byteCount == bytes)
      return copyStored(*waveform.source, *stored, out);
  auto stream = withChannels(openSamples(waveform), waveform.channels, channels);
  if (!isFloat(format.encoding)) stream = watchClipping(std::move(stream), waveform, channels);
  return stream && encodeStream(*stream, waveform.frames, format, channels, out);
}

}  // namespace vemko
