// FLAC files: lossless, with Vorbis comments and cover image. Tuning, loops and markers stand in the chunks
// that a WAVE file would have, where the flac program too keeps and restores them ("foreign metadata").
#include <cstring>

#include "codecs/flac.h"
#include "codecs/id3.h"
#include "codecs/vorbis_comments.h"
#include "formats/audio/audio.h"
#include "formats/audio/audio_file.h"
#include "formats/audio/descriptions.h"
#include "formats/audio/probes.h"
#include "formats/riff/wave_wrapper.h"

namespace vemko::audio {
namespace {

constexpr std::uint32_t kMaxCompression = 1;  // variant
constexpr std::uint8_t kMostChannels = 8;

void addCueMarkers(const std::vector<std::uint64_t>& frames, Waveform& waveform) {
  LoopAdder adder(waveform);
  for (std::uint64_t frame : frames) {
    LoopRecord record;
    if (frame >= waveform.frames) continue;
    record.start = record.end = static_cast<std::uint32_t>(frame);
    adder.addMarker(std::move(record));
  }
}

void readMetadata(const flac::Metadata& metadata, Waveform& waveform) {
  const std::vector<Bytes> chunks(metadata.riffChunks.begin(), metadata.riffChunks.end());
  riff::WaveFileNotes notes = riff::readWrapperChunks(chunks, waveform);
  ByteWriter aiff;
  for (const auto& chunk : metadata.aiffChunks) aiff.append(chunk);
  if (!aiff.bytes.empty()) readAiffDescription(aiff.bytes, waveform);
  readVorbisComments(metadata.comments, waveform);
  if (!metadata.pictures.empty()) waveform.setImage(metadata.pictures.front().bytes);
  if (waveform.records.empty()) addCueMarkers(metadata.cueFrames, waveform);
  riff::attachNotes(std::move(notes), waveform);
}

flac::Metadata buildMetadata(const WriteJob& job, const Path& target) {
  const Waveform& waveform = *job.waveform;
  flac::Metadata metadata;
  CommentsToBuild comments;
  comments.name = !isNamedAfterFile(waveform, target);
  metadata.comments = buildVorbisComments(waveform, comments);
  if (const Bytes image = waveform.image(); !image.empty())
    metadata.pictures.push_back({std::string(Item::imageMimeType(image)), {image.begin(), image.end()}});
  riff::WaveWrapper wrapper =
      riff::buildWrapper(waveform, {job.layout.channels, bitsOf(job.layout.encoding), false});
  if (wrapper.isEmpty()) return metadata;
  for (auto* piece : {&wrapper.head, &wrapper.format, &wrapper.dataHead})
    metadata.riffChunks.push_back(std::move(*piece));
  for (auto& chunk : wrapper.rest) metadata.riffChunks.push_back(std::move(chunk));
  return metadata;
}

}  // namespace

int probeFlac(Bytes head, std::uint32_t, std::uint64_t) {
  const Id3Head tag = skipId3(head);
  if (tag.isLongerThanHead) return 2;
  if (startsWith(tag.rest, "fLaC")) return 6;
  return startsWith(tag.rest, "OggS") && startsWith(firstOggPacket(tag.rest),
                                                    "\x7F"
                                                    "FLAC")
             ? 6
             : 0;
}

bool readFlac(Collection& collection, InputFile& file, std::uint32_t) {
  CompressedSamples samples;
  flac::Metadata metadata;
  if (!flac::open(FilePart::whole(file), samples, &metadata)) return false;
  Waveform* waveform = addWaveform(collection, samples);
  if (!waveform) return false;
  readMetadata(metadata, *waveform);
  nameAfterFile(*waveform, file);
  return true;
}

bool writeFlac(Item& item, OutputFile& file, const io::SaveOptions& save) {
  WriteJob job;
  if (!prepareWrite(item, save, kFlacCapabilities, kMostChannels, job)) return false;
  flac::EncodeOptions options;
  options.bits = bitsOf(job.layout.encoding);
  options.maxCompression = save.variant == kMaxCompression;
  FileSink sink(file);
  return flac::encode(job.input(), options, buildMetadata(job, file.path()), sink) && sink.flush();
}

std::u16string missingForFlac(bool) { return flac::missingLibrary(); }

}  // namespace vemko::audio
