// The rows of libsndfile. The library knows the samples; what stands beside them is read and written here.
#include <iterator>

#include "base/last_error.h"
#include "base/text.h"
#include "codecs/pcm.h"
#include "codecs/sndfile.h"
#include "formats/audio/aiff_open.h"
#include "formats/audio/audio.h"
#include "formats/audio/audio_file.h"
#include "formats/audio/caf_open.h"
#include "formats/audio/descriptions.h"
#include "formats/audio/probes.h"

namespace vemko::audio {
namespace {

using sndfile::Container;
using namespace std::string_view_literals;

constexpr std::uint8_t kMostChannels = 255;

struct Magic {
  std::string_view start;
  std::string_view type;  // at byte 8
};

struct TypeRow {
  Container container;
  Magic magics[4];
  std::uint8_t mostChannels;
  void (*read)(Bytes file, Waveform& waveform);
  bool (*write)(const DescriptionToWrite& what, ByteSink& sink);
};

// clang-format off
// In the order of SndfileType.
constexpr TypeRow kTypes[] = {
  {Container::Aiff,      {{"FORM", "AIFF"}, {"FORM", "AIFC"}}, kMostChannels, readAiffDescription, nullptr},
  {Container::Aiff,      {{"FORM", "AIFC"}, {"FORM", "AIFF"}}, kMostChannels, readAiffDescription, nullptr},
  {Container::Au,        {{".snd", ""}, {"dns.", ""}},         kMostChannels, readAuDescription, nullptr},
  {Container::Avr,       {{"2BIT", ""}},                       2, readAvrDescription, writeAvrDescription},
  {Container::CoreAudio, {{"caff", ""}},                       kMostChannels, readCoreAudioDescription, writeCoreAudioDescription},
  {Container::Nist,      {{"NIST_1A\n", ""}},                  kMostChannels, nullptr, nullptr},
  {Container::Paf,       {{" paf", ""}, {"fap ", ""}},         kMostChannels, nullptr, nullptr},
  {Container::Ircam,     {{"\x64\xA3\x01\0"sv, ""}, {"\x64\xA3\x02\0"sv, ""}, {"\0\x02\xA3\x64"sv, ""}, {"\x64\xA3\x03\0"sv, ""}}, kMostChannels, nullptr, nullptr},
  {Container::Voc,       {{"Creative Voice File\x1A", ""}},    2, nullptr, nullptr},
  {Container::Wave64,    {{"riff\x2E\x91\xCF\x11\xA5\xD6\x28\xDB", ""}}, kMostChannels, nullptr, nullptr},
};
// clang-format on
static_assert(std::size(kTypes) == kWave64 + 1);

bool openSamples(InputFile& file, Container container, CompressedSamples& samples) {
  if (container == Container::Aiff) return openAiff(file, samples);
  if (container == Container::CoreAudio) return openCoreAudio(file, samples);
  return sndfile::open(FilePart::whole(file), samples);
}

}  // namespace

int probeSndfile(Bytes head, std::uint32_t variant, std::uint64_t) {
  for (const Magic& magic : kTypes[variant].magics)
    if (!magic.start.empty() && startsWith(head, magic.start) && startsWith(head, magic.type, 8)) return 6;
  return 0;
}

bool readSndfile(Collection& collection, InputFile& file, std::uint32_t variant) {
  CompressedSamples samples;
  if (!openSamples(file, kTypes[variant].container, samples)) return false;
  Waveform* waveform = addWaveform(collection, samples);
  if (!waveform) return false;
  if (kTypes[variant].read) kTypes[variant].read(file.bytes(), *waveform);
  nameAfterFile(*waveform, file);
  return true;
}

bool writeSndfile(Item& item, OutputFile& file, const io::SaveOptions& options) {
  const TypeRow& type = kTypes[options.variant];
  WriteJob job;
  if (!prepareWrite(item, options, sndfileCapabilities(static_cast<SndfileType>(options.variant)),
                    type.mostChannels, job))
    return false;
  FileSink sink(file);
  if (!sndfile::encode(job.input(), type.container, job.layout.encoding, sink)) return false;
  const std::uint64_t sampleBytes =
      std::uint64_t{job.waveform->frames} * job.layout.channels * bytesPerSample({job.layout.encoding});
  const DescriptionToWrite what{*job.waveform, !isNamedAfterFile(*job.waveform, file.path()),
                                sampleBytes % 2 != 0 && sink.size() % 2 == 0};
  return (!type.write || type.write(what, sink)) && sink.flush();
}

std::u16string missingForSndfile(bool) { return sndfile::missingLibrary(); }
std::u16string missingForReading(bool writing) {
  return writing ? std::u16string() : sndfile::missingLibrary();
}

}  // namespace vemko::audio
