#include "formats/riff/wave_coded.h"

#include <iterator>
#include <string>
#include <string_view>

#include "base/last_error.h"
#include "base/text.h"
#include "codecs/g726.h"
#include "codecs/gsm.h"
#include "codecs/mpeg.h"
#include "codecs/vorbis.h"
#include "formats/riff/format_body.h"

namespace vemko::riff {
namespace {

constexpr std::uint16_t kGsmTag = 0x31, kMpegTag = 0x50, kLayer3Tag = 0x55;
// Of the six tags of Ogg Vorbis those whose sample data is a stream with its own headers.
constexpr std::uint16_t kVorbisTag = 0x674F, kManagedVorbisTag = 0x676F;
constexpr std::size_t kGsmPairs = static_cast<std::size_t>(gsm::Packing::WavePairs);

// The registered tags of the ADPCM codes. Reading takes all widths of all of them.
struct AdpcmRow {
  SampleEncoding encoding;  // that this tag is written for
  std::uint16_t tag;
  std::uint8_t bits;
};
// clang-format off
constexpr AdpcmRow kAdpcmRows[] = {
  {SampleEncoding::Adpcm2, 0x64, 2},
  {SampleEncoding::Adpcm3, 0x14, 3},
  {SampleEncoding::Adpcm4, 0x40, 4},
  {SampleEncoding::Adpcm5, 0x14, 5},
};
// clang-format on
constexpr std::uint16_t kOtherAdpcmTag = 0x45;

// clang-format off
struct CodecName {
  std::uint16_t tag;
  std::u16string_view name;
};
// Encodings that are known by name only, in the order of their tags.
constexpr CodecName kCodecNames[] = {
  {0x0022, u"TrueSpeech"},
  {0x0028, u"LRC"},
  {0x0032, u"MSN Audio"},
  {0x003B, u"Rockwell ADPCM"},
  {0x0041, u"G.728 CELP"},
  {0x0042, u"MS G.723.1"},
  {0x0065, u"G.722 ADPCM"},
  {0x0069, u"IMA ADPCM (Xbox)"},
  {0x0083, u"G.729"},
  {0x0092, u"Dolby AC-3 (S/PDIF)"},
  {0x00FF, u"AAC"},
  {0x0160, u"Windows Media Audio 1"},
  {0x0161, u"Windows Media Audio 2"},
  {0x0162, u"Windows Media Audio 9 Professional"},
  {0x0163, u"Windows Media Audio 9 Lossless"},
  {0x0200, u"Creative ADPCM"},
  {0x0270, u"ATRAC3"},
  {0x1610, u"AAC"},
  {0x2000, u"Dolby AC-3"},
  {0x2001, u"DTS"},
  {0x566F, u"Ogg Vorbis"},
  {0x6750, u"Ogg Vorbis"},
  {0x6751, u"Ogg Vorbis"},
  {0x6770, u"Ogg Vorbis"},
  {0x6771, u"Ogg Vorbis"},
  {0x704F, u"Opus"},
  {0xF1AC, u"FLAC"},
};
// clang-format on

const AdpcmRow* adpcmRow(SampleEncoding encoding) {
  for (const AdpcmRow& row : kAdpcmRows)
    if (row.encoding == encoding) return &row;
  return nullptr;
}

// What is written for MPEG audio, one frame of the encoder below what a decoder's delay adds up to.
constexpr std::uint16_t kCodecDelay = mpeg::kTotalDelay - 1;
// Many writers have this in every file, whatever their encoder's delay is; in most it is that of LAME.
constexpr std::uint16_t kMeaninglessDelay = 1393;

// Fields behind the size of the extra bytes: ID (u16), flags (u32), block size (u16), frames per block (u16),
// delay (u16).
std::uint32_t mpegDelay(Bytes extra) {
  ByteReader reader(extra);
  reader.skip(10);
  const std::uint16_t delay = reader.u16();
  if (!reader.ok || delay == 0) return 0;
  return delay == kMeaninglessDelay ? mpeg::kTotalDelay : delay + 1u;
}

ByteWriter mpegExtra(std::uint32_t rate, std::uint32_t bitRate) {
  const std::uint32_t bytesPerKilobit = rate >= 28000 ? 144000 : 72000;
  ByteWriter extra;
  extra.u16(1);
  extra.u32(0);
  extra.u16(static_cast<std::uint16_t>((rate / 2 + bytesPerKilobit * (bitRate / 1000)) / rate));
  extra.u16(1);
  extra.u16(kCodecDelay);
  return extra;
}

}  // namespace

std::optional<CodedFormat> codedFormat(std::uint16_t tag, std::uint16_t bits, Bytes extra) {
  if (tag == kGsmTag) return CodedFormat{CodedFormat::Codec::Gsm};
  if (tag == kLayer3Tag || tag == kMpegTag)
    return CodedFormat{CodedFormat::Codec::Mpeg, 0, tag == kLayer3Tag ? mpegDelay(extra) : 0};
  if (tag == kVorbisTag || tag == kManagedVorbisTag) return CodedFormat{CodedFormat::Codec::Vorbis};
  const bool hasWidth = bits >= 2 && bits <= 5;
  for (const AdpcmRow& row : kAdpcmRows)
    if (tag == row.tag || tag == kOtherAdpcmTag)
      return CodedFormat{CodedFormat::Codec::G726, static_cast<std::uint8_t>(hasWidth ? bits : row.bits)};
  return std::nullopt;
}

bool failUnknownTag(std::uint16_t tag) {
  for (const CodecName& codec : kCodecNames)
    if (codec.tag == tag)
      return fail(std::u16string(u"The encoding '")
                      .append(codec.name)
                      .append(u"' of this WAVE file needs a codec that is not available"));
  return fail(toUtf16(formatted("Unsupported format tag 0x%04X in this WAVE file", tag)));
}

bool openCoded(const CodedFormat& format, const FilePart& part, const StreamFacts& facts,
               CompressedSamples& samples) {
  if (format.codec == CodedFormat::Codec::Mpeg) return mpeg::open(part, samples, format.delayFrames);
  if (format.codec == CodedFormat::Codec::Vorbis) return vorbis::open(part, samples);
  if (facts.channels != 1) return fail(u"Unsupported number of channels in this WAVE file");
  if (format.codec == CodedFormat::Codec::Gsm)
    return gsm::open(part, gsm::Packing::WavePairs, facts, samples);
  return g726::open(part, {format.bits, g726::likelyOrder(part, format.bits)}, facts, samples);
}

bool isCoded(SampleEncoding encoding) {
  return encoding == SampleEncoding::Gsm610 || encoding == SampleEncoding::Codec || adpcmRow(encoding);
}

FormatChunk buildCodedFormat(SampleEncoding encoding, std::uint8_t channels, std::uint32_t rate,
                             std::uint32_t setting) {
  FormatFields fields;
  fields.channels = channels;
  fields.rate = rate;
  fields.hasExtra = true;
  fields.bits = 0;
  ByteWriter extra;
  if (encoding == SampleEncoding::Gsm610) {
    fields.tag = kGsmTag;
    fields.blockAlign = gsm::kBlockBytes[kGsmPairs];
    fields.bytesPerSecond = std::uint64_t{rate} * gsm::kBlockBytes[kGsmPairs] / gsm::kBlockFrames[kGsmPairs];
    extra.u16(gsm::kBlockFrames[kGsmPairs]);
  } else if (const AdpcmRow* row = adpcmRow(encoding)) {
    fields.tag = row->tag;
    fields.bits = row->bits;
    fields.blockAlign = row->bits;  // bytes of eight codes, which end on a byte
    fields.bytesPerSecond = (std::uint64_t{rate} * row->bits + 7) / 8;  // some derive the bits from it
    extra.u16(0);
  } else {
    const std::uint32_t bitRate = mpeg::storedBitRate(mpeg::bitRateOfSetting(setting), rate);
    fields.tag = kLayer3Tag;
    fields.blockAlign = 1;
    fields.bytesPerSecond = bitRate / 8;
    extra = mpegExtra(rate, bitRate);
  }
  fields.extra = extra.bytes;
  return {buildFormatBody(fields), true};
}

std::uint64_t codedFrames(SampleEncoding encoding, std::uint64_t frames) {
  constexpr std::uint64_t kBlock = gsm::kBlockFrames[kGsmPairs];
  return encoding == SampleEncoding::Gsm610 ? (frames + kBlock - 1) / kBlock * kBlock : frames;
}

bool encodeCoded(SampleEncoding encoding, const EncoderInput& input, std::uint32_t setting, ByteSink& sink) {
  if (encoding == SampleEncoding::Gsm610) return gsm::encode(input, gsm::Packing::WavePairs, sink);
  if (const AdpcmRow* row = adpcmRow(encoding))
    return g726::encode(input, {row->bits, g726::BitOrder::HighBitsFirst}, sink);
  if (mpeg::storedRate(input.rate) != input.rate)
    return fail(u"MPEG audio in WAVE files can not hold this sample rate");
  mpeg::EncodeOptions options;
  options.bitsPerSecond = mpeg::bitRateOfSetting(setting);
  options.tagFrame = false;
  return mpeg::encode(input, options, sink);
}

}  // namespace vemko::riff
