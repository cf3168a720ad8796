// GSM 06.10 without a header: mono speech, 33 bytes for 160 frames.
#include <algorithm>

#include "base/log.h"
#include "codecs/gsm.h"
#include "formats/audio/audio.h"
#include "formats/audio/audio_file.h"

namespace vemko::audio {
namespace {

constexpr std::uint32_t kRate = 8000;

}  // namespace

// Every frame begins with the same four bits.
int probeRawGsm(Bytes head, std::uint32_t, std::uint64_t fileSize) {
  constexpr std::size_t kFrameBytes = gsm::kBlockBytes[0];
  constexpr std::size_t kCertain = 16;
  const std::size_t frames = head.size() / kFrameBytes;
  for (std::size_t i = 0; i < frames; ++i)
    if (std::to_integer<int>(head[i * kFrameBytes]) >> 4 != 0xD) return 0;
  if (frames == 0) return 0;
  return frames >= kCertain && fileSize % kFrameBytes == 0 ? 6 : 2;
}

bool readRawGsm(Collection& collection, InputFile& file, std::uint32_t) {
  CompressedSamples samples;
  StreamFacts facts;
  facts.rate = kRate;
  if (!gsm::open(FilePart::whole(file), gsm::Packing::Single, facts, samples)) return false;
  Waveform* waveform = addWaveform(collection, samples);
  if (!waveform) return false;
  nameAfterFile(*waveform, file);
  return true;
}

bool writeRawGsm(Item& item, OutputFile& file, const io::SaveOptions& save) {
  WriteJob job;
  if (!prepareWrite(item, save, kGsmCapabilities, 1, job)) return false;
  if (job.waveform->rate != kRate)
    logWarning(u"Files of raw GSM tell no sample rate: other programs will take 8000 Hz for it");
  FileSink sink(file);
  return gsm::encode(job.input(), gsm::Packing::Single, sink) && sink.flush();
}

std::u16string missingForGsm(bool) { return gsm::missingLibrary(); }

std::uint32_t gsmRate(std::uint32_t) { return kRate; }

}  // namespace vemko::audio
