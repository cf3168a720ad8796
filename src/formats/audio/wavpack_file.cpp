// WavPack files: lossless integers and floats, with APE tags. Tuning, loops and markers stand in the chunks
// of the WAVE file that the wavpack program restores.
#include <algorithm>

#include "codecs/ape.h"
#include "codecs/wavpack.h"
#include "formats/audio/audio.h"
#include "formats/audio/audio_file.h"
#include "formats/audio/probes.h"
#include "formats/riff/wave_wrapper.h"

namespace vemko::audio {
namespace {

constexpr std::uint8_t kMostChannels = 255;

// The chunks of the WAVE file that the samples came from.
riff::WaveFileNotes readWrapper(const wavpack::Wrapper& wrapper, Waveform& waveform) {
  constexpr std::size_t kHeadBytes = 12;
  const Bytes header(wrapper.header);
  Bytes trailer(wrapper.trailer);
  if (!trailer.empty() && trailer.front() == std::byte{0}) trailer = trailer.subspan(1);  // pad byte
  return riff::readWrapperChunks({header.subspan(std::min(kHeadBytes, header.size())), trailer}, waveform);
}

wavpack::Wrapper buildWrapper(const WriteJob& job, const wavpack::EncodeOptions& options) {
  const unsigned bits = options.isFloat ? 32 : options.bits;
  const riff::WaveWrapper pieces =
      riff::buildWrapper(*job.waveform, {job.layout.channels, bits, options.isFloat});
  wavpack::Wrapper wrapper;
  if (pieces.isEmpty()) return wrapper;
  for (const auto* piece : {&pieces.head, &pieces.format, &pieces.dataHead})
    wrapper.header.insert(wrapper.header.end(), piece->begin(), piece->end());
  const std::uint64_t bytes = std::uint64_t{job.waveform->frames} * job.layout.channels * ((bits + 7) / 8);
  if (bytes % 2 != 0) wrapper.trailer.push_back(std::byte{0});
  for (const auto& chunk : pieces.rest)
    wrapper.trailer.insert(wrapper.trailer.end(), chunk.begin(), chunk.end());
  return wrapper;
}

}  // namespace

int probeWavpack(Bytes head, std::uint32_t, std::uint64_t) { return startsWith(head, "wvpk") ? 6 : 0; }

bool readWavpack(Collection& collection, InputFile& file, std::uint32_t) {
  CompressedSamples samples;
  wavpack::Wrapper wrapper;
  if (!wavpack::open(FilePart::whole(file), samples, &wrapper)) return false;
  Waveform* waveform = addWaveform(collection, samples);
  if (!waveform) return false;
  riff::WaveFileNotes notes = readWrapper(wrapper, *waveform);
  readTagsAtEnd(file.bytes(), *waveform);
  riff::attachNotes(std::move(notes), *waveform);
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
  return wavpack::encode(job.input(), options, buildWrapper(job, options), sink) &&
         sink.write(buildApe(*job.waveform, !isNamedAfterFile(*job.waveform, file.path()))) && sink.flush();
}

std::u16string missingForWavpack(bool) { return wavpack::missingLibrary(); }

}  // namespace vemko::audio
