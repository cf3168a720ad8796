#include "io/fixup.h"

namespace vemko::io {
namespace {

/// The narrowest of 8, 12, 16, 20, 24 and 32-bit PCM and 32-bit float that takes what the encoding's decoder
/// gives: companded and ADPCM samples decode to at most 16 bits, codecs to floats.
SampleEncoding plainEncoding(SampleEncoding encoding) {
  switch (encoding) {
    case SampleEncoding::Alternative8:
      return SampleEncoding::Pcm8;
    case SampleEncoding::MuLaw:
    case SampleEncoding::ALaw:
    case SampleEncoding::Gsm610:
    case SampleEncoding::Adpcm2:
    case SampleEncoding::Adpcm3:
    case SampleEncoding::Adpcm4:
    case SampleEncoding::Adpcm5:
    case SampleEncoding::Alternative16:
      return SampleEncoding::Pcm16;
    default:
      return encoding <= SampleEncoding::Float32 ? encoding : SampleEncoding::Float32;
  }
}

}  // namespace

// A waveform that has no source keeps its code; one whose samples were rewritten since it was read too.
bool classifySources(Collection& collection) {
  collection.forEach<Waveform>([](Waveform& waveform) {
    if (waveform.sourceIsIntact())
      waveform.sourceFormat = static_cast<SourceFormat>(plainEncoding(waveform.source->encoding()));
  });
  return true;
}

}  // namespace vemko::io
