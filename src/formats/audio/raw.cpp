#include "formats/audio/raw.h"

#include "base/last_error.h"
#include "codecs/raw_samples.h"
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
  if (rawFrames(*format, file.size()) > UINT32_MAX) return fail(u"Wave too big - use 64-bit version!");
  Waveform& waveform = createWaveform(collection, textOf(file.path().stem()));
  if (setRawSamples(waveform, SourceFile::of(file), *format)) return true;
  collection.remove(waveform);
  return false;
}

}  // namespace vemko::audio
