// WavPack files: lossless integers and floats, with APE tags.
#include "codecs/ape.h"
#include "codecs/wavpack.h"
#include "formats/audio/audio.h"
#include "formats/audio/audio_file.h"
#include "formats/audio/probes.h"

namespace vemko::audio {
namespace {

constexpr std::uint8_t kMostChannels = 255;

}  // namespace

int probeWavpack(Bytes head, std::uint32_t, std::uint64_t) { return startsWith(head, "wvpk") ? 6 : 0; }

bool readWavpack(Collection& collection, InputFile& file, std::uint32_t) {
  CompressedSamples samples;
  wavpack::Wrapper wrapper;
  if (!wavpack::open(FilePart::whole(file), samples, &wrapper)) return false;
  Waveform* waveform = addWaveform(collection, samples);
  if (!waveform) return false;
  readApe(file.bytes(), *waveform);
  nameAfterFile(*waveform, file);
  return true;
}

bool writeWavpack(Item& item, OutputFile& file, const io::SaveOptions& save) {
  WriteJob job;
  if (!prepareWrite(item, save, kWavpackCapabilities, kMostChannels, job)) return false;
  wavpack::EncodeOptions options;
  options.bits = bitsOf(job.layout.encoding);
  options.isFloat = job.layout.encoding == SampleEncoding::Float32;
  FileSink sink(file);
  return wavpack::encode(job.input(), options, {}, sink) &&
         sink.write(buildApe(*job.waveform, !isNamedAfterFile(*job.waveform, file.path()))) && sink.flush();
}

std::u16string missingForWavpack(bool) { return wavpack::missingLibrary(); }

}  // namespace vemko::audio
