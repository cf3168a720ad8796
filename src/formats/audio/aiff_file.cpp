// AIFF and AIFF-C files are written here: their lengths, which are known beforehand, need nothing of a
// library. Reading, with all the compressed kinds, is libsndfile's.
#include <algorithm>
#include <iterator>

#include "base/last_error.h"
#include "codecs/sample_writer.h"
#include "formats/audio/audio.h"
#include "formats/audio/audio_file.h"
#include "formats/audio/big_endian.h"
#include "formats/audio/descriptions.h"

namespace vemko::audio {
namespace {

constexpr std::uint32_t kVersion = 0xA2805140;  // of AIFF-C

struct EncodingRow {
  SampleEncoding encoding;
  std::uint16_t bits;  // before compression
  std::string_view type, name;
};

// clang-format off
constexpr EncodingRow kEncodings[] = {
  {SampleEncoding::Pcm8,     8, "NONE", "not compressed"},
  {SampleEncoding::Pcm16,   16, "NONE", "not compressed"},
  {SampleEncoding::Pcm24,   24, "NONE", "not compressed"},
  {SampleEncoding::Pcm32,   32, "NONE", "not compressed"},
  {SampleEncoding::Float32, 32, "fl32", "32-bit floating point"},
  {SampleEncoding::Float64, 64, "fl64", "64-bit floating point"},
  {SampleEncoding::MuLaw,   16, "ulaw", "ITU-T G.711 mu-law"},
  {SampleEncoding::ALaw,    16, "alaw", "ITU-T G.711 A-law"},
};
// clang-format on

const EncodingRow& rowOf(SampleEncoding encoding) {
  return *std::ranges::find(kEncodings, encoding, &EncodingRow::encoding);
}

void putCommon(ByteWriter& chunks, const Waveform& waveform, const io::SampleLayout& layout,
               bool isCompressed) {
  const EncodingRow& row = rowOf(layout.encoding);
  ByteWriter body;
  putBig(body, std::uint16_t{layout.channels});
  putBig(body, waveform.frames);
  putBig(body, row.bits);
  putExtended(body, waveform.rate);
  if (isCompressed) {
    body.text(row.type);
    body.u8(static_cast<std::uint8_t>(row.name.size()));
    body.text(row.name);
    if (row.name.size() % 2 == 0) body.u8(0);
  }
  putIffChunk(chunks, "COMM", body.bytes);
}

}  // namespace

bool writeAiff(Item& item, OutputFile& file, const io::SaveOptions& options) {
  constexpr std::size_t kFormTypeBytes = 4;
  constexpr std::uint32_t kSoundHeaderBytes = 8;  // offset and block size, both 0
  if (item.kind() != ItemKind::Waveform) return fail(u"The file format can not save this item");
  const Waveform& waveform = static_cast<const Waveform&>(item);
  const bool isCompressed = options.variant == kAifc;
  const io::SampleLayout layout =
      io::chooseLayout(waveform, options, sndfileCapabilities(static_cast<SndfileType>(options.variant)));
  const PcmFormat format{layout.encoding, true, true};
  const std::uint64_t dataBytes = std::uint64_t{waveform.frames} * layout.channels * bytesPerSample(format);
  const std::uint64_t padBytes = dataBytes % 2;
  const std::vector<std::byte> description =
      buildAiffDescription({waveform, !isNamedAfterFile(waveform, file.path())});

  ByteWriter version, chunks;
  putBig(version, kVersion);
  if (isCompressed) putIffChunk(chunks, "FVER", version.bytes);
  putCommon(chunks, waveform, layout, isCompressed);
  const std::uint64_t formBytes =
      kFormTypeBytes + chunks.size() + 8 + kSoundHeaderBytes + dataBytes + padBytes + description.size();
  if (formBytes > UINT32_MAX) return fail(u"The samples are too many for an AIFF file");

  ByteWriter head;
  head.text("FORM");
  putBig(head, static_cast<std::uint32_t>(formBytes));
  head.text(isCompressed ? "AIFC" : "AIFF");
  head.append(chunks.bytes);
  head.text("SSND");
  putBig(head, static_cast<std::uint32_t>(kSoundHeaderBytes + dataBytes));
  head.zeros(kSoundHeaderBytes);
  constexpr std::byte kPad[1] = {};
  BlockWriter out(file);
  return out.append(head.bytes) && writeSamples(waveform, format, layout.channels, out) &&
         out.append(Bytes(kPad).first(static_cast<std::size_t>(padBytes))) && out.append(description) &&
         out.flush();
}

}  // namespace vemko::audio
