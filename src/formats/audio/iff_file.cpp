// Amiga IFF samples: 8SVX and, with 16 bits, 16SV. One channel, one loop, texts.
#include <algorithm>

#include "base/last_error.h"
#include "base/log.h"
#include "codecs/pcm_source.h"
#include "codecs/sample_writer.h"
#include "formats/audio/audio.h"
#include "formats/audio/audio_file.h"
#include "formats/audio/iff_texts.h"
#include "formats/audio/probes.h"

namespace vemko::audio {
namespace {

constexpr std::size_t kFormHeaderBytes = 12;
constexpr std::uint32_t kFullVolume = 0x10000;
constexpr std::uint32_t kStereo = 6;  // of a "CHAN" chunk
constexpr PcmFormat k8Bits{SampleEncoding::Pcm8, false, true};
constexpr PcmFormat k16Bits{SampleEncoding::Pcm16, true};

// The "VHDR" chunk.
struct VoiceHeader {
  std::uint32_t framesBeforeLoop = 0, framesInLoop = 0, framesPerCycle = 0;
  std::uint16_t rate = 0;
  std::uint8_t octaves = 1, compression = 0;
};

bool readHeader(Bytes body, VoiceHeader& header) {
  ByteReader reader(body);
  header.framesBeforeLoop = reader.big<std::uint32_t>();
  header.framesInLoop = reader.big<std::uint32_t>();
  header.framesPerCycle = reader.big<std::uint32_t>();
  header.rate = reader.big<std::uint16_t>();
  header.octaves = reader.u8();
  header.compression = reader.u8();
  return reader.ok && header.rate != 0;
}

struct Voice {
  VoiceHeader header;
  bool hasHeader = false, isStereo = false;
  Bytes body;
};

Voice walkVoice(Bytes bytes, Waveform& waveform) {
  Voice voice;
  IffTexts texts;
  IffWalker walker(bytes.subspan(std::min(bytes.size(), kFormHeaderBytes)));
  for (IffChunk chunk; walker.next(chunk);) {
    takeIffText(chunk, texts);
    if (chunk.id == fourCc("VHDR")) voice.hasHeader = readHeader(chunk.body, voice.header);
    if (chunk.id == fourCc("CHAN")) voice.isStereo = ByteReader(chunk.body).big<std::uint32_t>() == kStereo;
    if (chunk.id == fourCc("BODY") && voice.body.empty()) voice.body = chunk.body;
  }
  applyIffTexts(texts, {}, waveform);
  return voice;
}

// A sample for several octaves holds it again for each, twice as long; the first is the highest.
std::uint64_t framesOf(const Voice& voice, std::size_t sampleBytes) {
  std::uint64_t frames = voice.body.size() / sampleBytes;
  if (voice.header.octaves > 1) {
    logWarning(u"Of a sample for several octaves the highest one is read");
    frames = std::min<std::uint64_t>(
        frames, std::uint64_t{voice.header.framesBeforeLoop} + voice.header.framesInLoop);
  }
  return frames;
}

ByteWriter buildHeader(const Waveform& waveform, bool is16Bits) {
  const LoopRecord* loop = waveform.mainLoop();
  const bool isLooped = loop && loop->play != LoopPlay::Off && loop->end > loop->start;
  ByteWriter body;
  putBig(body, isLooped ? loop->start : waveform.frames);
  putBig(body, isLooped ? loop->end - loop->start : 0);
  putBig(body, std::uint32_t{0});  // frames of a cycle, not told
  putBig(body, static_cast<std::uint16_t>(waveform.rate));
  body.u8(1);  // octave
  body.u8(0);  // not compressed
  putBig(body, kFullVolume);
  ByteWriter head;
  head.text(is16Bits ? "16SV" : "8SVX");
  putIffChunk(head, "VHDR", body.bytes);
  return head;
}

}  // namespace

int probeIff(Bytes head, std::uint32_t, std::uint64_t) {
  return startsWith(head, "FORM") && (startsWith(head, "8SVX", 8) || startsWith(head, "16SV", 8)) ? 6 : 0;
}

bool readIff(Collection& collection, InputFile& file, std::uint32_t) {
  const Bytes bytes = file.bytes();
  if (bytes.empty()) return fail(u"Reading from file failed");
  Waveform& waveform = createWaveform(collection, {});
  const Voice voice = walkVoice(bytes, waveform);
  nameAfterFile(waveform, file);
  if (!voice.hasHeader || voice.body.empty()) return fail(u"This IFF file holds no sample");
  if (voice.header.compression != 0 || voice.isStereo)
    return fail(u"Compressed and stereo samples of IFF files can not be read");
  const PcmFormat format = startsWith(bytes, "16SV", 8) ? k16Bits : k8Bits;
  const std::uint64_t frames = framesOf(voice, bytesPerSample(format));
  waveform.frames = static_cast<std::uint32_t>(frames);
  waveform.rate = voice.header.rate;
  const auto offset = static_cast<std::uint64_t>(voice.body.data() - bytes.data());
  waveform.setSource(makePcmSource(SourceFile::at(file.path()), offset, frames, 1, format));
  LoopDescriptor loop;
  loop.startFrames = voice.header.framesBeforeLoop;
  loop.endFrames = std::min<double>(loop.startFrames + voice.header.framesInLoop, waveform.frames);
  if (loop.startFrames < loop.endFrames) waveform.addLoop(loop, {}, true, true);
  return true;
}

bool writeIff(Item& item, OutputFile& file, const io::SaveOptions& options) {
  if (item.kind() != ItemKind::Waveform) return fail(u"The file format can not save this item");
  const Waveform& waveform = static_cast<const Waveform&>(item);
  if (waveform.rate == 0 || waveform.rate > UINT16_MAX)
    return fail(u"IFF files can not hold this sample rate");
  const io::SampleLayout layout = io::chooseLayout(waveform, options, kIffCapabilities);
  const PcmFormat format = layout.encoding == SampleEncoding::Pcm8 ? k8Bits : k16Bits;
  ByteWriter chunks = buildHeader(waveform, layout.encoding == SampleEncoding::Pcm16);
  putIffTexts(waveform, !isNamedAfterFile(waveform, file.path()), chunks);
  const std::uint64_t dataBytes = waveform.frames * std::uint64_t{bytesPerSample(format)};
  const std::uint64_t formBytes = chunks.size() + 8 + dataBytes + dataBytes % 2;
  if (formBytes > UINT32_MAX) return fail(u"The samples are too many for an IFF file");

  ByteWriter head;
  head.text("FORM");
  putBig(head, static_cast<std::uint32_t>(formBytes));
  head.append(chunks.bytes);
  head.text("BODY");
  putBig(head, static_cast<std::uint32_t>(dataBytes));
  constexpr std::byte kPad{0};
  BlockWriter out(file);
  if (!out.append(head.bytes) || !writeSamples(waveform, format, 1, out)) return false;
  if (dataBytes % 2 != 0 && !out.append({&kPad, 1})) return false;
  return out.flush();
}

}  // namespace vemko::audio
