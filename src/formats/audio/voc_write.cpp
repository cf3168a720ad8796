// Creative voice files are written as one block of the kind that tells the sample rate exactly; the older
// kind rounds it to what a byte can say, which puts samples out of tune.
#include <algorithm>

#include "base/last_error.h"
#include "codecs/sample_writer.h"
#include "formats/audio/audio.h"
#include "formats/audio/audio_file.h"

namespace vemko::audio {
namespace {

constexpr std::uint16_t kHeaderBytes = 26, kVersion = 0x0114;
constexpr std::uint8_t kSoundBlock = 9, kEndBlock = 0;
constexpr std::uint32_t kSoundHeaderBytes = 12, kLongestBlock = 0xFFFFFF;

std::uint16_t codecOf(SampleEncoding encoding) {
  switch (encoding) {
    case SampleEncoding::Pcm16:
      return 4;
    case SampleEncoding::ALaw:
      return 6;
    case SampleEncoding::MuLaw:
      return 7;
    default:
      return 0;  // unsigned bytes
  }
}

}  // namespace

bool writeVoc(Item& item, OutputFile& file, const io::SaveOptions& options) {
  if (item.kind() != ItemKind::Waveform) return fail(u"The file format can not save this item");
  const Waveform& waveform = static_cast<const Waveform&>(item);
  io::SampleLayout layout = io::chooseLayout(waveform, options, sndfileCapabilities(kVoc));
  layout.channels = limitedChannels(layout.channels, 2);
  const PcmFormat format{layout.encoding};
  const std::uint64_t dataBytes = std::uint64_t{waveform.frames} * layout.channels * bytesPerSample(format);
  if (dataBytes + kSoundHeaderBytes > kLongestBlock)
    return fail(u"The samples are too many for a VOC file, which holds 16 MB");

  const auto blockBytes = static_cast<std::uint32_t>(dataBytes + kSoundHeaderBytes);
  ByteWriter head;
  head.text("Creative Voice File\x1A");
  head.u16(kHeaderBytes);
  head.u16(kVersion);
  head.u16(static_cast<std::uint16_t>(~kVersion + 0x1234));
  head.u32(kSoundBlock | blockBytes << 8);
  head.u32(waveform.rate);
  head.u8(static_cast<std::uint8_t>(bytesPerSample(format) * 8));
  head.u8(layout.channels);
  head.u16(codecOf(layout.encoding));
  head.zeros(4);
  constexpr std::byte kEnd[1] = {std::byte{kEndBlock}};
  BlockWriter out(file);
  return out.append(head.bytes) && writeSamples(waveform, format, layout.channels, out) && out.append(kEnd) &&
         out.flush();
}

}  // namespace vemko::audio
