#include "formats/dls/dls_waves.h"

#include <algorithm>

#include "base/last_error.h"
#include "base/text.h"
#include "codecs/pcm_source.h"
#include "formats/riff/wave_format.h"

namespace vemko::dls {
namespace {

// Regions that loop in more ways than this share the last one; nobody writes that by hand.
constexpr std::size_t kMaxVariants = 64;
constexpr PcmFormat kPcm16{SampleEncoding::Pcm16};

std::size_t boundedVariant(std::size_t count, std::size_t found) { return std::min(found, count - 1); }

}  // namespace

WaveWaveforms::WaveWaveforms(const CollectionRecord& record, std::shared_ptr<SourceFile> file,
                             Complaints& complaints)
    : record_(record), file_(std::move(file)), complaints_(complaints), places_(record.waves.size()) {
  for (std::size_t i = 0; i < places_.size(); ++i) place(record_.waves[i], places_[i]);
}

void WaveWaveforms::place(const WaveRecord& wave, Place& place) {
  if (!readFormat(wave, place)) {
    complaints_.add(u"A wave cannot be read and is empty");
    place.source = makePcmSource(file_, 0, 0, 1, kPcm16);
  }
}

bool WaveWaveforms::readFormat(const WaveRecord& wave, Place& place) {
  const LastErrorKeeper keeper;
  riff::WaveFormat format;
  if (wave.format.empty() || wave.dataOffset == 0 || !riff::parseFormat(wave.format, format)) return false;
  const FilePart data{file_, wave.dataOffset, wave.dataSize, {}};
  CompressedSamples samples{{0, format.rate, format.channels, 0}, nullptr};
  if (format.coded) {
    if (!riff::openCoded(*format.coded, data, samples.facts, samples)) return false;
  } else {
    samples.facts.frames = riff::framesIn(format, data.size);
  }
  std::uint64_t frames = samples.facts.frames;
  if (wave.factFrames > 0 && wave.factFrames < frames) frames = wave.factFrames;
  if (frames > UINT32_MAX) return false;
  if (!samples.source) samples.source = riff::makeSource(format, file_, data.offset, data.size, frames);
  place.source = std::move(samples.source);
  place.frames = static_cast<std::uint32_t>(frames);
  place.rate = samples.facts.rate;
  place.channels = samples.facts.channels;
  return true;
}

WaveWaveforms::Loop WaveWaveforms::loopOf(std::uint32_t wave, const riff::WaveSample* own) const {
  const WaveRecord& record = record_.waves[wave];
  const riff::WaveSample* sample = own ? own : record.sample ? &*record.sample : nullptr;
  if (!sample || sample->loops.empty()) return {};
  const riff::WaveSampleLoop& loop = sample->loops.front();
  const std::uint64_t end =
      std::min<std::uint64_t>(std::uint64_t{loop.start} + loop.length, places_[wave].frames);
  if (end < std::uint64_t{loop.start} + loop.length)
    complaints_.add(u"A loop reaches behind the data and is cut");
  if (loop.start >= end) return {};
  return {true, loop.untilRelease, loop.start, static_cast<std::uint32_t>(end)};
}

void WaveWaveforms::use(std::uint32_t wave, const riff::WaveSample* own) {
  if (wave >= places_.size()) return;
  auto& variants = places_[wave].variants;
  const Loop loop = loopOf(wave, own);
  const auto known = std::ranges::find(variants, loop, &Variant::loop);
  if (known != variants.end())
    ++known->uses;
  else if (variants.size() < kMaxVariants)
    variants.push_back({loop, 1});
}

const WaveWaveforms::Variant* WaveWaveforms::variantOf(std::uint32_t wave, const Loop& loop) const {
  const auto& variants = places_[wave].variants;
  if (variants.empty()) return nullptr;
  const auto known = std::ranges::find(variants, loop, &Variant::loop);
  return &variants[boundedVariant(variants.size(), static_cast<std::size_t>(known - variants.begin()))];
}

void WaveWaveforms::create(Collection& collection, const std::shared_ptr<CollectionNotes>& notes) {
  for (std::uint32_t wave = 0; wave < places_.size(); ++wave) {
    auto& variants = places_[wave].variants;
    if (variants.empty()) variants.push_back({loopOf(wave, nullptr)});
    std::ranges::stable_sort(variants, std::ranges::greater(), &Variant::uses);
    WaveNotes& origin = notes->waves.emplace_back();
    origin.description = record_.waves[wave].description;
    if (record_.waves[wave].sample) origin.sampleOptions = record_.waves[wave].sample->options;
    for (Variant& variant : variants) {
      Waveform& waveform = createWaveform(collection, {});
      fill(waveform, wave, variant.loop);
      waveform.notes = std::shared_ptr<const ReaderNotes>(notes, &origin);
      variant.id = waveform.id();
    }
  }
}

void WaveWaveforms::fill(Waveform& waveform, std::uint32_t wave, const Loop& loop) const {
  const WaveRecord& record = record_.waves[wave];
  const Place& place = places_[wave];
  riff::applyInfoTexts(record.description.info, waveform);
  if (waveform.name().empty()) waveform.setName(toUtf16(formatted("Wave %u", wave)));
  waveform.frames = place.frames;
  waveform.rate = place.rate;
  waveform.channels = place.channels;
  if (record.sample) {
    if (record.sample->unityNote <= 127)
      waveform.rootKey = static_cast<std::uint8_t>(record.sample->unityNote);
    waveform.fineTuneCents =
        static_cast<std::int8_t>(std::clamp<int>(record.sample->fineTuneCents, -128, 127));
    waveform.volumeAdjustmentDb = static_cast<float>(record.sample->gainDb);
  }
  waveform.setSource(place.source);
  if (!loop.exists) return;
  LoopDescriptor descriptor;
  descriptor.count = loop.untilRelease ? LoopCount::UntilRelease : LoopCount::Infinite;
  descriptor.startFrames = loop.start;
  descriptor.endFrames = loop.end;
  waveform.addLoop(descriptor, {}, true, false);
}

Waveform* WaveWaveforms::find(Collection& collection, std::uint32_t wave, const riff::WaveSample* own) const {
  if (wave >= places_.size()) return nullptr;
  const Variant* variant = variantOf(wave, loopOf(wave, own));
  return variant ? collection.find<Waveform>(variant->id) : nullptr;
}

}  // namespace vemko::dls
