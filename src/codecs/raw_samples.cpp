#include "codecs/raw_samples.h"

#include <algorithm>
#include <utility>

#include "base/last_error.h"
#include "codecs/pcm_source.h"

namespace vemko {
namespace {

PcmFormat pcmFormatOf(const io::RawFormat& format) {
  return {format.encoding, format.bigEndian, format.signed8};
}

/// Samples in a file, and how they came to be taken so.
class RawSource final : public SampleSource {
 public:
  RawSource(std::shared_ptr<const SampleSource> samples, io::RawFormat format)
      : samples_(std::move(samples)), format_(format) {}

  std::unique_ptr<SampleStream> open(std::uint64_t firstFrame) const override {
    return samples_->open(firstFrame);
  }
  const std::shared_ptr<SourceFile>& file() const override { return samples_->file(); }
  std::optional<StoredSamples> stored() const override { return samples_->stored(); }
  SampleEncoding encoding() const override { return samples_->encoding(); }
  bool canSeek() const override { return samples_->canSeek(); }
  const io::RawFormat& format() const { return format_; }

 private:
  std::shared_ptr<const SampleSource> samples_;
  io::RawFormat format_;
};

}  // namespace

std::uint64_t rawFrames(const io::RawFormat& format, std::uint64_t fileSize) {
  const std::uint64_t frameBytes = bytesPerSample(pcmFormatOf(format)) * format.channels;
  return frameBytes == 0 ? 0 : (fileSize - std::min(format.headerBytes, fileSize)) / frameBytes;
}

bool setRawSamples(Waveform& waveform, std::shared_ptr<SourceFile> file, const io::RawFormat& format) {
  if (bytesPerSample(pcmFormatOf(format)) * format.channels == 0)
    return fail(u"Unsupported format of raw samples");
  const auto input = file->open();
  if (!input) return false;
  const std::uint64_t frames = std::min<std::uint64_t>(rawFrames(format, input->size()), UINT32_MAX);
  const std::uint64_t offset = std::min(format.headerBytes, input->size());
  waveform.frames = static_cast<std::uint32_t>(frames);
  waveform.channels = format.channels;
  waveform.rate = format.rate;
  waveform.sourceFormat = kUnclassified;
  for (LoopRecord& record : waveform.records) {
    record.start = std::min(record.start, waveform.frames);
    record.end = std::min(record.end, waveform.frames);
  }
  waveform.setSource(std::make_shared<RawSource>(
      makePcmSource(std::move(file), offset, frames, format.channels, pcmFormatOf(format)), format));
  return true;
}

std::optional<io::RawFormat> rawFormatOf(const Waveform& waveform) {
  const auto* source = dynamic_cast<const RawSource*>(waveform.source.get());
  if (!source) return std::nullopt;
  io::RawFormat format = source->format();
  format.rate = waveform.rate;
  return format;
}

}  // namespace vemko
