#include "formats/dls/dls_pool.h"

#include <algorithm>
#include <cmath>

#include "codecs/sample_writer.h"
#include "core/units.h"
#include "formats/riff/riff.h"
#include "formats/riff/wave_format.h"

namespace vemko::dls {
namespace {

constexpr std::uint32_t kSampleBytes = 20, kLoopBytes = 16;

void appendNumber(std::string& key, std::uint64_t value) {
  key.append(reinterpret_cast<const char*>(&value), sizeof value);
}
std::uint64_t addressOf(const void* object) { return reinterpret_cast<std::uintptr_t>(object); }

// Equal for waveforms of the same samples.
std::string keyOf(const Waveform& waveform) {
  std::string key;
  const auto stored = waveform.sourceIsIntact() ? waveform.source->stored() : std::nullopt;
  if (stored) {
    appendNumber(key, addressOf(waveform.source->file().get()));
    appendNumber(key, stored->offset);
    appendNumber(key, static_cast<std::uint64_t>(stored->encoding));
  } else {
    appendNumber(key, waveform.sourceIsIntact() ? addressOf(waveform.source.get()) : addressOf(&waveform));
  }
  for (std::uint64_t value :
       {std::uint64_t{waveform.frames}, std::uint64_t{waveform.rate}, std::uint64_t{waveform.channels}})
    appendNumber(key, value);
  return key;
}

void appendHeader(std::uint32_t id, std::uint64_t size, ByteWriter& out) {
  out.u32(id);
  out.u32(static_cast<std::uint32_t>(size));
}

}  // namespace

void appendWaveSample(const SampleFields& fields, const Waveform& waveform, ByteWriter& out) {
  const LoopRecord* loop = waveform.mainLoop();
  if (loop && (loop->play == LoopPlay::Off || loop->end <= loop->start)) loop = nullptr;
  appendHeader(fourCc("wsmp"), kSampleBytes + (loop ? kLoopBytes : 0), out);
  out.u32(kSampleBytes);
  out.u16(fields.unityNote);
  out.i16(static_cast<std::int16_t>(roundedWithin(fields.cents, INT16_MIN, INT16_MAX)));
  out.i32(roundedWithin(fields.gainDb * 655360, INT32_MIN, INT32_MAX));
  out.u32(fields.options);
  out.u32(loop ? 1 : 0);
  if (!loop) return;
  const double length = loop->endFrames() - loop->startFrames();
  out.u32(kLoopBytes);
  out.u32(loop->count == LoopCount::UntilRelease ? 1 : 0);
  out.u32(loop->start);
  out.u32(static_cast<std::uint32_t>(std::max(1.0, std::round(length))));
}

void appendDescription(const Item& item, const Description* before, ByteWriter& out) {
  riff::appendInfoTexts(riff::infoTextsOf(item, before ? before->info : std::vector<riff::InfoText>{}), out);
  if (!before || !before->id) return;
  appendHeader(fourCc("dlid"), sizeof(DlsId), out);
  out.append(*before->id);
}

WavePool::WavePool(std::span<Waveform* const> waveforms, const io::SaveOptions& options,
                   io::CapabilityMask capabilities) {
  std::unordered_map<std::string, std::uint32_t> known;
  for (const Waveform* waveform : waveforms) {
    const auto [place, isNew] =
        known.try_emplace(keyOf(*waveform), static_cast<std::uint32_t>(waves_.size()));
    if (isNew) waves_.push_back(makeWave(*waveform, io::chooseLayout(*waveform, options, capabilities)));
    indexOf_[waveform] = place->second;
  }
}

WavePool::Wave WavePool::makeWave(const Waveform& waveform, const io::SampleLayout& layout) {
  Wave wave{&waveform, layout, {}, {}, 0};
  const riff::FormatChunk format = riff::buildFormat(layout.encoding, layout.channels, waveform.rate, false);
  wave.dataBytes = std::uint64_t{waveform.frames} * layout.channels * bytesPerSample({layout.encoding});
  ByteWriter head, tail;
  head.u32(fourCc("wave"));
  appendHeader(fourCc("fmt "), format.body.size(), head);
  head.append(format.body.bytes);
  if (format.needsFact) {
    appendHeader(fourCc("fact"), 4, head);
    head.u32(waveform.frames);
  }
  appendHeader(fourCc("data"), wave.dataBytes, head);
  const auto* notes = notesOf<WaveNotes>(waveform);
  appendWaveSample({waveform.rootKey, static_cast<double>(waveform.fineTuneCents),
                    waveform.volumeAdjustmentDb, notes ? notes->sampleOptions : 0},
                   waveform, tail);
  // An identity stands for these samples and no others.
  Description description;
  if (notes) description.info = notes->description.info;
  if (notes && waveform.sourceIsIntact()) description.id = notes->description.id;
  appendDescription(waveform, &description, tail);
  wave.head = std::move(head.bytes);
  wave.tail = std::move(tail.bytes);
  return wave;
}

bool WavePool::hasStereo() const {
  return std::ranges::any_of(waves_, [](const Wave& wave) { return wave.layout.channels > 1; });
}

std::vector<std::byte> WavePool::buildTable() const {
  ByteWriter out;
  appendHeader(fourCc("ptbl"), 8 + 4 * waves_.size(), out);
  out.u32(8);
  out.u32(static_cast<std::uint32_t>(waves_.size()));
  std::uint64_t offset = 0;
  for (const Wave& wave : waves_) {
    out.u32(static_cast<std::uint32_t>(offset));
    offset += wave.bytes();
  }
  return std::move(out.bytes);
}

std::uint64_t WavePool::listBytes() const {
  std::uint64_t bytes = 12;
  for (const Wave& wave : waves_) bytes += wave.bytes();
  return bytes;
}

bool WavePool::write(BlockWriter& out) const {
  ByteWriter header;
  appendHeader(fourCc("LIST"), listBytes() - 8, header);
  header.u32(fourCc("wvpl"));
  if (!out.append(header.bytes)) return false;
  for (const Wave& wave : waves_) {
    ByteWriter list;
    appendHeader(fourCc("LIST"), wave.bytes() - 8, list);
    list.append(wave.head);
    const std::byte pad{wave.layout.encoding == SampleEncoding::Pcm8 ? std::uint8_t{0x80} : std::uint8_t{0}};
    if (!out.append(list.bytes) ||
        !writeSamples(*wave.waveform, {wave.layout.encoding}, wave.layout.channels, out) ||
        (wave.dataBytes % 2 != 0 && !out.append({&pad, 1})) || !out.append(wave.tail))
      return false;
  }
  return true;
}

}  // namespace vemko::dls
