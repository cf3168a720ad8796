#include "formats/audio/raw.h"

#include <algorithm>

#include "base/last_error.h"
#include "codecs/pcm_source.h"
#include "io/decisions.h"

namespace vemko::audio {
namespace {

constexpr std::u16string_view kQuestion =
    u"The selected file can not be detected as any of the supported import types. Select OK to read it as "
    u"raw "
    u"data...\n\nYou'll need to adjust the data format on the 'Source' tab of the waveform properties.";

}  // namespace

int probeAny(Bytes, std::uint32_t, std::uint64_t) { return 2; }

bool readRaw(Collection& collection, InputFile& file, std::uint32_t) {
  const auto format = io::confirmRaw(kQuestion, file.path());
  if (!format) return fail(u"Not detected as any supported file type");
  const PcmFormat pcm{format->encoding, format->bigEndian, format->signed8};
  const std::size_t frameBytes = bytesPerSample(pcm) * format->channels;
  if (frameBytes == 0) return fail(u"Unsupported format of raw samples");
  const std::uint64_t offset = std::min(format->headerBytes, file.size());
  const std::uint64_t frames = (file.size() - offset) / frameBytes;
  if (frames > UINT32_MAX) return fail(u"Wave too big - use 64-bit version!");

  Waveform& waveform = createWaveform(collection, textOf(file.path().stem()));
  waveform.frames = static_cast<std::uint32_t>(frames);
  waveform.channels = format->channels;
  waveform.rate = format->rate;
  waveform.setSource(makePcmSource(SourceFile::of(file), offset, frames, format->channels, pcm));
  return true;
}

}  // namespace vemko::audio
