#include "formats/audio/audio_file.h"

#include <cstdint>

#include "base/last_error.h"
#include "base/log.h"
#include "base/text.h"
#include "codecs/ape.h"
#include "codecs/sample_writer.h"
#include "formats/audio/probes.h"

namespace vemko::audio {
namespace {

constexpr std::size_t kId3v1Bytes = 128;

void readId3v1(Bytes tag, Waveform& waveform) {
  constexpr std::size_t kFieldBytes = 30;
  ByteReader reader(tag);
  reader.skip(3);
  for (TextProperty property : {TextProperty::Name, TextProperty::Artist, TextProperty::Product}) {
    const std::u16string text = decodeText(reader.take(kFieldBytes));
    if (waveform.text(property).empty()) waveform.setText(property, text);
  }
  reader.skip(4);  // year
  if (waveform.text(TextProperty::Comments).empty())
    waveform.setText(TextProperty::Comments, decodeText(reader.take(kFieldBytes)));
}

}  // namespace

void readTagsAtEnd(Bytes file, Waveform& waveform) {
  Bytes oldTag;
  if (file.size() >= kId3v1Bytes && startsWith(file, "TAG", file.size() - kId3v1Bytes)) {
    oldTag = file.last(kId3v1Bytes);
    file = file.first(file.size() - kId3v1Bytes);
  }
  readApe(file, waveform);
  if (!oldTag.empty()) readId3v1(oldTag, waveform);
}

Waveform* addWaveform(Collection& collection, const CompressedSamples& samples) {
  if (samples.facts.frames > UINT32_MAX) {
    setLastError(u"Wave too big - use 64-bit version!");
    return nullptr;
  }
  Waveform& waveform = createWaveform(collection, {});
  waveform.frames = static_cast<std::uint32_t>(samples.facts.frames);
  waveform.rate = samples.facts.rate;
  waveform.channels = samples.facts.channels;
  waveform.setSource(samples.source);
  return &waveform;
}

void nameAfterFile(Waveform& waveform, const InputFile& file) {
  if (waveform.name().empty()) waveform.setName(textOf(file.path().stem()));
}

bool isNamedAfterFile(const Waveform& waveform, const Path& target) {
  if (waveform.name() == textOf(target.stem())) return true;
  return waveform.source && waveform.source->file() &&
         waveform.name() == textOf(waveform.source->file()->path().stem());
}

unsigned bitsOf(SampleEncoding encoding) {
  switch (encoding) {
    case SampleEncoding::Pcm8:
      return 8;
    case SampleEncoding::Pcm12:
      return 12;
    case SampleEncoding::Pcm16:
      return 16;
    case SampleEncoding::Pcm20:
      return 20;
    default:
      return 24;
  }
}

std::uint8_t limitedChannels(std::uint8_t channels, std::uint8_t most) {
  if (channels <= most) return channels;
  logWarning(toUtf16(formatted("Only the first %d of %d channels are written", most, channels)));
  return most;
}

bool prepareWrite(Item& item, const io::SaveOptions& options, io::CapabilityMask capabilities,
                  std::uint8_t mostChannels, WriteJob& job) {
  if (item.kind() != ItemKind::Waveform) return fail(u"The file format can not save this item");
  job.waveform = static_cast<const Waveform*>(&item);
  job.layout = io::chooseLayout(*job.waveform, options, capabilities);
  job.layout.channels = limitedChannels(job.layout.channels, mostChannels);
  job.stream = withChannels(openSamples(*job.waveform), job.waveform->channels, job.layout.channels);
  if (job.layout.encoding != SampleEncoding::Float32 && job.layout.encoding != SampleEncoding::Float64 &&
      job.layout.encoding != SampleEncoding::Codec)
    job.stream = watchClipping(std::move(job.stream), *job.waveform, job.layout.channels);
  return job.stream != nullptr;
}

}  // namespace vemko::audio
