#include "formats/riff/wave_format.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"
#include "codecs/block_source.h"
#include "codecs/pcm_source.h"
#include "formats/riff/format_body.h"

namespace vemko::riff {
namespace {

constexpr std::uint16_t kMicrosoftAdpcmTag = 2, kImaAdpcmTag = 0x11;

struct TagRow {
  std::uint16_t tag;
  std::uint16_t bits;  // of a stored sample
  SampleEncoding encoding;
  bool hasExtraSize;  // the body written ends with the size of the extra bytes, 0
};

// clang-format off
// Encodings with a fixed number of bytes a sample. The reader looks for tag and bits of the container, the
// writer for the encoding.
constexpr TagRow kRows[] = {
  {kPcmTag,    8, SampleEncoding::Pcm8,     false},
  {kPcmTag,   16, SampleEncoding::Pcm16,    false},
  {kPcmTag,   24, SampleEncoding::Pcm24,    false},
  {kPcmTag,   32, SampleEncoding::Pcm32,    false},
  {kFloatTag, 32, SampleEncoding::Float32,  false},
  {kFloatTag, 64, SampleEncoding::Float64,  false},
  {6,          8, SampleEncoding::ALaw,     true},
  {7,          8, SampleEncoding::MuLaw,    true},
};
// clang-format on

struct Fields {
  std::uint16_t tag = 0;
  std::uint16_t channels = 0;
  std::uint32_t rate = 0;
  std::uint16_t blockAlign = 0;
  std::uint16_t bits = 0;
  Bytes extra;
};

bool readFields(Bytes body, Fields& fields) {
  ByteReader reader(body);
  fields.tag = reader.u16();
  fields.channels = reader.u16();
  fields.rate = reader.u32();
  reader.u32();  // bytes per second: follows from the others
  fields.blockAlign = reader.u16();
  if (!reader.ok) return fail(u"The 'fmt ' chunk of this WAVE file is too short");
  if (reader.remaining() >= 2) fields.bits = reader.u16();
  if (reader.remaining() >= 2) {
    std::uint16_t extraBytes = reader.u16();
    fields.extra = reader.take(std::min<std::size_t>(extraBytes, reader.remaining()));
    if (fields.tag == kExtensibleTag && fields.extra.size() < 22)  // real files give 0 as the size
      fields.extra = body.subspan(18);
  }
  return true;
}

// Puts the tag that the sub-format stands for in the place of the extensible one.
bool resolveSubformat(Fields& fields) {
  ByteReader reader(fields.extra);
  reader.u16();  // valid bits: samples are left-justified, so that the container's width says enough
  reader.u32();  // speaker positions
  fields.tag = reader.u16();
  Bytes family = reader.take(sizeof kBaseGuid);
  if (!reader.ok || std::memcmp(family.data(), kBaseGuid, sizeof kBaseGuid) != 0)
    return fail(u"Unsupported 'Extensible' subformat GUID");
  return true;
}

// Bytes that a sample takes: by the block align where that is possible, else by the bits; 0 for neither.
unsigned containerBytes(const Fields& fields) {
  unsigned needed = (fields.bits + 7u) / 8;
  unsigned aligned = fields.blockAlign / fields.channels;
  bool isSane = fields.blockAlign % fields.channels == 0 && aligned >= std::max(needed, 1u) && aligned <= 8;
  if (isSane) return aligned;
  logWarning(u"The 'fmt ' chunk has a wrong block align, which is not used");
  return needed <= 8 ? needed : 0;
}

const TagRow* findRow(std::uint16_t tag, unsigned bits) {
  for (const TagRow& row : kRows)
    if (row.tag == tag && row.bits == bits) return &row;
  return nullptr;
}

bool setPcm(const Fields& fields, WaveFormat& format) {
  unsigned bytes = containerBytes(fields);
  if (fields.tag == kPcmTag && bytes > 4) {
    format.storage = WaveFormat::Storage::Integers;
    format.integers = {static_cast<std::uint8_t>(bytes), static_cast<std::uint8_t>(bytes - 4)};
    return true;
  }
  const TagRow* row = findRow(fields.tag, bytes * 8);
  if (!row && fields.tag == kFloatTag)
    return fail(u"Unsupported bits/sample for IEEE floating point samples");
  if (!row) return fail(u"Unsupported bits/sample in this WAVE file");
  format.pcm.encoding = row->encoding;
  format.isJustifiedEitherWay = fields.tag == kPcmTag && fields.bits == 24 && bytes == 4;
  return true;
}

bool setAdpcm(const Fields& fields, WaveFormat& format) {
  constexpr std::uint16_t kOtherWidths[] = {2, 3, 5};  // that IMA has; a few writers give the decoded width
  if (fields.tag == kImaAdpcmTag && std::ranges::count(kOtherWidths, fields.bits) > 0)
    return fail(u"Unsupported bits/sample in this WAVE file");
  format.storage = WaveFormat::Storage::Adpcm;
  AdpcmFormat& adpcm = format.adpcm;
  adpcm.kind = fields.tag == kImaAdpcmTag ? AdpcmKind::Ima : AdpcmKind::Microsoft;
  adpcm.channels = format.channels;
  adpcm.blockBytes = fields.blockAlign;
  adpcm.framesPerBlock = framesOfBlock(adpcm.kind, adpcm.blockBytes, adpcm.channels);
  if (adpcm.framesPerBlock == 0)
    return fail(u"Unsupported block size of the ADPCM samples in this WAVE file");

  ByteReader reader(fields.extra);
  std::uint16_t framesPerBlock = reader.u16();
  if (framesPerBlock != 0)
    adpcm.framesPerBlock = std::min<std::uint32_t>(adpcm.framesPerBlock, framesPerBlock);
  std::size_t pairs = adpcm.kind == AdpcmKind::Microsoft ? reader.u16() : 0;
  pairs = std::min({pairs, reader.remaining() / 4, std::size(adpcm.coefficients) / 2});
  for (std::size_t i = 0; i < pairs * 2; ++i) adpcm.coefficients[i] = reader.i16();
  return true;
}

// The samples decoded.
std::size_t decodeIntegers(Bytes block, const IntegerLayout& layout, std::span<float> out) {
  std::size_t count = std::min(block.size() / layout.stride, out.size());
  const std::byte* at = block.data() + layout.offset;
  for (std::size_t i = 0; i < count; ++i, at += layout.stride) {
    std::uint32_t value;
    std::memcpy(&value, at, sizeof value);
    if (layout.bigEndian) value = byteSwapped(value);
    out[i] = static_cast<float>(static_cast<std::int32_t>(value << layout.shift)) * (1.0f / 2147483648.0f);
  }
  return count;
}

}  // namespace

bool parseFormat(Bytes body, WaveFormat& format) {
  Fields fields;
  if (!readFields(body, fields)) return false;
  if (fields.tag == kExtensibleTag && !resolveSubformat(fields)) return false;
  if (fields.channels == 0 || fields.channels > 255)
    return fail(u"Unsupported number of channels in this WAVE file");
  format.channels = static_cast<std::uint8_t>(fields.channels);
  if (fields.rate != 0)
    format.rate = fields.rate;
  else
    logWarning(u"The 'fmt ' chunk has a sample rate of 0, 44100 Hz is taken instead");

  switch (fields.tag) {
    case kPcmTag:
    case kFloatTag:
      return setPcm(fields, format);
    case kMicrosoftAdpcmTag:
    case kImaAdpcmTag:
      return setAdpcm(fields, format);
    default:
      break;
  }
  format.coded = codedFormat(fields.tag, fields.bits, fields.extra);
  if (format.coded) return true;
  // Companded samples take one byte each, whatever bits and block align say: some writers give the width that
  // they expand to.
  const TagRow* row = findRow(fields.tag, 8);
  if (!row) return failUnknownTag(fields.tag);
  format.pcm.encoding = row->encoding;
  return true;
}

void setBigEndian(WaveFormat& format) {
  format.pcm.bigEndian = bytesPerSample(format.pcm) > 1;
  format.integers.bigEndian = true;
  format.integers.offset = 0;
}

void settleJustification(Bytes data, WaveFormat& format) {
  constexpr std::size_t kBytesLookedAt = 65536;
  if (!format.isJustifiedEitherWay) return;
  bool hasLowest = false;
  ByteReader reader(data.first(std::min(data.size(), kBytesLookedAt)));
  while (reader.remaining() >= 4) {
    std::uint32_t sample = format.pcm.bigEndian ? reader.big<std::uint32_t>() : reader.u32();
    hasLowest = hasLowest || (sample & 0xFF) != 0;
    if (sample >> 24 != 0 && sample >> 24 != 0xFF) return;
  }
  if (!hasLowest) return;
  format.storage = WaveFormat::Storage::Integers;
  format.integers = {4, 0, 8, format.pcm.bigEndian};
}

std::uint64_t framesIn(const WaveFormat& format, std::uint64_t byteCount) {
  switch (format.storage) {
    case WaveFormat::Storage::Pcm:
      return byteCount / (bytesPerSample(format.pcm) * format.channels);
    case WaveFormat::Storage::Integers:
      return byteCount / (std::uint64_t{format.channels} * format.integers.stride);
    case WaveFormat::Storage::Adpcm:
      break;
  }
  const AdpcmFormat& adpcm = format.adpcm;
  std::uint32_t rest =
      framesOfBlock(adpcm.kind, static_cast<std::uint32_t>(byteCount % adpcm.blockBytes), adpcm.channels);
  return byteCount / adpcm.blockBytes * adpcm.framesPerBlock + std::min(rest, adpcm.framesPerBlock);
}

std::shared_ptr<const SampleSource> makeSource(const WaveFormat& format, std::shared_ptr<SourceFile> file,
                                               std::uint64_t offset, std::uint64_t byteCount,
                                               std::uint64_t frames) {
  switch (format.storage) {
    case WaveFormat::Storage::Pcm:
      return makePcmSource(std::move(file), offset, frames, format.channels, format.pcm);
    case WaveFormat::Storage::Adpcm:
      return makeAdpcmSource(std::move(file), offset, byteCount, frames, format.adpcm);
    case WaveFormat::Storage::Integers:
      break;
  }
  constexpr std::uint32_t kFramesPerBlock = 512;
  BlockLayout layout;
  layout.channels = format.channels;
  layout.blockBytes = kFramesPerBlock * format.channels * format.integers.stride;
  layout.framesPerBlock = kFramesPerBlock;
  layout.encoding = SampleEncoding::Pcm32;
  layout.decode = [integers = format.integers, channels = format.channels](Bytes block,
                                                                           std::span<float> out) {
    return decodeIntegers(block, integers, out) / channels;
  };
  return makeBlockSource(std::move(file), offset, byteCount, frames, std::move(layout));
}

FormatChunk buildFormat(SampleEncoding encoding, std::uint8_t channels, std::uint32_t rate, bool extensible) {
  const TagRow* row = std::find_if(std::begin(kRows), std::end(kRows),
                                   [&](const TagRow& each) { return each.encoding == encoding; });
  FormatChunk chunk;
  if (row == std::end(kRows)) return chunk;
  FormatFields fields;
  fields.tag = row->tag;
  fields.channels = channels;
  fields.rate = rate;
  fields.blockAlign = static_cast<std::uint16_t>(channels * row->bits / 8u);
  fields.bits = fields.validBits = row->bits;
  fields.extensible = extensible || channels > 2;
  fields.hasExtra = row->hasExtraSize;
  chunk.body = buildFormatBody(fields);
  chunk.needsFact = fields.extensible || row->tag != kPcmTag;
  return chunk;
}

}  // namespace vemko::riff
