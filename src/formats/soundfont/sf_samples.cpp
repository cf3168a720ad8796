#include "formats/soundfont/sf_samples.h"

#include <algorithm>
#include <utility>

#include "base/last_error.h"
#include "base/log.h"
#include "base/parallel_for.h"
#include "codecs/pcm_source.h"
#include "formats/soundfont/sf_compressed.h"
#include "formats/soundfont/sf_rom.h"
#include "formats/soundfont/sf_split_source.h"

namespace vemko::soundfont {
namespace {

// Zones that loop in more ways than this share the last one; nobody writes that by hand.
constexpr std::size_t kMaxVariants = 64;

constexpr PcmFormat kPcm16{SampleEncoding::Pcm16};

struct Points {
  std::uint64_t start = 0, count = 0;
};

// The header's points as far as the chunk holds them.
Points pointsOf(const SampleHeader& header, std::uint64_t held, Complaints& complaints) {
  if (header.start > header.end || header.start > held) {
    complaints.add(u"A sample lies outside of the sample data");
    return {};
  }
  const std::uint64_t end = std::min<std::uint64_t>(header.end, held);
  if (end < header.end) complaints.add(u"A sample ends outside of the sample data");
  return {header.start, end - header.start};
}

bool isCompressed(const SampleHeader& header) {
  return (header.type & (sample_type::Compressed | sample_type::Rom)) == sample_type::Compressed;
}

bool has24Bits(const BankFile& bank, Complaints& complaints) {
  if (bank.sm24.size == 0) return false;
  const bool isNewEnough = bank.versionMajor > 2 || bank.versionMinor >= 4;
  const bool isComplete = bank.sm24.size >= bank.smpl.size / 2;
  if (!isNewEnough || !isComplete)
    complaints.add(u"The low bytes of 24-bit samples do not fit the bank and are ignored");
  return isNewEnough && isComplete;
}

SamplePlace placePcm(const BankFile& bank, const SampleHeader& header, bool is24,
                     const std::shared_ptr<SourceFile>& file, Complaints& complaints) {
  const Points points = pointsOf(header, bank.smpl.size / 2, complaints);
  const std::uint64_t high = bank.smpl.offset + points.start * 2;
  SamplePlace place;
  place.frames = static_cast<std::uint32_t>(points.count);
  place.source = is24 ? makeSplitSource(file, {high, bank.sm24.offset + points.start, points.count})
                      : makePcmSource(file, high, points.count, 1, kPcm16);
  return place;
}

// The streams are opened to learn their lengths: several at once, and none that is decoded yet.
void openStreams(const BankFile& bank, const std::shared_ptr<SourceFile>& file,
                 std::vector<SamplePlace>& places, Complaints& complaints) {
  std::vector<std::size_t> streams;
  for (std::size_t i = 0; i < places.size(); ++i)
    if (isCompressed(bank.samples[i])) streams.push_back(i);
  std::vector<char> isLost(streams.size());
  parallelFor(streams.size(), [&](std::size_t index) {
    const SampleHeader& header = bank.samples[streams[index]];
    CompressedSamples samples;
    const bool isInside = header.start < header.end && header.end <= bank.smpl.size;
    if (isInside &&
        openCompressed({file, bank.smpl.offset + header.start, header.end - header.start, {}}, samples))
      places[streams[index]] = {false, samples.source, static_cast<std::uint32_t>(samples.facts.frames)};
    else
      isLost[index] = true;
    return true;
  });
  for (std::size_t i = 0; i < streams.size(); ++i) {
    if (!isLost[i]) continue;
    complaints.add(u"A compressed sample cannot be read and is empty");
    places[streams[i]].source = makePcmSource(file, bank.smpl.offset, 0, 1, kPcm16);
  }
}

std::size_t variantAt(std::size_t count, std::size_t found) { return std::min(found, count - 1); }

void addLoop(Waveform& waveform, const ZoneLoop& loop) {
  if (!loop.exists) return;
  LoopDescriptor descriptor;
  descriptor.play = loop.play;
  descriptor.count = loop.count;
  descriptor.startFrames = loop.start;
  descriptor.endFrames = loop.end;
  waveform.addLoop(descriptor, {}, true, false);
}

// "Piano(L)" and "Piano(R)": one letter differs, an L here and an R there.
bool areNamesOfSides(const Name& left, const Name& right) {
  const auto [l, r] = std::ranges::mismatch(left, right);
  return l != left.end() && ((*l == 'L' && *r == 'R') || (*l == 'l' && *r == 'r')) &&
         std::equal(l + 1, left.end(), r + 1);
}

}  // namespace

std::vector<SamplePlace> placeSamples(const BankFile& bank, const std::shared_ptr<SourceFile>& file,
                                      Complaints& complaints) {
  const bool is24 = has24Bits(bank, complaints);
  RomSamples rom;
  std::vector<SamplePlace> places;
  places.reserve(bank.samples.size());
  for (const SampleHeader& header : bank.samples) {
    if ((header.type & sample_type::Rom) != 0)
      places.push_back(rom.place(header, complaints));
    else if (isCompressed(header))
      places.emplace_back();
    else
      places.push_back(placePcm(bank, header, is24, file, complaints));
  }
  openStreams(bank, file, places, complaints);
  return places;
}

SampleWaveforms::SampleWaveforms(const BankTables& tables, const std::vector<SamplePlace>& places)
    : tables_(tables), places_(places), variants_(tables.samples.size()) {}

bool SampleWaveforms::isPlayable(std::uint32_t sample) const {
  return sample < places_.size() && !places_[sample].isSkipped;
}

ZoneLoop SampleWaveforms::loopFor(std::uint32_t sample, const Generators& generators) const {
  return loopOf(tables_.samples[sample], places_[sample].frames, generators);
}

void SampleWaveforms::use(std::uint32_t sample, const Generators& generators, Complaints& complaints) {
  if (!isPlayable(sample)) return;
  if (isLoopDamaged(tables_.samples[sample], places_[sample].frames, generators))
    complaints.add(u"A loop lies outside of its sample and is cut or left out");
  const ZoneLoop loop = loopFor(sample, generators);
  auto& variants = variants_[sample];
  const auto known = std::ranges::find(variants, loop, &Variant::loop);
  if (known != variants.end())
    ++known->uses;
  else if (variants.size() < kMaxVariants)
    variants.push_back({loop, 1});
}

ItemId SampleWaveforms::find(std::uint32_t sample, const Generators& generators) const {
  if (!isPlayable(sample)) return kNoItem;
  const auto& variants = variants_[sample];
  const auto known = std::ranges::find(variants, loopFor(sample, generators), &Variant::loop);
  return variants[variantAt(variants.size(), static_cast<std::size_t>(known - variants.begin()))].id;
}

void SampleWaveforms::create(Collection& collection, const std::shared_ptr<BankNotes>& notes,
                             Complaints& complaints) {
  for (std::uint32_t sample = 0; sample < tables_.samples.size(); ++sample) {
    if (!isPlayable(sample)) continue;
    const SampleHeader& header = tables_.samples[sample];
    auto& variants = variants_[sample];
    if (variants.empty()) {
      Generators looping;
      looping[gen::SampleModes] = 1;
      variants.push_back({loopFor(sample, looping)});
    }
    std::ranges::stable_sort(variants, std::ranges::greater(), &Variant::uses);
    WaveformNotes& origin = notes->waveforms.emplace_back();
    origin.bank = &tables_;
    origin.sample = sample;
    for (Variant& variant : variants) {
      Waveform& waveform = createWaveform(collection, textOf(header.name));
      waveform.frames = places_[sample].frames;
      waveform.rate = rateOf(header);
      waveform.rootKey = rootKeyOf(header);
      waveform.fineTuneCents = header.correctionCents;
      waveform.setSource(places_[sample].source);
      waveform.notes = std::shared_ptr<const ReaderNotes>(notes, &origin);
      addLoop(waveform, variant.loop);
      variant.id = waveform.id();
    }
  }
  link(collection, complaints);
}

bool SampleWaveforms::isSide(std::uint32_t sample, std::uint16_t side) const {
  return isPlayable(sample) && (tables_.samples[sample].type & 0xF) == side;
}

bool SampleWaveforms::nameEachOther(std::uint32_t left, std::uint32_t right) const {
  return tables_.samples[left].link == right && tables_.samples[right].link == left;
}

// Banks whose links were lost still have the sides next to each other.
std::optional<std::uint32_t> SampleWaveforms::rightOf(std::uint32_t left, Complaints& complaints) const {
  const std::uint32_t linked = tables_.samples[left].link;
  if (isSide(linked, sample_type::Right) && nameEachOther(left, linked)) return linked;
  for (const std::uint32_t next : {left + 1, left - 1}) {
    if (!isSide(next, sample_type::Right)) continue;
    const std::uint32_t other = tables_.samples[next].link;
    const bool isTaken = isSide(other, sample_type::Left) && nameEachOther(other, next);
    if (isTaken || !areNamesOfSides(tables_.samples[left].name, tables_.samples[next].name)) continue;
    complaints.add(u"Stereo samples that do not name each other are paired by their names");
    return next;
  }
  complaints.add(u"A stereo sample has no other side");
  return std::nullopt;
}

// Waveforms of a left and a right sample that loop alike are sides of one sound. Where no two do, the first
// ones are: they will not become one waveform, but are linked again in the next file.
void SampleWaveforms::link(Collection& collection, Complaints& complaints) {
  auto pairUp = [&](ItemId left, ItemId right) {
    auto& leftWave = *collection.find<Waveform>(left);
    auto& rightWave = *collection.find<Waveform>(right);
    leftWave.side = StereoSide::Left;
    rightWave.side = StereoSide::Right;
    leftWave.pairedWith = right;
    rightWave.pairedWith = left;
  };
  for (std::uint32_t left = 0; left < tables_.samples.size(); ++left) {
    if (!isSide(left, sample_type::Left)) continue;
    const auto right = rightOf(left, complaints);
    if (!right) continue;
    const std::vector<Variant>&lefts = variants_[left], &rights = variants_[*right];
    bool hasPair = false;
    for (const Variant& variant : lefts) {
      const auto other = std::ranges::find(rights, variant.loop, &Variant::loop);
      if (other == rights.end()) continue;
      pairUp(variant.id, other->id);
      hasPair = true;
    }
    if (!hasPair) pairUp(lefts.front().id, rights.front().id);
  }
}

}  // namespace vemko::soundfont
