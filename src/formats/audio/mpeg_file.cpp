// MPEG audio files with ID3 and APE tags. They hold neither loops nor markers.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <optional>

#include "base/log.h"
#include "base/text.h"
#include "codecs/ape.h"
#include "codecs/id3.h"
#include "codecs/mpeg.h"
#include "codecs/sample_writer.h"
#include "formats/audio/audio.h"
#include "formats/audio/audio_file.h"
#include "formats/audio/probes.h"

namespace vemko::audio {
namespace {

// What the library's ten steps of variable bit rate come to on average, in stereo at 44100 Hz.
constexpr double kVariableBitRates[] = {245, 225, 190, 175, 165, 130, 115, 100, 85, 65};

// --- Frame headers, as far as probing goes.

struct FrameHeader {
  unsigned layer = 0;
  std::size_t bytes = 0;       // of the whole frame, 0 where the header does not tell
  std::uint32_t constant = 0;  // the bits that all frames of a stream share
};

// clang-format off
// kbit/s by version 1 or 2 and layer, then by the header's index.
constexpr std::uint16_t kFrameRates[2][3][15] = {
  {{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
   {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
   {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}},
  {{0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
   {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
   {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}}};
constexpr std::uint32_t kFrameSampleRates[] = {44100, 48000, 32000};
// clang-format on

std::optional<FrameHeader> parseFrame(Bytes bytes) {
  ByteReader reader(bytes);
  const auto word = reader.big<std::uint32_t>();
  const unsigned version = word >> 19 & 3, layerCode = word >> 17 & 3, rateIndex = word >> 12 & 15,
                 sampleRateIndex = word >> 10 & 3, padding = word >> 9 & 1;
  if (!reader.ok || word >> 21 != 0x7FF || version == 1 || layerCode == 0 || rateIndex == 15 ||
      sampleRateIndex == 3)
    return std::nullopt;
  FrameHeader header;
  header.layer = 4 - layerCode;
  header.constant = word & 0xFFFE0C00;
  const bool isLow = version != 3;  // MPEG 2 and 2.5
  const std::uint32_t rate = kFrameSampleRates[sampleRateIndex] >> (version == 3 ? 0 : version == 2 ? 1 : 2);
  const std::uint32_t bitRate = kFrameRates[isLow][header.layer - 1][rateIndex] * 1000u;
  if (header.layer == 1)
    header.bytes = std::size_t{4} * (12 * bitRate / rate + padding);
  else
    header.bytes = (header.layer == 3 && isLow ? 72 : 144) * bitRate / rate + padding;
  return bitRate == 0 ? std::nullopt : std::optional(header);
}

// How many frames follow each other from the start on, at most `enough`.
int countFrames(Bytes bytes, int enough, unsigned& layer) {
  int count = 0;
  std::uint32_t constant = 0;
  while (count < enough) {
    const auto header = parseFrame(bytes);
    if (!header || (count > 0 && header->constant != constant)) break;
    constant = header->constant;
    layer = header->layer;
    ++count;
    if (header->bytes >= bytes.size()) break;
    bytes = bytes.subspan(header->bytes);
  }
  return count;
}

// Behind the rest of a frame that a cut has left, or behind padding.
bool hasLaterFrames(Bytes bytes, int enough, unsigned& layer) {
  constexpr std::size_t kMostBefore = 4096;
  const std::size_t end = std::min(bytes.size(), kMostBefore);
  for (std::size_t at = 0; at < end; ++at) {
    const void* sync = std::memchr(bytes.data() + at, 0xFF, end - at);
    if (!sync) return false;
    at = static_cast<std::size_t>(static_cast<const std::byte*>(sync) - bytes.data());
    if (countFrames(bytes.subspan(at), enough, layer) == enough) return true;
  }
  return false;
}

mpeg::EncodeOptions encodeOptions(const io::SaveOptions& save) {
  mpeg::EncodeOptions result;
  result.bitsPerSecond = mpeg::bitRateOfSetting(save.setting);
  result.mode = save.variant == kMp3Average    ? mpeg::RateMode::Average
                : save.variant == kMp3Variable ? mpeg::RateMode::Variable
                                               : mpeg::RateMode::Constant;
  constexpr std::uint32_t kLowestQuality = std::size(kVariableBitRates) - 1;
  result.quality = static_cast<int>(std::min(save.setting, kLowestQuality));
  result.jointStereo = options().mp3JointStereo;
  return result;
}

}  // namespace

Options& options() {
  static Options current;
  return current;
}

int probeMpeg(Bytes head, std::uint32_t variant, std::uint64_t fileSize) {
  constexpr int kCertain = 4, kLikely = 2;
  const Id3Head tag = skipId3(head);
  if (tag.isLongerThanHead) return 2;
  unsigned layer = 0;
  const int frames = countFrames(tag.rest, kCertain, layer);
  if (frames == 0 && !hasLaterFrames(tag.rest, kCertain, layer)) return 0;
  if (variant != 0 && layer != variant) return 0;
  const bool isWhole = head.size() == fileSize;
  return frames >= (isWhole ? kLikely : kCertain) ? 6 : 2;
}

bool readMpeg(Collection& collection, InputFile& file, std::uint32_t) {
  CompressedSamples samples;
  if (!mpeg::open(FilePart::whole(file), samples)) return false;
  Waveform* waveform = addWaveform(collection, samples);
  if (!waveform) return false;
  readId3(file.bytes(), *waveform);
  readTagsAtEnd(file.bytes(), *waveform);
  nameAfterFile(*waveform, file);
  return true;
}

bool writeMp3(Item& item, OutputFile& file, const io::SaveOptions& save) {
  constexpr std::uint8_t kMostChannels = 2;
  WriteJob job;
  if (!prepareWrite(item, save, kCodecCapabilities, kMostChannels, job)) return false;
  job.stream = watchClipping(std::move(job.stream), *job.waveform, job.layout.channels);
  const std::uint32_t rate = mpeg::storedRate(job.waveform->rate);
  if (rate != job.waveform->rate)
    logInfo(
        toUtf16(formatted("Converted from %u to %u Hz, which MP3 is limited to", job.waveform->rate, rate)));
  FileSink sink(file);
  if (options().mp3Id3Tag && !sink.write(buildId3(*job.waveform))) return false;
  if (!mpeg::encode(job.input(), encodeOptions(save), sink)) return false;
  if (options().mp3ApeTag && !sink.write(buildApe(*job.waveform))) return false;
  return sink.flush();
}

std::u16string missingForMpeg(bool writing) { return mpeg::missingLibrary(writing); }

double describeMp3Setting(int index, std::uint32_t variant, std::u16string* label) {
  const bool isVariable = variant == kMp3Variable;
  const bool isPastLast = index < 0 || index >= static_cast<int>(std::size(kVariableBitRates));
  const double rate = !isVariable  ? mpeg::kilobitsOfSetting(index)
                      : isPastLast ? 0
                                   : kVariableBitRates[index];
  if (label && rate > 0)
    *label = toUtf16(
        isVariable ? formatted("MP3 VBR Quality %d", index + 1)
                   : formatted(variant == kMp3Average ? "MP3 ABR %.0f kbit/s" : "MP3 CBR %.0f kbit/s", rate));
  return rate;
}

std::uint32_t mp3Rate(std::uint32_t rate) { return mpeg::storedRate(rate); }

}  // namespace vemko::audio
