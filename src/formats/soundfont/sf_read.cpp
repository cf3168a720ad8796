#include <algorithm>
#include <cstdio>
#include <optional>
#include <utility>

#include "base/last_error.h"
#include "base/log.h"
#include "base/parallel_for.h"
#include "base/text.h"
#include "formats/soundfont/sf_articulation.h"
#include "formats/soundfont/sf_bank_reader.h"
#include "formats/soundfont/sf_info.h"
#include "formats/soundfont/sf_samples.h"
#include "formats/soundfont/soundfont.h"

namespace vemko::soundfont {
namespace {

// A few kilobytes of tables can name each other so that they make millions of regions. Real banks have about
// one region for every ten bytes of tables.
constexpr std::size_t kFreeRegions = 50'000;
constexpr std::size_t kMaxWork = 20'000'000;  // pairs of zones looked at, weighed with their modulators

struct RegionPlan {
  std::uint32_t presetZone, instrumentZone;
  ArticulationBlock articulation;
};

// The same channels for every instrument that comes from a bank.
SendChannels claimSends(SendEffects& effects) {
  SendChannels sends;
  sends.reverb = claimSend(effects, SendEffect::Reverb).value_or(sends.reverb);
  sends.chorus = claimSend(effects, SendEffect::Chorus).value_or(sends.chorus);
  return sends;
}

class BankReader {
 public:
  BankReader(Collection& collection, BankFile bank, const InputFile& file, const Path& namedAfter)
      : collection_(collection), bank_(std::move(bank)), file_(file), namedAfter_(namedAfter) {}

  bool read() {
    if (!buildPresetZones(bank_, tables_.presetZones, complaints_) ||
        !buildInstrumentZones(bank_, tables_.instrumentZones, complaints_) || !planRegions())
      return false;
    const auto places = placeSamples(bank_, SourceFile::of(file_), complaints_);
    fillTables(places);
    SampleWaveforms waveforms(tables_, places);
    for (const RegionPlan& plan : plans_) {
      const Zone& zone = instrumentZone(plan);
      waveforms.use(zone.target, sumOf(Zone{}, zone), complaints_);
    }
    waveforms.create(collection_, notes_, complaints_);
    convertAmounts();
    auto next = plans_.begin();
    for (std::uint32_t preset = 0; preset < tables_.presets.size(); ++preset)
      createPreset(preset, waveforms, next);
    readInfoTexts(tables_.info, namedAfter_, collection_);
    collection_.notes = notes_;
    return true;
  }

 private:
  const Zone& presetZone(const RegionPlan& plan) const { return tables_.presetZones.zones[plan.presetZone]; }
  const Zone& instrumentZone(const RegionPlan& plan) const {
    return tables_.instrumentZones.zones[plan.instrumentZone];
  }

  bool spend(std::size_t work) {
    work_ += work;
    const std::size_t records = bank_.presetGenerators.size() + bank_.instrumentGenerators.size() +
                                bank_.presetBags.size() + bank_.instrumentBags.size();
    return work_ <= kMaxWork && plans_.size() <= kFreeRegions + records * 4;
  }

  // Every zone of a preset with every zone of its instrument, where their keys and velocities meet.
  bool planRegions() {
    for (std::uint32_t preset = 0; preset < bank_.presets.size(); ++preset) {
      const ZoneSpan span = tables_.presetZones.ofHeader[preset];
      for (std::uint32_t at = span.first; at < span.first + span.count; ++at)
        if (!planPresetZone(at)) return fail(u"Not a SoundFont2 file");
    }
    return true;
  }

  bool planPresetZone(std::uint32_t at) {
    const Zone& zone = tables_.presetZones.zones[at];
    if (zone.target >= tables_.instrumentZones.ofHeader.size()) {
      complaints_.add(u"A preset names an instrument that is not there");
      return true;
    }
    const ZoneSpan span = tables_.instrumentZones.ofHeader[zone.target];
    for (std::uint32_t other = span.first; other < span.first + span.count; ++other) {
      const Zone& inner = tables_.instrumentZones.zones[other];
      if (intersection(zone.keyRange(), inner.keyRange()) &&
          intersection(zone.velocityRange(), inner.velocityRange()))
        plans_.push_back({at, other, {}});
      if (!spend(1 + zone.modulators.size() * inner.modulators.size())) return false;
    }
    return true;
  }

  void fillTables(const std::vector<SamplePlace>& places) {
    tables_.info = std::move(bank_.info);
    tables_.samples = std::move(bank_.samples);
    tables_.presets = std::move(bank_.presets);
    tables_.instruments = std::move(bank_.instruments);
    for (const SamplePlace& place : places) tables_.frames.push_back(place.frames);
  }

  // By far the most work, and none of it depends on another region.
  void convertAmounts() {
    constexpr std::size_t kBatch = 512;
    SendEffects effects{};
    const SendChannels sends = claimSends(effects);
    parallelFor((plans_.size() + kBatch - 1) / kBatch, [&](std::size_t batch) {
      for (std::size_t i = batch * kBatch; i < std::min((batch + 1) * kBatch, plans_.size()); ++i) {
        RegionPlan& plan = plans_[i];
        const Zone &outer = presetZone(plan), &inner = instrumentZone(plan);
        plan.articulation = articulationOf(sumOf(outer, inner), sumOfModulators(outer, inner), sends);
      }
      return true;
    });
  }

  // `next` is the first plan of the preset, and afterwards that of the next preset.
  void createPreset(std::uint32_t preset, const SampleWaveforms& waveforms,
                    std::vector<RegionPlan>::iterator& next) {
    const PresetHeader& header = tables_.presets[preset];
    Instrument& instrument = createInstrument(collection_, textOf(header.name), patchOf(header));
    InstrumentNotes& notes = notes_->instruments.emplace_back();
    notes.bank = &tables_;
    notes.preset = preset;
    instrument.notes = std::shared_ptr<const ReaderNotes>(notes_, &notes);
    claimSends(instrument.sendEffects);

    const ZoneSpan span = tables_.presetZones.ofHeader[preset];
    for (std::uint32_t zone = span.first; zone < span.first + span.count; ++zone) {
      Layer* layer = nullptr;
      for (; next != plans_.end() && next->presetZone == zone; ++next) {
        const Zone& inner = instrumentZone(*next);
        const ItemId waveform = waveforms.find(inner.target, sumOf(Zone{}, inner));
        if (waveform == kNoItem && isRomSample(inner.target)) {
          complaints_.add(u"A zone of a skipped ROM sample is left out");
          continue;
        }
        if (waveform == kNoItem) complaints_.add(u"A zone's sample is missing: its region is silent");
        if (!layer) layer = &createLayer(instrument, instrumentName(*next));
        createZoneRegion(*layer, *next, waveform);
      }
    }
  }

  bool isRomSample(std::uint32_t sample) const {
    return sample < tables_.samples.size() && (tables_.samples[sample].type & sample_type::Rom) != 0;
  }

  std::u16string instrumentName(const RegionPlan& plan) const {
    return textOf(tables_.instruments[presetZone(plan).target].name);
  }

  void createZoneRegion(Layer& layer, RegionPlan& plan, ItemId waveform) {
    const Zone &outer = presetZone(plan), &inner = instrumentZone(plan);
    const Generators amounts = sumOf(outer, inner);
    RegionRequest request;
    request.waveform = serialOf(waveform);
    if (outer.keys || inner.keys) request.keys = *intersection(outer.keyRange(), inner.keyRange());
    if (outer.velocities || inner.velocities)
      request.velocities = *intersection(outer.velocityRange(), inner.velocityRange());
    request.rootKey = midiNumber(amounts[gen::RootKey]);
    const bool isSilent = waveform == kNoItem;  // and its sample may be none of the table
    const std::u16string name = isSilent ? std::u16string() : textOf(tables_.samples[inner.target].name);
    Region& region = createRegion(layer, name, request);
    region.exclusiveGroup = exclusiveGroupOf(amounts);
    region.fixedKey = midiNumber(amounts[gen::FixedKey]);
    region.fixedVelocity = midiNumber(amounts[gen::FixedVelocity]);
    if (!isSilent) region.section = sectionOf(amounts, tables_.frames[inner.target]);
    region.articulation = std::move(plan.articulation);
    RegionNotes& notes = notes_->regions.emplace_back();
    notes.bank = &tables_;
    notes.presetZone = plan.presetZone;
    notes.instrumentZone = plan.instrumentZone;
    region.notes = std::shared_ptr<const ReaderNotes>(notes_, &notes);
  }

  Collection& collection_;
  BankFile bank_;
  const InputFile& file_;
  Path namedAfter_;
  std::shared_ptr<BankNotes> notes_ = std::make_shared<BankNotes>();
  BankTables& tables_ = notes_->tables;
  std::vector<RegionPlan> plans_;  // in tree order
  std::size_t work_ = 0;
  Complaints complaints_;
};

}  // namespace

bool readBank(Collection& collection, InputFile& file, std::uint32_t) {
  return readBank(collection, file, file.path());
}

bool readBank(Collection& collection, InputFile& file, const Path& namedAfter) {
  const Bytes bytes = file.bytes();
  if (bytes.empty() && file.size() != 0) return false;
  BankFile bank;
  Complaints complaints;
  if (!parseBank(bytes, bank, complaints)) return false;
  if (const auto version = softwareVersion(bank.info))
    logInfo(toUtf16(formatted("Written by Vemko Studio %d.%d", version->major, version->minor)));
  return BankReader(collection, std::move(bank), file, namedAfter).read();
}

}  // namespace vemko::soundfont
