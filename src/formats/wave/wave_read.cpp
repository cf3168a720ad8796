#include <algorithm>
#include <optional>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"
#include "codecs/id3.h"
#include "formats/riff/description.h"
#include "formats/riff/info.h"
#include "formats/riff/kept_chunks.h"
#include "formats/riff/riff.h"
#include "formats/riff/wave_format.h"
#include "formats/wave/wave.h"
#include "formats/wave/wave_big_endian.h"

namespace vemko::wave {
namespace {

constexpr std::uint32_t kUnknownSize = 0xFFFFFFFF;  // stands elsewhere, or was never filled in
constexpr std::uint32_t kFormTypeBytes = 4;         // that the file's size counts with the chunks

// What the walk over the chunks finds. Bodies are views of the mapped file, or of what was made of it.
struct WaveFile {
  bool bigEndian = false;
  Bytes chunks;                                   // all behind the form type
  std::vector<std::vector<std::byte>> converted;  // bodies of a big-endian file
  std::uint32_t riffSize = 0;
  std::optional<std::uint64_t> largeDataSize;  // from "ds64"
  std::optional<Bytes> format;
  std::optional<std::uint64_t> dataOffset;  // within chunks
  std::uint64_t dataSize = 0;
  std::uint32_t factFrames = 0;
  riff::DescriptionChunks description;
  std::vector<Bytes> infoLists;
  Bytes broadcast, tag;
  riff::WaveFileNotes notes;  // what else there is
};

void keepChunk(WaveFile& file, const riff::Chunk& chunk) {
  riff::keepChunk(chunk, !file.dataOffset, file.notes);
}

using ChunkHandler = void (*)(WaveFile&, const riff::Chunk&, riff::ChunkWalker&);

void takeLargeSizes(WaveFile& file, const riff::Chunk& chunk, riff::ChunkWalker&) {
  ByteReader reader(chunk.body);
  reader.u64();  // of the file: never needed
  std::uint64_t dataSize = reader.u64();
  if (reader.ok && !file.largeDataSize) file.largeDataSize = dataSize;
}

void takeFormat(WaveFile& file, const riff::Chunk& chunk, riff::ChunkWalker&) {
  if (!file.format) file.format = chunk.body;
}

void takeFact(WaveFile& file, const riff::Chunk& chunk, riff::ChunkWalker&) {
  file.factFrames = ByteReader(chunk.body).u32();
}

bool isKnownChunk(Bytes at);

// Recorders that stream or are cut off leave sizes that are too large, or the 0 that they began with: the
// file then says that it ends where its samples begin, with no room for another chunk, and none is there.
bool isUnfinished(const WaveFile& file, const riff::Chunk& data) {
  constexpr std::uint64_t kChunkHeaderBytes = 8;
  if (isKnownChunk(file.chunks.subspan(static_cast<std::size_t>(data.offset)))) return false;
  return file.riffSize == kUnknownSize || file.riffSize < kFormTypeBytes + data.offset + kChunkHeaderBytes;
}

std::uint64_t trueDataSize(const WaveFile& file, const riff::Chunk& chunk) {
  const std::uint64_t held = file.chunks.size() - chunk.offset;
  std::uint64_t size = chunk.size;
  const std::uint64_t largeSize = file.largeDataSize.value_or(0);
  if (size == kUnknownSize) size = largeSize != 0 ? largeSize : std::max(size, held);
  if (size == 0 && held > 0 && isUnfinished(file, chunk)) {
    logWarning(u"The size of the 'data' chunk was never filled in: reading what is there");
    size = held;
  }
  if (size > held) logWarning(u"The 'data' chunk claims more than the file holds: reading what is there");
  return std::min(size, held);
}

void takeData(WaveFile& file, const riff::Chunk& chunk, riff::ChunkWalker& walker) {
  const std::uint64_t size = trueDataSize(file, chunk);
  walker.seekBehind(chunk.offset, size);
  if (file.dataOffset) return;
  file.dataOffset = chunk.offset;
  file.dataSize = size;
}

void takeList(WaveFile& file, const riff::Chunk& chunk, riff::ChunkWalker&) {
  if (riff::listType(chunk.body) == fourCc("INFO"))
    file.infoLists.push_back(riff::listContents(chunk.body));
  else if (!riff::takeDescriptionChunk(chunk, file.description))
    keepChunk(file, chunk);
}

void takeFirst(Bytes& place, const riff::Chunk& chunk) {
  if (place.empty()) place = chunk.body;
}
void takeDescription(WaveFile& file, const riff::Chunk& chunk, riff::ChunkWalker&) {
  riff::takeDescriptionChunk(chunk, file.description);
}
void takeBroadcast(WaveFile& file, const riff::Chunk& chunk, riff::ChunkWalker&) {
  takeFirst(file.broadcast, chunk);
  keepChunk(file, chunk);
}
void takeTag(WaveFile& file, const riff::Chunk& chunk, riff::ChunkWalker&) { takeFirst(file.tag, chunk); }

struct ChunkRow {
  std::uint32_t id;
  ChunkHandler take;
};

// clang-format off
constexpr ChunkRow kChunkRows[] = {
  {fourCc("ds64"), takeLargeSizes},
  {fourCc("fmt "), takeFormat},
  {fourCc("fact"), takeFact},
  {fourCc("data"), takeData},
  {fourCc("LIST"), takeList},
  {fourCc("smpl"), takeDescription},
  {fourCc("inst"), takeDescription},
  {fourCc("wsmp"), takeDescription},
  {fourCc("cue "), takeDescription},
  {fourCc("bext"), takeBroadcast},
  {fourCc("ID3 "), takeTag},
  {fourCc("id3 "), takeTag},
};
// clang-format on

bool isKnownChunk(Bytes at) {
  const std::uint32_t id = ByteReader(at).u32();
  return std::ranges::find(kChunkRows, id, &ChunkRow::id) != std::end(kChunkRows);
}

// Accepts a file of its own, also behind a tag, and a wave list as it stands in sound banks.
bool readHeader(Bytes bytes, WaveFile& file) {
  const Bytes wave = skipId3(bytes).rest;
  file.tag = bytes.first(bytes.size() - wave.size());
  ByteReader reader(wave);
  const std::uint32_t id = reader.u32();
  file.riffSize = reader.u32();
  const std::uint32_t form = reader.u32();
  constexpr std::uint32_t kHeads[] = {fourCc("RIFF"), fourCc("RF64"), fourCc("BW64"), fourCc("SDSS")};
  const bool isFile =
      form == fourCc("WAVE") && std::find(std::begin(kHeads), std::end(kHeads), id) != std::end(kHeads);
  const bool isList = form == fourCc("wave") && id == fourCc("LIST");
  file.chunks = reader.rest();
  return isFile || isList ? true : fail(u"Not a RIFF WAVE file");
}

bool readBigEndianHeader(Bytes bytes, WaveFile& file) {
  ByteReader reader(bytes);
  const std::uint32_t id = reader.u32();
  file.riffSize = reader.big<std::uint32_t>();
  const std::uint32_t form = reader.u32();
  file.bigEndian = true;
  file.notes.canCarry = false;
  file.chunks = reader.rest();
  return id == fourCc("RIFX") && form == fourCc("WAVE") ? true : fail(u"Not a RIFX WAVE file");
}

void makeLittleEndian(WaveFile& file, riff::Chunk& chunk) {
  if (auto body = littleEndianBody(chunk.id, chunk.body))
    chunk.body = file.converted.emplace_back(std::move(*body));
}

void walkChunks(WaveFile& file) {
  riff::ChunkWalker walker(file.chunks, file.bigEndian);
  for (riff::Chunk chunk; walker.next(chunk);) {
    const auto row = std::ranges::find(kChunkRows, chunk.id, &ChunkRow::id);
    if (row == std::end(kChunkRows)) {
      keepChunk(file, chunk);
      continue;
    }
    if (file.bigEndian) makeLittleEndian(file, chunk);
    row->take(file, chunk, walker);
  }
}

// The frame count: the "fact" chunk's where it gives one that the data can hold. What it cuts off is not
// worth a word where samples stand in blocks, of which the last one is filled up.
bool settleFrames(const WaveFile& file, bool standsInBlocks, std::uint64_t& frames) {
  if (file.factFrames > frames && file.factFrames != kUnknownSize) {
    logWarning(u"The 'fact' chunk claims more frames than there are");
  } else if (file.factFrames != 0 && file.factFrames != kUnknownSize) {
    if (file.factFrames < frames && !standsInBlocks)
      logWarning(u"The 'fact' chunk claims fewer frames than there are: the others are left out");
    frames = file.factFrames;
  }
  return frames <= UINT32_MAX ? true : fail(u"Wave too big - use 64-bit version!");
}

void readTexts(WaveFile& file, const Path& path, Waveform& waveform) {
  for (Bytes list : file.infoLists) riff::readInfo(list, waveform, file.notes.info);
  riff::readBroadcastText(file.broadcast, waveform);
  readId3(file.tag, waveform);
  if (waveform.name().empty()) waveform.setName(textOf(path.stem()));
}

bool readMapped(InputFile& input, Bytes& bytes) {
  bytes = input.bytes();
  // A program of 32 bits has no room for a large file, whatever part of it is the header.
  constexpr std::uint64_t kLargeFor32Bits = 1 << 28;
  if (bytes.empty() && kAddressBits == 32 && input.size() >= kLargeFor32Bits)
    return fail(u"Wave too big - use 64-bit version!");
  return !bytes.empty() || input.size() == 0;
}

// From the chunks to the waveform, for files of either byte order whose header has been read.
bool readChunks(Collection& collection, const InputFile& input, WaveFile& file) {
  walkChunks(file);
  if (!file.format) return fail(u"No 'fmt ' chunk in this WAVE file");
  if (!file.dataOffset) return fail(u"No 'data' chunk in this WAVE file");
  riff::WaveFormat format;
  if (!riff::parseFormat(*file.format, format)) return false;
  if (file.bigEndian) riff::setBigEndian(format);
  riff::settleJustification(file.chunks.subspan(static_cast<std::size_t>(*file.dataOffset),
                                                static_cast<std::size_t>(file.dataSize)),
                            format);
  const FilePart data{
      SourceFile::of(input), input.size() - file.chunks.size() + *file.dataOffset, file.dataSize, {}};
  CompressedSamples samples{{0, format.rate, format.channels, 0}, nullptr};
  if (format.coded) {
    if (!riff::openCoded(*format.coded, data, samples.facts, samples)) return false;
  } else {
    samples.facts.frames = riff::framesIn(format, data.size);
  }
  std::uint64_t frames = samples.facts.frames;
  const bool standsInBlocks = format.coded || format.storage == riff::WaveFormat::Storage::Adpcm;
  if (!settleFrames(file, standsInBlocks, frames)) return false;
  if (!samples.source) samples.source = riff::makeSource(format, data.file, data.offset, data.size, frames);

  Waveform& waveform = createWaveform(collection, {});
  waveform.frames = static_cast<std::uint32_t>(frames);
  waveform.channels = samples.facts.channels;
  waveform.rate = samples.facts.rate;
  waveform.setSource(samples.source);
  readTexts(file, input.path(), waveform);
  riff::readDescription(file.description, waveform);
  riff::keepTag(file.tag, file.notes);
  riff::attachNotes(std::move(file.notes), waveform);
  return true;
}

}  // namespace

bool readWave(Collection& collection, InputFile& input, std::uint32_t) {
  WaveFile file;
  Bytes bytes;
  return readMapped(input, bytes) && readHeader(bytes, file) && readChunks(collection, input, file);
}

bool readBigEndianWave(Collection& collection, InputFile& input, std::uint32_t) {
  WaveFile file;
  Bytes bytes;
  return readMapped(input, bytes) && readBigEndianHeader(bytes, file) && readChunks(collection, input, file);
}

}  // namespace vemko::wave
