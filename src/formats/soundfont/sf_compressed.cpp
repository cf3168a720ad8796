#include "formats/soundfont/sf_compressed.h"

#include <algorithm>
#include <array>

#include "base/last_error.h"
#include "base/text.h"
#include "codecs/flac.h"
#include "codecs/vorbis.h"
#include "formats/soundfont/sf_sample_data.h"
#include "formats/soundfont/soundfont.h"

namespace vemko::soundfont {
namespace {

/// A codec's source together with the place of its stream.
class CompressedSource final : public SampleSource {
 public:
  CompressedSource(FilePart where, std::shared_ptr<const SampleSource> decoded)
      : part(std::move(where)), decoded_(std::move(decoded)) {}

  std::unique_ptr<SampleStream> open(std::uint64_t firstFrame) const override {
    return decoded_->open(firstFrame);
  }
  const std::shared_ptr<SourceFile>& file() const override { return decoded_->file(); }
  SampleEncoding encoding() const override { return decoded_->encoding(); }
  bool canSeek() const override { return decoded_->canSeek(); }

  const FilePart part;

 private:
  std::shared_ptr<const SampleSource> decoded_;
};

struct VorbisSetting {
  int quality;      // tenths
  double kilobits;  // of one channel at 44100 Hz
};
constexpr VorbisSetting kVorbisSettings[] = {{10, 250}, {9, 160}, {8, 128}, {7, 112}, {6, 96}, {5, 80},
                                             {4, 64},   {3, 56},  {2, 48},  {1, 40},  {0, 32}};
constexpr int kFlacSetting = static_cast<int>(std::size(kVorbisSettings));
constexpr double kFlacKilobits = 400;

// "OggS" with a first packet that Vorbis begins, or anything else.
bool isVorbis(const FilePart& part) {
  const auto input = PartInput::open(part);
  std::array<std::byte, 64> head{};
  if (!input) return false;
  const Bytes bytes = Bytes(head).first(input->read(head));
  const Bytes mark = asBytes(std::string_view("\x01vorbis"));
  return std::search(bytes.begin(), bytes.end(), mark.begin(), mark.end()) != bytes.end();
}

std::vector<std::byte> readPart(const FilePart& part) {
  std::vector<std::byte> bytes(static_cast<std::size_t>(part.size));
  const auto file = part.file->open();
  if (!file || !file->readAt(part.offset, bytes)) bytes.clear();
  return bytes;
}

unsigned bitsOf(const ChannelData& data) {
  const SampleEncoding own =
      data.source ? data.source->encoding() : static_cast<SampleEncoding>(data.waveform->sourceFormat);
  return own == SampleEncoding::Pcm16 || own == SampleEncoding::Pcm8 ? 16 : 24;
}

}  // namespace

bool openCompressed(const FilePart& part, CompressedSamples& samples) {
  if (!(isVorbis(part) ? vorbis::open(part, samples) : flac::open(part, samples))) return false;
  if (samples.facts.channels != 1 || samples.facts.frames > UINT32_MAX) return fail(u"Not a mono sample");
  samples.source = std::make_shared<CompressedSource>(part, std::move(samples.source));
  return true;
}

const FilePart* compressedPartOf(const SampleSource* source) {
  const auto* compressed = dynamic_cast<const CompressedSource*>(source);
  return compressed ? &compressed->part : nullptr;
}

std::optional<std::vector<std::byte>> compress(const ChannelData& data, std::uint32_t setting) {
  if (const FilePart* part = compressedPartOf(data.source.get())) {
    std::vector<std::byte> bytes = readPart(*part);
    if (bytes.empty()) return std::nullopt;
    return bytes;
  }
  if (data.frames == 0) return std::vector<std::byte>();
  const auto stream = openChannel(data);
  if (!stream) return std::nullopt;
  const EncoderInput input{*stream, data.frames, data.waveform->rate, 1};
  MemorySink sink;
  const bool ok =
      setting >= kFlacSetting
          ? flac::encode(input, {bitsOf(data), true}, {}, sink)
          : vorbis::encode(input, static_cast<float>(kVorbisSettings[setting].quality) / 10, {}, sink);
  if (!ok) return std::nullopt;
  return std::move(sink.bytes);
}

// Qualities of Ogg Vorbis from the best one on, then FLAC.
double describeSetting(int index, std::uint32_t, std::u16string* label) {
  if (index < 0 || index > kFlacSetting) return 0;
  if (index == kFlacSetting) {
    if (label) *label = u"FLAC (lossless)";
    return kFlacKilobits;
  }
  if (label) *label = toUtf16(formatted("Ogg Vorbis Quality %d", kVorbisSettings[index].quality));
  return kVorbisSettings[index].kilobits;
}

std::u16string missingLibraries(bool writing) { return vorbis::missingLibrary(writing); }

}  // namespace vemko::soundfont
