#include "core/feature_use.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <span>

#include "core/filter.h"
#include "core/parameters.h"
#include "core/slot_values.h"

namespace vemko {
namespace {

using namespace features;
constexpr FeatureMask kLevels = featureBits({OnInstruments, OnLayers, OnRegions});
constexpr FeatureMask kParticularsOfLoops =
    featureBits({features::MoreLoops, FractionalLoops, ReverseLoops, SampledRelease, LoopTuning});

constexpr std::u16string_view kTexts[] = {
    u"Waves: Loops",
    u"Waves: Loops besides the main loop",
    u"Waves: Markers",
    u"Waves: Ends of sections",
    u"Envs: Key to Hold/Decay",
    u"Trigger: Fixed key or velocity",
    u"Trigger: Exclusive groups",
    u"Trigger: Rounds, random choice, controllers, one-shots",
    u"Architecture: Bank and program numbers",
    u"Architecture: Texts",
    u"Waves: Root key, fine tune and volume",
    u"Architecture: Regions without a waveform",
    u"LFOs: Aftertouch/Velocity to LFO",
    u"LFOs: Fourth LFO",
    u"Architecture: Texts of instruments",
    u"Waves: Texts",
    u"Architecture: Images",
    u"Filter: Resonance above 22.5 dB",
    u"Filter: More than two poles",
    u"Effects: More than two sends",
    u"Mixer: LFO/Envelope to Pan",
    u"Waves: Stereo out of the centre",
    u"Effects: EQ shelves",
    u"Envs: Hold pedal to Release",
    u"Architecture: Artist apart from the engineer",
};
static_assert(std::size(kTexts) == features::Count - kFeatureCount);

// A slot that is not at its default uses the feature, in so far as what it belongs to does something.
enum class Needs : std::uint8_t { Nothing, Filter, Gain };
struct SlotRow {
  int feature;
  Slot slot;
  Needs needs = Needs::Nothing;
};
// clang-format off
constexpr SlotRow kSlotRows[] = {
    {LfoControllers, 5}, {LfoControllers, 6}, {LfoControllers, 7}, {LfoControllers, 9}, {LfoControllers, 10},
    {LfoControllers, 11}, {LfoControllers, 20}, {LfoControllers, 21}, {LfoControllers, 22},
    {LfoControllers, 32}, {LfoControllers, 33}, {LfoControllers, 34},
    {AftertouchToLfos, 6}, {AftertouchToLfos, 7}, {AftertouchToLfos, 10}, {AftertouchToLfos, 11},
    {AftertouchToLfos, 21}, {AftertouchToLfos, 22}, {AftertouchToLfos, 33}, {AftertouchToLfos, 34},
    {VelocityToEnvelopes, 13}, {VelocityToEnvelopes, 36},
    {ControllersToCutoff, 28, Needs::Filter}, {ControllersToCutoff, 29, Needs::Filter},
    {KeyVelocityToCutoff, 26, Needs::Filter}, {KeyVelocityToCutoff, 27, Needs::Filter},
    {ToResonance, 38, Needs::Filter}, {ToResonance, 39, Needs::Filter}, {ToResonance, 40, Needs::Filter},
    {ControllersToFilter, 30, Needs::Filter}, {ControllersToFilter, 41, Needs::Filter},
    {SendLevels, 60}, {SendLevels, 62}, {SendLevels, 64}, {SendLevels, 66},
    {MoreSends, 62}, {MoreSends, 66}, {PanModulation, 58}, {PanModulation, 59},
    {ChannelDepths, 56}, {ChannelDepths, 61}, {ChannelDepths, 63}, {ChannelDepths, 65}, {ChannelDepths, 67},
    {Equalizer, 44}, {Equalizer, 48}, {Equalizer, 52},
    {EqualizerShelves, 42, Needs::Gain}, {EqualizerShelves, 46, Needs::Gain},
    {EqualizerShelves, 50, Needs::Gain},
    {KeyToVolumePan, 16}, {KeyToVolumePan, 57},
    {RandomPan, 55},
    {PitchBend, 3},
    {KeyToPitch, 2},
    {RandomPitchVolume, 1}, {RandomPitchVolume, 15},
    {ControllersToVolume, 17}, {ControllersToVolume, 18},
};

// Stages of an envelope that is in use.
struct StageRow {
  int feature;
  Stage stage;
};
constexpr StageRow kStageRows[] = {
    {SixStages, Stage::Attack1Time}, {SixStages, Stage::Decay1Time},
    {MoreLevels, Stage::InitialLevel}, {MoreLevels, Stage::Attack1Level}, {MoreLevels, Stage::Attack2Level},
    {MoreLevels, Stage::Decay1Level},
    {ThreeReleases, Stage::Release1Level}, {ThreeReleases, Stage::Release2Time},
    {ThreeReleases, Stage::Release2Level}, {ThreeReleases, Stage::Release3Time},
    {ThreeReleases, Stage::Release3Level},
    {KeyToAttackRelease, Stage::KeyToAttack1}, {KeyToAttackRelease, Stage::KeyToAttack2},
    {KeyToAttackRelease, Stage::KeyToRelease1},
    {SixStages, Stage::KeyToDecay1}, {SixStages, Stage::VelocityToDecay1},
    {features::KeyToDecay, Stage::KeyToDecay1}, {features::KeyToDecay, Stage::KeyToDecay2},
    {VelocityToAttack1, Stage::VelocityToAttack1}, {VelocityToAttack2, Stage::VelocityToAttack2},
    {VelocityToDecay, Stage::VelocityToDecay1}, {VelocityToDecay, Stage::VelocityToDecay2},
    {VelocityToRelease, Stage::VelocityToRelease1},
    {ControllersToTimes, Stage::Cc73ToAttack1}, {ControllersToTimes, Stage::Cc73ToAttack2},
    {ControllersToTimes, Stage::Cc72ToRelease1}, {HoldPedal, Stage::HoldPedalToRelease1},
};
// clang-format on

struct Lfo {
  Carrier carrier;
  Slot shape;  // frequency, delay and fade follow
};
constexpr Lfo kLfos[] = {{Carrier::PLfo, slots::PLfoShape},
                         {Carrier::VLfo, slots::VLfoShape},
                         {Carrier::FLfo, slots::FLfoShape},
                         {Carrier::XLfo, slots::XLfoShape}};
using LfoSettings = std::array<float, 4>;

LfoSettings settingsOf(const SlotValues& values, const Lfo& lfo) {
  LfoSettings settings;
  std::copy_n(values.slots.begin() + lfo.shape, settings.size(), settings.begin());
  return settings;
}

FeatureMask lfosOf(const SlotValues& values) {
  FeatureMask used;
  std::vector<LfoSettings> different, modulation;  // of all in use, and of those besides the pitch's own
  auto addNew = [](std::vector<LfoSettings>& list, const LfoSettings& settings) {
    if (std::ranges::find(list, settings) == list.end()) list.push_back(settings);
  };
  for (const Lfo& lfo : kLfos) {
    if (!isInUse(values, lfo.carrier)) continue;
    const LfoSettings settings = settingsOf(values, lfo);
    addNew(different, settings);
    if (lfo.carrier != Carrier::PLfo) addNew(modulation, settings);
    if (settings[0] != 0) used |= featureBit(LfoShapes);
    if (settings[3] != 0) used |= featureBit(LfoFades);
  }
  if (different.size() > 1) used |= featureBit(TwoLfos);
  if (modulation.size() > 1) used |= featureBit(SeparateLfos);
  if (isInUse(values, Carrier::XLfo)) used |= featureBit(FourthLfo);
  return used;
}

FeatureMask envelopesOf(const SlotValues& values) {
  FeatureMask used;
  auto addStages = [&](Slot envelope) {
    for (const StageRow& row : kStageRows) {
      const Slot slot = envelopeSlot(envelope, row.stage);
      if (values[slot] != initialValues()[slot]) used |= featureBit(row.feature);
    }
    if (values[envelopeSlot(envelope, Stage::Sustain)] < 0) used |= featureBit(MoreLevels);
  };
  addStages(slots::VEnv);
  const bool pitch = isInUse(values, Carrier::PEnv), filter = isInUse(values, Carrier::FEnv);
  if (pitch) addStages(slots::PEnv);
  if (filter) addStages(slots::FEnv);
  if (pitch || filter) used |= featureBit(TwoEnvelopes);
  constexpr std::size_t kLength = slots::FEnv - slots::PEnv;
  const bool areAlike =
      std::equal(values.slots.begin() + slots::PEnv, values.slots.begin() + slots::PEnv + kLength,
                 values.slots.begin() + slots::FEnv);
  if ((pitch && filter && !areAlike) || isInUse(values, Carrier::XEnv)) used |= featureBit(SeparateEnvelopes);
  return used;
}

bool isSteep(FilterType type) {
  using enum FilterType;
  return type == LowPass3 || type == LowPass4 || type == LowPass6 || type == HighPass4;
}

bool hasWhatItNeeds(const SlotRow& row, const SlotValues& values) {
  switch (row.needs) {
    case Needs::Nothing:
      return true;
    case Needs::Filter:
      return filterTypeOf(values) != FilterType::Off;
    case Needs::Gain:  // of the band whose mode the slot is
      return values[static_cast<Slot>(row.slot + 2)] != 0;
  }
  return true;
}

FeatureMask articulationOf(const SlotValues& values) {
  const FilterType filter = filterTypeOf(values);
  FeatureMask used = lfosOf(values) | envelopesOf(values);
  if (filter == FilterType::LowPass2)
    used |= featureBit(LowPassFilter);
  else if (filter != FilterType::Off)
    used |= featureBit(OtherFilters);
  if (filter != FilterType::Off && values[slots::FilterResonance] > kModestResonanceDb)
    used |= featureBit(HighResonance);
  if (isSteep(filter)) used |= featureBit(SteepFilters);
  for (const SlotRow& row : kSlotRows)
    if (values[row.slot] != initialValues()[row.slot] && hasWhatItNeeds(row, values))
      used |= featureBit(row.feature);
  return used;
}

bool hasCrossFade(const Region& region) {
  const auto isSet = [](MidiRange range, std::uint8_t silent) { return range != MidiRange{silent, silent}; };
  return isSet(region.fadeInKeys, 0) || isSet(region.fadeOutKeys, 127) || isSet(region.fadeInVelocities, 0) ||
         isSet(region.fadeOutVelocities, 127) || !rulesOf(region).fadeIns.empty() ||
         !rulesOf(region).fadeOuts.empty();
}

/// Which levels of the instrument set anything, and whether regions or layers differ in what they set.
FeatureMask levelsOf(const Instrument& instrument) {
  FeatureMask used;
  if (!instrument.articulation.empty()) used |= featureBit(OnInstruments);
  const ArticulationBlock* first = nullptr;
  for (const Region* region : regionsOf(instrument)) {
    const auto* layer = instrument.collection().find<Layer>(region->parent);
    if (layer && !layer->articulation.empty()) used |= featureBit(OnLayers);
    if (first && !(*first == region->articulation)) used |= featureBit(OnRegions);
    first = &region->articulation;
  }
  return used;
}

// The marks that say what is played, which sound banks keep as offsets.
bool isPlayMark(const LoopRecord& record) {
  return (record.type == RecordType::PositionMarker && record.name == kStartName) ||
         (record.type == RecordType::SectionMarker && record.name == kPlayName);
}

bool hasTexts(const Item& item) {
  return std::ranges::any_of(kTextProperties, [&](TextProperty property) {
    const bool isOther = property != TextProperty::Name && property != TextProperty::SourceFile;
    return isOther && property != TextProperty::Image && !item.text(property).empty();
  });
}

/// The texts and the image of an item.
FeatureMask textsOf(const Item& item, int textFeature) {
  FeatureMask used;
  if (hasTexts(item)) used |= featureBit(textFeature);
  if (!item.image().empty()) used |= featureBit(Images);
  return used;
}

class Uses {
 public:
  void add(FeatureMask used, ItemId place) {
    for (int feature = 0; used && feature < features::Count; ++feature)
      if (used.has(feature)) places_[static_cast<std::size_t>(feature)].push_back(place);
  }
  /// The levels and the patch of an instrument, and its texts.
  void add(const Instrument& instrument) {
    FeatureMask used = levelsOf(instrument);
    if (instrument.patch.word != 0) used |= featureBit(Patches);
    add(used | textsOf(instrument, InstrumentTexts), instrument.id());
  }
  std::vector<FeatureUse> take() {
    std::vector<FeatureUse> uses;
    for (int feature = 0; feature < features::Count; ++feature) {
      auto& places = places_[static_cast<std::size_t>(feature)];
      if (!places.empty()) uses.push_back({feature, std::move(places)});
    }
    return uses;
  }

 private:
  std::array<std::vector<ItemId>, features::Count> places_;
};

}  // namespace

std::u16string_view featureText(int feature) {
  if (feature < kFeatureCount) return featureName(feature);
  return feature < features::Count ? kTexts[feature - kFeatureCount] : std::u16string_view();
}

FeatureMask featuresOfSlot(Slot slot) {
  auto isIn = [slot](SlotGroup group) { return slot >= slotsOf(group).first && slot <= slotsOf(group).last; };
  FeatureMask needed;
  for (const SlotRow& row : kSlotRows)
    if (row.slot == slot) needed |= featureBit(row.feature);
  for (const auto& [envelope, group] : {std::pair{slots::VEnv, SlotGroup::VEnvelope},
                                        {slots::PEnv, SlotGroup::PEnvelope},
                                        {slots::FEnv, SlotGroup::FEnvelope}})
    for (const StageRow& row : kStageRows)
      if (isIn(group) && envelopeSlot(envelope, row.stage) == slot) needed |= featureBit(row.feature);
  // Without these levels the whole shape is told in other stages.
  if (isIn(SlotGroup::VEnvelope) || isIn(SlotGroup::PEnvelope) || isIn(SlotGroup::FEnvelope))
    needed |= featureBit(MoreLevels);
  if (isIn(SlotGroup::PEnvelope) || isIn(SlotGroup::FEnvelope) || slot == slots::PEnvToPitch ||
      slot == slots::FEnvToCutoff)
    needed |= featureBits({TwoEnvelopes, SeparateEnvelopes});
  if (isIn(SlotGroup::XEnvelope) || slot == 59) needed |= featureBit(SeparateEnvelopes);
  for (const Lfo& lfo : kLfos) {
    if (slot < lfo.shape || slot > lfo.shape + 3) continue;
    needed |= featureBits({TwoLfos, SeparateLfos});
    if (slot == lfo.shape) needed |= featureBit(LfoShapes);
    if (slot == lfo.shape + 3) needed |= featureBit(LfoFades);
  }
  if (slot == 58) needed |= featureBit(SeparateLfos);
  if (isIn(SlotGroup::XLfo) || (slot >= slots::XLfoToPitch && slot < slots::PEnvToPitch) || slot == 58)
    needed |= featureBit(FourthLfo);
  if (isIn(SlotGroup::Eq)) needed |= featureBit(Equalizer);
  if (isIn(SlotGroup::Filter) || isIn(SlotGroup::FLfo) || isIn(SlotGroup::FEnvelope))
    needed |= featureBits({LowPassFilter, OtherFilters});
  if (slot == slots::FilterResonance) needed |= featureBit(HighResonance);
  if (slot == slots::Pan) needed |= featureBit(PannedStereo);
  if (slot == slots::FilterType) needed |= featureBit(SteepFilters);
  return needed;
}

FeatureMask featuresOf(const Region& region) {
  SlotValues values = valuesOf(effective(region));
  orderSends(sendEffectsOf(region), values);
  FeatureMask used = articulationOf(values);
  if (hasCrossFade(region)) used |= featureBit(CrossFades);
  if (region.section != PlaySection{}) used |= featureBit(PlaySections);
  if (region.delaySeconds != 0) used |= featureBit(DelayTime);
  if (region.trigger != Trigger::Attack) used |= featureBit(TriggerTypes);
  if (region.exclusiveGroup != 0) used |= featureBit(features::ExclusiveGroups);
  if (region.rules) used |= featureBit(features::PlayRules);
  if (region.fixedKey != Region::kNotSet || region.fixedVelocity != Region::kNotSet)
    used |= featureBit(features::FixedKey);
  const Waveform* waveform = region.waveform();
  if (!waveform)
    used |= featureBit(SilentRegions);
  else if (waveform->channels == 2 && effective(region).get(slots::Pan) != 0)
    used |= featureBit(PannedStereo);
  return used;
}

FeatureMask featuresOf(const Waveform& waveform) {
  FeatureMask used = textsOf(waveform, WaveTexts);
  if (waveform.rootKey != 60 || waveform.fineTuneCents != 0 || waveform.volumeAdjustmentDb != 0)
    used |= featureBit(RootKeys);
  std::size_t loops = 0;
  for (const LoopRecord& record : waveform.records) {
    if (record.startHundredths != 0 || record.endHundredths != 0) used |= featureBit(FractionalLoops);
    if (isPlayMark(record))
      used |= featureBit(PlaySections);
    else if (record.type != RecordType::Loop)
      used |= featureBit(features::Markers);
    if (record.type == RecordType::SectionMarker && !isPlayMark(record))
      used |= featureBit(features::SectionEnds);
    if (record.type != RecordType::Loop || record.play == LoopPlay::Off) continue;
    used |= featureBit(++loops > 1 ? features::MoreLoops : features::Loops);
    if (record.play != LoopPlay::Forward) used |= featureBit(ReverseLoops);
    if (record.count == LoopCount::UntilRelease) used |= featureBit(SampledRelease);
    if (record.tuneCents != 0) used |= featureBit(LoopTuning);
  }
  return used;
}

FeatureMask featuresOf(const Collection& collection) {
  FeatureMask used = textsOf(collection, Texts);
  if (!collection.text(TextProperty::Artist).empty()) used |= featureBit(Artists);
  return used;
}

std::vector<FeatureUse> featuresUsed(const Item& item) {
  Uses uses;
  for (const Region* region : regionsOf(item)) uses.add(featuresOf(*region), region->id());
  for (const Waveform* waveform : waveformsOf(item)) uses.add(featuresOf(*waveform), waveform->id());
  // A bank of a single instrument has the texts of the collection that the instrument is taken from.
  if (item.kind() == ItemKind::Instrument || item.kind() == ItemKind::Collection)
    uses.add(featuresOf(item.collection()), kNoItem);
  if (const auto* instrument = dynamic_cast<const Instrument*>(&item)) uses.add(*instrument);
  if (const auto* collection = dynamic_cast<const Collection*>(&item))
    collection->forEach<Instrument>([&](const Instrument& each) { uses.add(each); });
  return uses.take();
}

FeatureMask lostFeatures(FeatureMask used, FeatureMask held) {
  FeatureMask lost = used & ~held;
  if (held.has(OnRegions)) lost &= ~kLevels;
  if (lost.has(features::Loops)) lost &= ~kParticularsOfLoops;
  if (lost.has(LfoControllers)) lost &= ~featureBit(AftertouchToLfos);
  if (lost.has(LowPassFilter)) lost &= ~featureBit(HighResonance);
  if (lost.has(OtherFilters)) lost &= ~featureBit(SteepFilters);
  if (lost.has(SendLevels)) lost &= ~featureBit(MoreSends);
  if (lost.has(Equalizer)) lost &= ~featureBit(EqualizerShelves);
  return lost;
}

}  // namespace vemko
