// Opens the samples of CoreAudio files. The library at hand knows most of them, but not a data chunk that
// goes to the end of the file, nor ALAC whose description leaves the width of the samples to the decoder's
// cookie; and it knows the ADPCM of QuickTime in AIFF-C files only. These get a head that it understands.
#include "formats/audio/caf_open.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>

#include "base/last_error.h"
#include "base/text.h"
#include "codecs/sndfile.h"
#include "formats/audio/audio_file.h"
#include "formats/audio/big_endian.h"
#include "formats/audio/caf_tables.h"
#include "formats/riff/riff.h"

namespace vemko::audio {
namespace {

constexpr std::uint64_t kEditCountBytes = 4;

struct CafFile {
  Bytes description, cookie, packets;
  std::uint64_t dataOffset = 0, dataSize = 0;  // without the edit count
  bool hasData = false, isOpenEnded = false;
};

CafFile walkChunks(Bytes bytes) {
  CafFile file;
  ByteReader reader(bytes);
  reader.skip(kCafHeaderBytes);
  for (CafChunk chunk; nextCafChunk(reader, chunk);) {
    if (chunk.id == fourCc("desc")) file.description = chunk.body;
    if (chunk.id == fourCc("kuki")) file.cookie = chunk.body;
    if (chunk.id == fourCc("pakt")) file.packets = chunk.body;
    if (chunk.id != fourCc("data") || file.hasData || chunk.body.size() < kEditCountBytes) continue;
    file.hasData = true;
    file.isOpenEnded = chunk.isOpenEnded;
    file.dataSize = chunk.body.size() - kEditCountBytes;
    file.dataOffset = static_cast<std::uint64_t>(chunk.body.data() - bytes.data()) + kEditCountBytes;
  }
  return file;
}

// The fields of the description chunk that matter here.
struct Description {
  double rate = 0;
  std::uint32_t codec = 0, bytesPerPacket = 0, framesPerPacket = 0, channels = 0;
};

std::optional<Description> parseDescription(Bytes body) {
  Description description;
  ByteReader reader(body);
  description.rate = reader.big<double>();
  description.codec = reader.u32();
  reader.skip(4);  // flags
  description.bytesPerPacket = reader.big<std::uint32_t>();
  description.framesPerPacket = reader.big<std::uint32_t>();
  description.channels = reader.big<std::uint32_t>();
  return reader.ok ? std::optional(description) : std::nullopt;
}

void putChunkHead(ByteWriter& out, std::string_view id, std::uint64_t size) {
  out.text(id);
  putBig(out, size);
}
void putChunk(ByteWriter& out, std::string_view id, Bytes body) {
  if (body.empty()) return;
  putChunkHead(out, id, body.size());
  out.append(body);
}

// What the description's flags say of ALAC, by the width in the cookie; nothing for another width.
std::optional<std::uint32_t> alacFlags(Bytes cookie) {
  constexpr std::size_t kWidthAt = 5, kWrapperBytes = 24;  // atoms around the decoder's own words
  ByteReader reader(cookie);
  reader.skip(4);
  const bool isWrapped = reader.u32() == fourCc("frma");
  ByteReader words(cookie.subspan(isWrapped ? std::min(kWrapperBytes, cookie.size()) : 0));
  words.skip(kWidthAt);
  constexpr std::uint8_t kWidths[] = {16, 20, 24, 32};
  const auto width = std::ranges::find(kWidths, words.u8());
  if (!words.ok || width == std::end(kWidths)) return std::nullopt;
  return static_cast<std::uint32_t>(width - kWidths) + 1;
}

std::vector<std::byte> cafHead(const CafFile& file, Bytes description) {
  ByteWriter out;
  out.text("caff");
  putBig(out, std::uint32_t{0x10000});  // version 1, no flags
  putChunk(out, "desc", description);
  putChunk(out, "kuki", file.cookie);
  putChunk(out, "pakt", file.packets);
  putChunkHead(out, "data", file.dataSize + kEditCountBytes);
  out.u32(0);
  return std::move(out.bytes);
}

std::optional<std::vector<std::byte>> alacHead(const CafFile& file) {
  constexpr std::size_t kFlagsAt = 12;
  const auto flags = alacFlags(file.cookie);
  if (!flags) return std::nullopt;
  ByteWriter description;
  description.append(file.description);
  description.patchU32(kFlagsAt, byteSwapped(*flags));
  return cafHead(file, description.bytes);
}

// Blocks of 64 frames a channel are the same in both kinds of files.
std::optional<std::vector<std::byte>> ima4Head(const CafFile& file, const Description& description) {
  constexpr std::uint32_t kBlockBytes = 34, kBlockFrames = 64;
  const std::uint64_t packetBytes = std::uint64_t{description.channels} * kBlockBytes;
  const std::uint64_t soundBytes = file.dataSize + 8;
  if (description.channels == 0 || description.channels > UINT8_MAX ||
      description.bytesPerPacket != packetBytes || description.framesPerPacket != kBlockFrames ||
      soundBytes > INT32_MAX || !(description.rate >= 1 && description.rate <= UINT32_MAX))
    return std::nullopt;
  ByteWriter common, out;
  putBig(common, static_cast<std::uint16_t>(description.channels));
  putBig(common, static_cast<std::uint32_t>(file.dataSize / packetBytes));
  putBig(common, std::uint16_t{16});
  putExtended(common, static_cast<std::uint32_t>(std::lround(description.rate)));
  common.text("ima4");
  common.u16(0);  // no name
  out.text("FORM");
  putBig(out, static_cast<std::uint32_t>(4 + 8 + common.size() + 8 + soundBytes));
  out.text("AIFC");
  putIffChunk(out, "COMM", common.bytes);
  out.text("SSND");
  putBig(out, static_cast<std::uint32_t>(soundBytes));
  out.zeros(8);
  return std::move(out.bytes);
}

constexpr std::uint32_t kLibraryCodecs[] = {fourCc("lpcm"), fourCc("ulaw"), fourCc("alaw")};

}  // namespace

bool openCoreAudio(InputFile& input, CompressedSamples& samples) {
  const CafFile file = walkChunks(input.bytes());
  const auto description = parseDescription(file.description);
  if (!description || !file.hasData) return sndfile::open(FilePart::whole(input), samples);
  std::optional<std::vector<std::byte>> head;
  if (description->codec == fourCc("alac")) {
    head = alacHead(file);
  } else if (description->codec == fourCc("ima4")) {
    head = ima4Head(file, *description);
  } else if (std::ranges::find(kLibraryCodecs, description->codec) != std::end(kLibraryCodecs)) {
    if (!file.isOpenEnded) return sndfile::open(FilePart::whole(input), samples);
    head = cafHead(file, file.description);
  } else {
    return fail(u"The encoding '" + std::u16string(trimmed(riff::idText(description->codec))) +
                u"' of this CoreAudio file needs a codec that is not available");
  }
  if (!head) return fail(u"The file is damaged or of a kind that can not be read");
  const FilePart data{SourceFile::of(input), file.dataOffset, file.dataSize, {}};
  return sndfile::open(data, samples, std::move(*head));
}

}  // namespace vemko::audio
