#include "formats/soundfont/sf_zone_amounts.h"

#include <algorithm>

#include "base/log.h"
#include "core/parameters.h"
#include "core/slot_values.h"
#include "core/units.h"
#include "formats/soundfont/sf_articulation.h"

namespace vemko::soundfont {
namespace {

constexpr int kCoarseFrames = 32768;

struct Source {
  Generators generators;
  std::vector<Modulator> modulators;
  bool isCut = false;
};

Source sumOfZones(const FileZones& zones) {
  return {sumOf(zones.preset(), zones.instrument()), sumOfModulators(zones.preset(), zones.instrument())};
}

SendChannels sendsOf(const Region& region) {
  const EffectChannels channels = effectChannels(sendEffectsOf(region));
  return {channels[0], channels[1]};
}

void setPan(ArticulationBlock& block, float pan) {
  if (pan == 0)
    block.reset(slots::Pan);
  else
    block.set(slots::Pan, pan);
}

bool concernsFilter(int generator) {
  return generator == gen::FilterCutoff || generator == gen::FilterQ || generator == gen::ModLfoToCutoff ||
         generator == gen::ModEnvToCutoff;
}

// Whether the generator sets an LFO that leads somewhere.
bool setsUsedLfo(int generator, const SlotValues& values) {
  return std::ranges::any_of(generatorRows(), [&](const GeneratorRow& row) {
    return row.generator == generator && row.onlyInUse && isInUse(values, row.carrier);
  });
}

bool isOfEntry(const Modulator& modulator, Entry entry) {
  const RouteRow* row = findRoute(modulator);
  return row && row->entry == entry;
}

// The modulators of the file whose entry still has the same amount or that are no entry's, and the new ones;
// an entry that went back to its default needs none.
std::vector<Modulator> mixModulators(const std::vector<Modulator>& file, const std::vector<Modulator>& before,
                                     const std::vector<Modulator>& now) {
  auto amountIn = [](const std::vector<Modulator>& list, const RouteRow& row) {
    for (const Modulator& each : list)
      if (isOfEntry(each, row.entry)) return int{each.amount};
    return int{row.initial};
  };
  std::vector<Modulator> mixed;
  auto isUnchanged = [&](const RouteRow& row) { return amountIn(before, row) == amountIn(now, row); };
  for (const Modulator& each : file)
    if (const RouteRow* row = findRoute(each); !row || isUnchanged(*row)) mixed.push_back(each);
  for (const Modulator& each : now)
    if (!isUnchanged(*findRoute(each))) mixed.push_back(each);
  return mixed;
}

// The articulation's part of the totals; `fromFile` is what the file's amounts read as.
Source articulationAmounts(const ArticulationBlock& block, const Source* file,
                           const ArticulationBlock& fromFile, const SendChannels& sends) {
  if (!file) {
    ZoneAmounts amounts = amountsOf(block, sends);
    return {amounts.generators, std::move(amounts.modulators), amounts.isCut};
  }
  if (block == fromFile) return *file;
  const ZoneAmounts before = amountsOf(fromFile, sends), now = amountsOf(block, sends);
  const bool isSameFilter = hasFilter(block) == hasFilter(fromFile);
  const SlotValues valuesBefore = valuesOf(fromFile), values = valuesOf(block);
  Source mixed = *file;
  for (int number = 0; number < kGeneratorCount; ++number) {
    // The file's settings of an LFO that led nowhere were not read.
    const bool isNewLfo = setsUsedLfo(number, values) && !setsUsedLfo(number, valuesBefore);
    if (now.generators[number] != before.generators[number] || (!isSameFilter && concernsFilter(number)) ||
        isNewLfo)
      mixed.generators[number] = now.generators[number];
  }
  mixed.modulators = mixModulators(file->modulators, before.modulators, now.modulators);
  mixed.isCut = now.isCut;
  return mixed;
}

void setNumber(Generators& generators, int number, std::uint8_t value, const Generators* file) {
  if (file && midiNumber((*file)[number]) == value)
    generators[number] = (*file)[number];
  else
    generators[number] = value == Region::kNotSet ? initialAmount(number) : value;
}

void copyAmounts(Generators& to, const Generators& from, std::initializer_list<int> numbers) {
  for (int number : numbers) to[number] = from[number];
}

void setOffset(Generators& generators, int fine, int coarse, std::int64_t frames) {
  const std::int64_t blocks = frames / kCoarseFrames;
  generators[coarse] =
      static_cast<std::int16_t>(std::clamp<std::int64_t>(blocks, -kCoarseFrames, kCoarseFrames - 1));
  generators[fine] = static_cast<std::int16_t>(frames % kCoarseFrames);
}

void setSection(Generators& generators, const Region& region, const Waveform& waveform,
                const Generators* file) {
  const PlaySection played = effectivePlaySection(region), whole{0, waveform.frames};
  if (file) {
    const PlaySection ofFile = sectionOf(*file, waveform.frames);
    if (played == (ofFile == PlaySection{} ? whole : ofFile)) {
      copyAmounts(generators, *file,
                  {gen::StartOffset, gen::EndOffset, gen::StartCoarseOffset, gen::EndCoarseOffset});
      return;
    }
  }
  setOffset(generators, gen::StartOffset, gen::StartCoarseOffset, played.start);
  setOffset(generators, gen::EndOffset, gen::EndCoarseOffset,
            std::int64_t{played.end} - std::int64_t{waveform.frames});
}

void setLoop(Generators& generators, const Region& region, const Waveform& waveform, const SamplePool& pool,
             const Generators* file) {
  if (file && pool.keepsFileLoop(waveform) && hasFileLoop(region)) {
    copyAmounts(generators, *file,
                {gen::LoopStartOffset, gen::LoopEndOffset, gen::LoopStartCoarseOffset,
                 gen::LoopEndCoarseOffset, gen::SampleModes});
    return;
  }
  const LoopRecord* loop = waveform.mainLoop();
  if (!loop || loop->play == LoopPlay::Off) return;
  generators[gen::SampleModes] = loop->count == LoopCount::UntilRelease ? 3 : 1;
  const PooledSample& sample = pool.samples()[pool.find(waveform)->sample];
  setOffset(generators, gen::LoopStartOffset, gen::LoopStartCoarseOffset, loop->start - sample.loopStart);
  setOffset(generators, gen::LoopEndOffset, gen::LoopEndCoarseOffset, loop->end - sample.loopEnd);
}

}  // namespace

std::optional<FileZones> fileZonesOf(const Region& region) {
  const auto* notes = notesOf<RegionNotes>(region);
  if (!notes) return std::nullopt;
  return FileZones{notes->bank, notes->presetZone, notes->instrumentZone};
}

bool hasFileLoop(const Region& region) {
  const auto zones = fileZonesOf(region);
  const Waveform* waveform = region.waveform();
  const auto* notes = waveform ? notesOf<WaveformNotes>(*waveform) : nullptr;
  if (!zones || !notes || notes->bank != zones->bank || notes->sample != zones->instrument().target)
    return false;
  const SampleHeader& header = notes->bank->samples[notes->sample];
  return waveform->frames == notes->bank->frames[notes->sample] &&
         loopOf(*waveform) == loopOf(header, waveform->frames, sumOf(Zone{}, zones->instrument()));
}

std::vector<ZoneTotal> totalsOf(const Region& region, const SamplePool& pool) {
  const Waveform* waveform = region.waveform();
  const PooledWaveform* place = waveform ? pool.find(*waveform) : nullptr;
  if (!place) return {};
  const SendChannels sends = sendsOf(region);
  const auto zones = fileZonesOf(region);
  std::optional<Source> file;
  ArticulationBlock fromFile;
  if (zones) {
    file = sumOfZones(*zones);
    fromFile = articulationOf(file->generators, file->modulators, sends);
  }

  std::vector<ZoneTotal> totals;
  const ArticulationBlock block = effective(region);
  const float pan = block.get(slots::Pan);
  for (int side = 0; side < (place->isStereo ? 2 : 1); ++side) {
    ArticulationBlock ofSide = block;
    if (waveform->volumeAdjustmentDb != 0) ofSide.add(slots::MasterVolume, waveform->volumeAdjustmentDb);
    if (place->isStereo) setPan(ofSide, side == 0 ? std::max(-1.0f, pan - 1) : std::min(1.0f, pan + 1));
    Source amounts = articulationAmounts(ofSide, file ? &*file : nullptr, fromFile, sends);
    ZoneTotal total{amounts.generators, std::move(amounts.modulators),
                    place->sample + static_cast<std::uint32_t>(side), amounts.isCut};
    const Generators* ofFile = file ? &file->generators : nullptr;
    Generators& generators = total.generators;
    const Generators initial;
    copyAmounts(
        generators, initial,
        {gen::StartOffset, gen::EndOffset, gen::StartCoarseOffset, gen::EndCoarseOffset, gen::LoopStartOffset,
         gen::LoopEndOffset, gen::LoopStartCoarseOffset, gen::LoopEndCoarseOffset, gen::SampleModes});
    setNumber(generators, gen::RootKey, region.rootKey, ofFile);
    setNumber(generators, gen::FixedKey, region.fixedKey, ofFile);
    setNumber(generators, gen::FixedVelocity, region.fixedVelocity, ofFile);
    generators[gen::ExclusiveClass] = file && exclusiveGroupOf(file->generators) == region.exclusiveGroup
                                          ? file->generators[gen::ExclusiveClass]
                                          : region.exclusiveGroup;
    setSection(generators, region, *waveform, ofFile);
    setLoop(generators, region, *waveform, pool, ofFile);
    totals.push_back(std::move(total));
  }
  return totals;
}

}  // namespace vemko::soundfont
