// Ogg Vorbis and Opus files, with texts, cover image, main loop and markers in their comments.
#include <iterator>

#include "base/log.h"
#include "base/text.h"
#include "codecs/opus.h"
#include "codecs/vorbis.h"
#include "codecs/vorbis_comments.h"
#include "formats/audio/audio.h"
#include "formats/audio/audio_file.h"
#include "formats/audio/probes.h"

namespace vemko::audio {
namespace {

constexpr std::uint8_t kMostChannels = 8;

struct VorbisSetting {
  int quality;  // tenths
  double kilobits;
};
// clang-format off
constexpr VorbisSetting kVorbisSettings[] = {
  {10, 500}, {9, 320}, {8, 256}, {7, 224}, {6, 192}, {5, 160}, {4, 128}, {3, 112}, {2, 96}, {1, 80}, {0, 64}};
constexpr double kOpusSettings[] = {256, 192, 160, 128, 112, 96, 80, 64, 48, 32, 24, 16, 12};
// clang-format on

std::vector<std::string> buildComments(const WriteJob& job, const Path& target, std::uint32_t rate) {
  CommentsToBuild what;
  what.name = !isNamedAfterFile(*job.waveform, target);
  what.image = what.records = true;
  what.rate = rate;
  return buildVorbisComments(*job.waveform, what);
}

using Open = bool (*)(const FilePart&, CompressedSamples&, std::vector<std::string>*);

bool readOgg(Collection& collection, InputFile& file, Open open) {
  CompressedSamples samples;
  std::vector<std::string> comments;
  if (!open(FilePart::whole(file), samples, &comments)) return false;
  Waveform* waveform = addWaveform(collection, samples);
  if (!waveform) return false;
  readVorbisComments(comments, *waveform);
  nameAfterFile(*waveform, file);
  return true;
}

}  // namespace

int probeVorbis(Bytes head, std::uint32_t, std::uint64_t) {
  return startsWith(firstOggPacket(head), "\x01vorbis") ? 6 : 0;
}

bool readVorbis(Collection& collection, InputFile& file, std::uint32_t) {
  return readOgg(collection, file, vorbis::open);
}

bool writeVorbis(Item& item, OutputFile& file, const io::SaveOptions& options) {
  WriteJob job;
  if (!prepareWrite(item, options, kCodecCapabilities, kMostChannels, job)) return false;
  const std::size_t setting = std::min<std::size_t>(options.setting, std::size(kVorbisSettings) - 1);
  const float quality = static_cast<float>(kVorbisSettings[setting].quality) / 10;
  FileSink sink(file);
  return vorbis::encode(job.input(), quality, buildComments(job, file.path(), job.waveform->rate), sink) &&
         sink.flush();
}

std::u16string missingForVorbis(bool writing) { return vorbis::missingLibrary(writing); }

double describeVorbisSetting(int index, std::uint32_t, std::u16string* label) {
  if (index < 0 || index >= static_cast<int>(std::size(kVorbisSettings))) return 0;
  if (label) *label = toUtf16(formatted("Ogg Vorbis Quality %d", kVorbisSettings[index].quality));
  return kVorbisSettings[index].kilobits;
}

int probeOpus(Bytes head, std::uint32_t, std::uint64_t) {
  return startsWith(firstOggPacket(head), "OpusHead") ? 6 : 0;
}

bool readOpus(Collection& collection, InputFile& file, std::uint32_t) {
  return readOgg(collection, file, opus::open);
}

bool writeOpus(Item& item, OutputFile& file, const io::SaveOptions& options) {
  WriteJob job;
  if (!prepareWrite(item, options, kCodecCapabilities, kMostChannels, job)) return false;
  if (job.waveform->rate != opus::kRate)
    logInfo(
        toUtf16(formatted("Converted from %u to 48000 Hz, which Opus is limited to", job.waveform->rate)));
  const std::size_t setting = std::min<std::size_t>(options.setting, std::size(kOpusSettings) - 1);
  const auto bitsPerSecond = static_cast<std::uint32_t>(kOpusSettings[setting] * 1000);
  FileSink sink(file);
  return opus::encode(job.input(), bitsPerSecond, buildComments(job, file.path(), opus::kRate), sink) &&
         sink.flush();
}

std::u16string missingForOpus(bool writing) { return opus::missingLibrary(writing); }

double describeOpusSetting(int index, std::uint32_t, std::u16string* label) {
  if (index < 0 || index >= static_cast<int>(std::size(kOpusSettings))) return 0;
  if (label) *label = toUtf16(formatted("Opus %.0f kbit/s", kOpusSettings[index]));
  return kOpusSettings[index];
}

std::uint32_t opusRate(std::uint32_t) { return opus::kRate; }

}  // namespace vemko::audio
