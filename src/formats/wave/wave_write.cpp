#include <algorithm>

#include "base/last_error.h"
#include "base/text.h"
#include "codecs/id3.h"
#include "codecs/sample_writer.h"
#include "formats/riff/description.h"
#include "formats/riff/info.h"
#include "formats/riff/kept_chunks.h"
#include "formats/riff/riff.h"
#include "formats/riff/wave_format.h"
#include "formats/wave/wave.h"
#include "io/sample_layout.h"

namespace vemko::wave {
namespace {

constexpr std::uint64_t kLargestSize = 0xFFFFFFFF;
constexpr std::uint32_t kLargeSizesBytes = 28;

// Sizes of all parts, known before the first byte is written.
struct Plan {
  riff::FormatChunk format;
  std::uint64_t frames = 0;
  std::uint64_t dataBytes = 0;
  std::uint8_t padByte = 0;
  std::vector<std::byte> leader, trailer;  // the chunks between format and data, and behind the data

  std::uint64_t fileBytes(bool isLarge) const {
    return 12 + (isLarge ? 8 + kLargeSizesBytes : 0) + 8 + format.body.size() + (format.needsFact ? 12 : 0) +
           leader.size() + 8 + dataBytes + dataBytes % 2 + trailer.size();
  }
  bool isLarge() const { return dataBytes + 48 > kLargestSize || fileBytes(false) - 8 > kLargestSize; }
};

// A name that only repeats a file's is left to the file's name.
bool isFileName(const std::u16string& name, const Path& path) { return name == textOf(path.stem()); }

void addDescription(const Waveform& waveform, std::uint8_t channels, const Path& target, Plan& plan) {
  const bool withName =
      !isFileName(waveform.name(), target) && !(waveform.source && waveform.source->file() &&
                                                isFileName(waveform.name(), waveform.source->file()->path()));
  riff::ChunksToWrite kept = riff::buildKeptChunks(waveform, channels);
  plan.leader = std::move(kept.beforeData);
  riff::ChunkBuilder builder;
  builder.out.append(riff::buildInfo(waveform, withName, riff::keptInfo(waveform)));
  builder.out.append(riff::buildDescription(waveform));
  builder.out.append(kept.behindData);
  const Bytes tag = riff::keptTag(waveform);
  if (!tag.empty())
    builder.add(fourCc("id3 "), tag);
  else if (!waveform.image().empty())
    if (const auto built = buildId3(waveform); !built.empty()) builder.add(fourCc("id3 "), built);
  plan.trailer = std::move(builder.out.bytes);
}

std::uint32_t sizeField(std::uint64_t size, bool isLarge) {
  return static_cast<std::uint32_t>(isLarge ? kLargestSize : size);
}

ByteWriter buildHeader(const Plan& plan) {
  const bool isLarge = plan.isLarge();
  const std::uint64_t riffBytes = plan.fileBytes(isLarge) - 8;
  ByteWriter out;
  out.text(isLarge ? "RF64" : "RIFF");
  out.u32(sizeField(riffBytes, isLarge));
  out.text("WAVE");
  if (isLarge) {
    out.text("ds64");
    out.u32(kLargeSizesBytes);
    out.u64(riffBytes);
    out.u64(plan.dataBytes);
    out.u64(plan.frames);
    out.u32(0);
  }
  out.text("fmt ");
  out.u32(static_cast<std::uint32_t>(plan.format.body.size()));
  out.append(plan.format.body.bytes);
  if (plan.format.needsFact) {
    out.text("fact");
    out.u32(4);
    out.u32(static_cast<std::uint32_t>(std::min(plan.frames, kLargestSize)));
  }
  out.append(plan.leader);
  out.text("data");
  out.u32(sizeField(plan.dataBytes, isLarge));
  return out;
}

// The length of coded data is known once they are written: the header is completed then.
bool writeCoded(const Waveform& waveform, const io::SampleLayout& layout, const io::SaveOptions& save,
                OutputFile& file) {
  Plan plan;
  plan.format = riff::buildCodedFormat(layout.encoding, layout.channels, waveform.rate, save.setting);
  plan.frames = riff::codedFrames(layout.encoding, waveform.frames);
  if (save.variant != kBare) addDescription(waveform, layout.channels, file.path(), plan);

  auto stream = watchClipping(withChannels(openSamples(waveform), waveform.channels, layout.channels),
                              waveform, layout.channels);
  FileSink sink(file);
  if (!stream || !sink.write(buildHeader(plan).bytes)) return false;
  const std::uint64_t start = sink.size();
  const EncoderInput input{*stream, waveform.frames, waveform.rate, layout.channels};
  if (!riff::encodeCoded(layout.encoding, input, save.setting, sink)) return false;
  plan.dataBytes = sink.size() - start;
  if (plan.isLarge()) return fail(u"Wave too big - use 64-bit version!");
  constexpr std::byte kPad{0};
  if (plan.dataBytes % 2 != 0 && !sink.write({&kPad, 1})) return false;
  return sink.write(plan.trailer) && sink.writeAt(0, buildHeader(plan).bytes) && sink.flush();
}

}  // namespace

bool writeWave(Item& item, OutputFile& file, const io::SaveOptions& save) {
  if (item.kind() != ItemKind::Waveform) return fail(u"The file format can not save this item");
  const Waveform& waveform = static_cast<const Waveform&>(item);
  const io::SampleLayout layout = io::chooseLayout(waveform, save, kCapabilities);
  if (riff::isCoded(layout.encoding)) return writeCoded(waveform, layout, save, file);
  const PcmFormat pcm{layout.encoding};
  Plan plan;
  plan.format =
      riff::buildFormat(layout.encoding, layout.channels, waveform.rate, save.variant == kExtensible);
  plan.frames = waveform.frames;
  plan.dataBytes = plan.frames * layout.channels * bytesPerSample(pcm);
  plan.padByte = layout.encoding == SampleEncoding::Pcm8 ? 0x80 : 0;
  if (save.variant != kBare) addDescription(waveform, layout.channels, file.path(), plan);

  BlockWriter out(file);
  if (!out.append(buildHeader(plan).bytes) || !writeSamples(waveform, pcm, layout.channels, out))
    return false;
  const std::byte pad{plan.padByte};
  if (plan.dataBytes % 2 != 0 && !out.append({&pad, 1})) return false;
  return out.append(plan.trailer) && out.flush();
}

}  // namespace vemko::wave
