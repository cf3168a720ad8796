#include <algorithm>
#include <map>
#include <utility>

#include "base/text.h"
#include "core/parameters.h"
#include "formats/dls/dls.h"
#include "formats/dls/dls_waves.h"
#include "formats/riff/riff.h"

namespace vemko::dls {
namespace {

std::u16string plainName(const Patch& patch) {
  return toUtf16(formatted("%s %d-%d : %d", patch.isDrumKit() ? "Drums" : "Instrument", patch.bankMsb(),
                           patch.bankLsb(), patch.program()));
}

struct PlayedRegion {
  const RegionRecord* record;
  Region* region;
};

// Two sides of one sound, as their wave links tell.
struct Sides {
  const PlayedRegion *left, *right;
};

Sides sidesOf(const PlayedRegion& first, const PlayedRegion& second) {
  const auto isRight = [](const PlayedRegion& each) { return each.record->link.channel == kRightChannel; };
  if (isRight(first) != isRight(second))
    return isRight(first) ? Sides{&second, &first} : Sides{&first, &second};
  const float pan = effective(*first.region).get(slots::Pan),
              other = effective(*second.region).get(slots::Pan);
  return pan > other ? Sides{&second, &first} : Sides{&first, &second};
}

class CollectionReader {
 public:
  CollectionReader(Collection& collection, const InputFile& file) : collection_(collection), file_(file) {}

  bool read(Bytes bytes) {
    if (!parseCollection(bytes, record_, complaints_)) return false;
    WaveWaveforms waveforms(record_, SourceFile::of(file_), complaints_);
    for (const InstrumentRecord& instrument : record_.instruments)
      for (const RegionRecord& region : instrument.regions) {
        if (region.link.cue >= record_.waveOfCue.size()) complaints_.add(u"Missing cues");
        waveforms.use(waveOf(region), ownSample(region));
      }
    waveforms.create(collection_, notes_);
    for (const InstrumentRecord& instrument : record_.instruments) createInstrumentOf(instrument, waveforms);
    notes_->description = record_.description;
    notes_->version = record_.version;
    riff::applyInfoTexts(record_.description.info, collection_);
    const bool hasName = std::ranges::find(record_.description.info, fourCc("INAM"), &riff::InfoText::id) !=
                         record_.description.info.end();
    if (!hasName) collection_.setName(textOf(file_.path().stem()));
    collection_.notes = notes_;
    return true;
  }

 private:
  static const riff::WaveSample* ownSample(const RegionRecord& region) {
    return region.sample ? &*region.sample : nullptr;
  }

  std::uint32_t waveOf(const RegionRecord& region) const {
    return region.link.cue < record_.waveOfCue.size() ? record_.waveOfCue[region.link.cue] : kNoCue;
  }

  void createInstrumentOf(const InstrumentRecord& record, const WaveWaveforms& waveforms) {
    Instrument& instrument = createInstrument(collection_, {}, patchOf(record.bank, record.program));
    instrument.setText(TextProperty::Name, u"");
    riff::applyInfoTexts(record.description.info, instrument);
    if (instrument.name().empty()) instrument.setName(plainName(instrument.patch));
    claimSend(instrument.sendEffects, SendEffect::Reverb);
    claimSend(instrument.sendEffects, SendEffect::Chorus);
    InstrumentNotes& notes = notes_->instruments.emplace_back();
    notes.description = record.description;
    notes.bank = record.bank;
    notes.program = record.program;
    if (record.articulation) notes.articulation = *record.articulation;
    instrument.notes = std::shared_ptr<const ReaderNotes>(notes_, &notes);
    instrumentValues_ = valuesOf(notes.articulation, {}, sendsOf(instrument));
    instrument.articulation = blockOf(instrumentValues_);

    std::map<std::uint16_t, Layer*> layers;
    std::vector<PlayedRegion> regions;
    for (const RegionRecord& region : record.regions) {
      Layer*& layer = layers[region.layer];
      if (!layer) layer = &createLayer(instrument, instrument.name());
      Waveform* waveform = waveforms.find(collection_, waveOf(region), ownSample(region));
      regions.push_back({&region, &createRegionOf(region, notes, *layer, waveform)});
    }
    linkSides(regions);
  }

  Region& createRegionOf(const RegionRecord& record, const InstrumentNotes& outer, Layer& layer,
                         const Waveform* waveform) {
    RegionRequest request;
    request.keys = record.keys;
    request.velocities = record.velocities;
    if (waveform) request.waveform = serialOf(waveform->id());
    if (const riff::WaveSample* sample = ownSample(record)) {
      if (sample->unityNote > 127) complaints_.add(u"A unity note above 127 is not used");
      if (sample->unityNote <= 127 && !(waveform && waveform->rootKey == sample->unityNote))
        request.rootKey = static_cast<std::uint8_t>(sample->unityNote);
    }
    Region& region = createRegion(layer, waveform ? std::u16string_view(waveform->name()) : u"", request);
    region.exclusiveGroup = static_cast<std::uint8_t>(std::min<int>(record.keyGroup, 255));
    noteOrigin(record, outer, waveform, region);
    return region;
  }

  // The region's slots: where they differ from the instrument's.
  void noteOrigin(const RegionRecord& record, const InstrumentNotes& instrument, const Waveform* waveform,
                  Region& region) {
    RegionNotes& notes = notes_->regions.emplace_back();
    notes.instrument = &instrument;
    region.notes = std::shared_ptr<const ReaderNotes>(notes_, &notes);
    notes.options = record.options;
    notes.hasOwnList = record.articulation.has_value();
    if (notes.hasOwnList) notes.own = *record.articulation;
    const riff::WaveSample* sample = ownSample(record);
    const std::uint32_t wave = waveOf(record);
    if (!sample && wave < record_.waves.size() && record_.waves[wave].sample)
      sample = &*record_.waves[wave].sample;
    if (sample) notes.sampleOptions = sample->options;
    notes.totals.cents = (sample ? sample->fineTuneCents : 0) - (waveform ? waveform->fineTuneCents : 0);
    const double gainDb = sample ? sample->gainDb : 0;
    const float waveDb = waveform ? waveform->volumeAdjustmentDb : 0;
    notes.totals.gainDb = static_cast<float>(gainDb) == waveDb ? 0 : gainDb - static_cast<double>(waveDb);

    const auto& layer = *collection_.find<Layer>(region.parent);
    const SendChannels sends = sendsOf(*collection_.find<Instrument>(layer.parent));
    const SlotValues values = valuesOf(mergedOf(notes), notes.totals, sends);
    for (int slot = 0; slot < kSlotCount; ++slot) {
      const auto at = static_cast<Slot>(slot);
      if (values[at] != instrumentValues_[at]) region.articulation.set(at, values[at]);
    }
  }

  // The waves of two regions of one phase group, or of a left and a right channel that follow each other.
  static void linkSides(const std::vector<PlayedRegion>& regions) {
    std::map<std::uint16_t, const PlayedRegion*> open;
    const PlayedRegion* before = nullptr;
    for (const PlayedRegion& each : regions) {
      const WaveLink& link = each.record->link;
      const PlayedRegion* other = link.phaseGroup == 0 ? before : std::exchange(open[link.phaseGroup], &each);
      before = &each;
      if (!other || !areSides(*other, each)) continue;
      const Sides sides = sidesOf(*other, each);
      Waveform &left = *sides.left->region->waveform(), &right = *sides.right->region->waveform();
      if (left.pairedWith != kNoItem || right.pairedWith != kNoItem) continue;
      left.side = StereoSide::Left;
      right.side = StereoSide::Right;
      left.pairedWith = right.id();
      right.pairedWith = left.id();
    }
  }

  static bool areSides(const PlayedRegion& a, const PlayedRegion& b) {
    const WaveLink &first = a.record->link, &second = b.record->link;
    const bool isGroup = first.phaseGroup != 0 && first.phaseGroup == second.phaseGroup;
    const bool isLeftAndRight = first.channel == kLeftChannel && second.channel == kRightChannel;
    const Waveform *one = a.region->waveform(), *other = b.region->waveform();
    return (isGroup || isLeftAndRight) && one && other && one != other && one->channels == 1 &&
           other->channels == 1 && a.region->keys == b.region->keys &&
           a.region->velocities == b.region->velocities;
  }

  Collection& collection_;
  const InputFile& file_;
  CollectionRecord record_;
  std::shared_ptr<CollectionNotes> notes_ = std::make_shared<CollectionNotes>();
  SlotValues instrumentValues_;
  Complaints complaints_;
};

}  // namespace

// Lists of different levels do not mix.
Articulation mergedOf(const RegionNotes& notes) {
  const Articulation& outer = notes.instrument->articulation;
  if (!notes.hasOwnList) return outer;
  const bool isOneList = outer.connections.empty() || outer.list == notes.own.list;
  return isOneList ? Articulation{notes.own.list, overlay(outer.connections, notes.own.connections)}
                   : notes.own;
}

Patch patchOf(std::uint32_t bank, std::uint32_t program) {
  return Patch::of(static_cast<int>(bank >> 8 & 127), static_cast<int>(bank & 127),
                   static_cast<int>(program & 127), (bank & kDrums) != 0);
}

SendChannels sendsOf(const Instrument& instrument) {
  const EffectChannels channels = effectChannels(instrument.sendEffects);
  return {channels[0], channels[1]};
}

int probeCollection(Bytes head, std::uint32_t, std::uint64_t) {
  ByteReader reader(head);
  const bool isRiff = reader.u32() == fourCc("RIFF");
  reader.u32();
  return isRiff && reader.u32() == fourCc("DLS ") ? 6 : 0;
}

bool readCollection(Collection& collection, InputFile& file, std::uint32_t) {
  const Bytes bytes = file.bytes();
  if (bytes.empty() && file.size() != 0) return false;
  return CollectionReader(collection, file).read(bytes);
}

}  // namespace vemko::dls
