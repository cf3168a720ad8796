#include <algorithm>
#include <cmath>
#include <utility>

#include "base/text.h"
#include "compare/differences.h"
#include "core/filter.h"
#include "core/key_rules.h"
#include "core/parameters.h"
#include "core/sends.h"
#include "core/slot_values.h"

namespace vemko::compare {
namespace {

std::u16string rangeText(MidiRange range) {
  return toUtf16(std::to_string(range.low) + "-" + std::to_string(range.high));
}

void compareRanges(std::u16string_view what, MidiRange first, MidiRange second, Differences& differences) {
  if (first != second) differences.add(what, rangeText(first), rangeText(second));
}

struct UnitRow {
  Unit unit;
  std::u16string_view text;
  double step;        ///< What a listener could just tell, ...
  double proportion;  ///< ... or this part of the value, whichever is larger.
};
// clang-format off
constexpr UnitRow kUnits[] = {
    {Unit::None,              u"",            0,     0},
    {Unit::Semitones,         u"semitones",   0.01,  0},
    {Unit::Decibels,          u"dB",          0.1,   0},
    {Unit::Hertz,             u"Hz",          0.001, 0.01},
    {Unit::Seconds,           u"s",           0.001, 0.01},
    {Unit::Fraction,          u"",            0.01,  0},
    {Unit::Percent,           u"%",           1,     0},
    {Unit::Multiplier,        u"",            0,     0.01},
    {Unit::Choice,            u"",            0,     0},
    {Unit::DecibelsPerOctave, u"dB/octave",   0.1,   0},
    {Unit::PerOctave,         u"",            0.01,  0},
};
// clang-format on

const UnitRow& rowOf(Unit unit) {
  return *std::ranges::find_if(kUnits, [unit](const UnitRow& row) { return row.unit == unit; });
}

// After orderSends().
std::u16string_view nameOf(Slot slot) {
  constexpr std::pair<Slot, std::u16string_view> kSends[] = {
      {60, u"Reverb send level"},
      {61, u"CC91 to Reverb send level"},
      {64, u"Chorus send level"},
      {65, u"CC93 to Chorus send level"},
  };
  const auto send = std::ranges::find(kSends, slot, &std::pair<Slot, std::u16string_view>::first);
  return send != std::end(kSends) ? send->second : parameter(slot).name;
}

void compareSlot(Slot slot, float first, float second, FeatureMask used, Differences& differences) {
  const Parameter& row = parameter(slot);
  if (row.reserved()) return;
  const UnitRow& unit = rowOf(row.unit);
  const double larger = std::max(std::fabs(double{first}), std::fabs(double{second}));
  differences.need(featuresOfSlot(slot) & used);
  differences.number(nameOf(slot), first, second, std::max(unit.step, unit.proportion * larger), unit.text);
  differences.need(0);
}

struct CarrierGroup {
  Carrier carrier;
  SlotGroup group;
};
constexpr CarrierGroup kCarrierGroups[] = {
    {Carrier::PLfo, SlotGroup::PLfo},      {Carrier::VLfo, SlotGroup::VLfo},
    {Carrier::FLfo, SlotGroup::FLfo},      {Carrier::XLfo, SlotGroup::XLfo},
    {Carrier::PEnv, SlotGroup::PEnvelope}, {Carrier::FEnv, SlotGroup::FEnvelope},
    {Carrier::XEnv, SlotGroup::XEnvelope},
};

// Times that the key moves count where the region plays.
void setTimesOf(MidiRange keys, SlotValues& values) {
  constexpr std::pair<Stage, Stage> kTimes[] = {{Stage::Attack1Time, Stage::KeyToAttack1},
                                                {Stage::Attack2Time, Stage::KeyToAttack2},
                                                {Stage::Decay1Time, Stage::KeyToDecay1},
                                                {Stage::Decay2Time, Stage::KeyToDecay2},
                                                {Stage::Release1Rate, Stage::KeyToRelease1}};
  const double octaves = ((keys.low + keys.high) / 2.0 - 60) / 12;
  for (Slot envelope : {slots::VEnv, slots::PEnv, slots::FEnv})
    for (const auto& [time, key] : kTimes)
      if (const float perOctave = values[envelopeSlot(envelope, key)]; perOctave > 0 && perOctave != 1)
        values[envelopeSlot(envelope, time)] *= static_cast<float>(std::pow(perOctave, octaves));
}

/// What the region plays with; with defaults in place of settings that do nothing, so that they are no
/// difference.
SlotValues soundingValues(const Region& region, bool isSettled) {
  ArticulationBlock block = effective(region);
  if (isSettled) settleFixedNote(region, block);
  SlotValues values = valuesOf(block);
  orderSends(sendEffectsOf(region), values);
  if (filterTypeOf(values) == FilterType::Off || isWideOpen(values)) resetGroup(values, SlotGroup::Filter);
  for (const CarrierGroup& row : kCarrierGroups)
    if (!isInUse(values, row.carrier)) resetGroup(values, row.group);
  setTimesOf(region.keys, values);
  return values;
}

/// Whether more than pitch and volume hangs on the key or the velocity.
bool dependsOnNote(const SlotValues& values) {
  using namespace features;
  constexpr FeatureMask kOnNotes =
      featureBit(KeyVelocityToCutoff) | featureBit(KeyToVolumePan) | featureBit(KeyToAttackRelease) |
      featureBit(features::KeyToDecay) | featureBit(VelocityToAttack1) | featureBit(VelocityToAttack2) |
      featureBit(VelocityToDecay) | featureBit(VelocityToRelease) | featureBit(VelocityToEnvelopes);
  for (int slot = 0; slot < kSlotCount; ++slot)
    if (const auto at = static_cast<Slot>(slot);
        values[at] != initialValues()[at] && (featuresOfSlot(at) & kOnNotes))
      return true;
  return false;
}

/// As far as it comes from the root key and the tunings: where two regions say the same pitch in different
/// words there is no difference.
double pitchCents(const Region& region, const SlotValues& values, int key) {
  const Waveform* waveform = region.waveform();
  return 100.0 * values[slots::MasterTuning] + (waveform ? waveform->fineTuneCents : 0) +
         100.0 * values[slots::KeyToPitch] * (key - effectiveRootKey(region));
}

double volumeDecibels(const Region& region, const SlotValues& values) {
  const Waveform* waveform = region.waveform();
  return values[slots::MasterVolume] + (waveform ? waveform->volumeAdjustmentDb : 0);
}

std::u16string tuningText(const Region& region, const SlotValues& values) {
  const Waveform* waveform = region.waveform();
  const double cents = 100.0 * values[slots::MasterTuning] + (waveform ? waveform->fineTuneCents : 0);
  return u"root key " + decimalText(effectiveRootKey(region)) + u", " + decimalText(cents) + u" cents";
}

void compareTuning(const Region& first, const SlotValues& a, const Region& second, const SlotValues& b,
                   FeatureMask needed, Differences& differences) {
  auto apart = [&](int key) { return pitchCents(second, b, key) - pitchCents(first, a, key); };
  const double step = differences.options().tolerance + 1e-3;
  const double low = apart(first.keys.low), high = apart(first.keys.high);
  const bool isOtherScale = std::fabs(high - low) > step;
  if (isOtherScale) {
    differences.need(featuresOfSlot(slots::KeyToPitch) | needed);
    differences.add(parameter(slots::KeyToPitch).name, decimalText(a[slots::KeyToPitch]) + u" semitones",
                    decimalText(b[slots::KeyToPitch]) + u" semitones");
    differences.need(0);
  }
  if (std::fabs(isOtherScale ? apart(effectiveRootKey(first)) : low) > step)
    differences.add(u"tuning", tuningText(first, a), tuningText(second, b));
}

std::u16string waveformText(const Region& region) {
  const Waveform* waveform = region.waveform();
  return waveform ? u"\"" + waveform->displayName() + u"\"" : u"none";
}

/// One that plays in the centre is split along with those of the same waveform that do not.
bool isSplit(const Region& first, const Region& second) {
  const Waveform *a = first.waveform(), *b = second.waveform();
  return a && b && a->channels != b->channels;
}

// Reverb and chorus are compared by their levels; this is what the other channels lead to that are in use.
void compareSendEffects(const Region& first, const Region& second, Differences& differences) {
  constexpr std::u16string_view kWords[] = {u"none", u"chorus", u"reverb"};
  const SendEffects a = sendEffectsOf(first), b = sendEffectsOf(second);
  if (a == b) return;
  const EffectChannels mine = effectChannels(a), others = effectChannels(b);
  const ArticulationBlock played = effective(first), playedBySecond = effective(second);
  differences.need(featureBit(features::MoreSends));
  for (std::size_t i = 2; i < mine.size(); ++i) {
    const bool isUsed =
        played.get(sendLevelSlot(mine[i])) != 0 && playedBySecond.get(sendLevelSlot(others[i])) != 0;
    const auto effect = a[static_cast<std::size_t>(mine[i])], other = b[static_cast<std::size_t>(others[i])];
    if (isUsed && effect != other)
      differences.text(u"send effect", kWords[static_cast<std::size_t>(effect)],
                       kWords[static_cast<std::size_t>(other)]);
  }
  differences.need(0);
}

}  // namespace

std::u16string placeOf(const Region& region) {
  const Instrument* instrument = instrumentOf(region);
  return u"Instrument \"" + (instrument ? instrument->displayName() : u"") + u"\", keys " +
         rangeText(region.keys) + u", velocities " + rangeText(region.velocities);
}

void compareArticulation(const Region& first, const Region& second, Differences& differences) {
  const bool sameNotes = first.fixedKey == second.fixedKey && first.fixedVelocity == second.fixedVelocity;
  SlotValues a = soundingValues(first, !sameNotes), b = soundingValues(second, !sameNotes);
  for (const CarrierGroup& row : kCarrierGroups)  // what leads nowhere on one side, its depths tell
    if (!isInUse(a, row.carrier) || !isInUse(b, row.carrier)) {
      resetGroup(a, row.group);
      resetGroup(b, row.group);
    }
  if (!sameNotes && (dependsOnNote(a) || dependsOnNote(b))) {
    differences.need(featureBit(features::FixedKey));
    differences.whole(u"fixed key", first.fixedKey, second.fixedKey);
    differences.whole(u"fixed velocity", first.fixedVelocity, second.fixedVelocity);
    differences.need(0);
  }
  compareTuning(first, a, second, b, sameNotes ? 0 : featureBit(features::FixedKey), differences);
  differences.number(parameter(slots::MasterVolume).name, volumeDecibels(first, a), volumeDecibels(second, b),
                     0.1, u"dB");
  FeatureMask used = featuresOf(first) | featuresOf(second);
  if (isSplit(first, second)) used |= featureBit(features::PannedStereo);
  for (int slot = 0; slot < kSlotCount; ++slot)
    if (slot != slots::MasterTuning && slot != slots::KeyToPitch && slot != slots::MasterVolume) {
      const auto at = static_cast<Slot>(slot);
      if (a[at] != b[at]) compareSlot(at, a[at], b[at], used, differences);
    }
  compareSendEffects(first, second, differences);
}

void compareSwitches(const KeySwitches& first, const KeySwitches& second, Differences& differences) {
  if (first.waitsForLast() || second.waitsForLast()) {
    compareRanges(u"key switches", first.range, second.range, differences);
    compareRanges(u"last key switch", first.last, second.last, differences);
    differences.whole(u"key switch at start", first.atStart, second.atStart);
  }
  differences.whole(u"key held", first.down, second.down);
  differences.whole(u"key not held", first.up, second.up);
  differences.whole(u"key before", first.previous, second.previous);
}

void compareRules(const PlayRules& first, const PlayRules& second, Differences& differences) {
  auto list = [](const std::vector<ControllerRange>& ranges) {
    std::u16string text;
    for (const ControllerRange& range : ranges) {
      text += (text.empty() ? u"" : u", ") + decimalText(range.controller) + u": " +
              rangeText({range.low, range.high});
      if (range.atRest != 0) text += u" from " + decimalText(range.atRest);
    }
    return text.empty() ? u"none" : text;
  };
  differences.need(featureBit(features::PlayRules));
  differences.whole(u"round robin length", first.sequenceLength, second.sequenceLength);
  differences.whole(u"round robin position", first.sequencePosition, second.sequencePosition);
  differences.number(u"random from", first.randomLow, second.randomLow, 0.001);
  differences.number(u"random to", first.randomHigh, second.randomHigh, 0.001);
  differences.whole(u"group", first.group, second.group);
  differences.whole(u"stopped by group", first.stoppedBy, second.stoppedBy);
  differences.whole(u"stops naturally", first.stopsNaturally, second.stopsNaturally);
  differences.whole(u"plays to its end", first.playsToEnd, second.playsToEnd);
  differences.whole(u"ignores keys", first.ignoresKeys, second.ignoresKeys);
  differences.text(u"controllers", list(first.controllers), list(second.controllers));
  differences.text(u"started by controllers", list(first.starts), list(second.starts));
  compareSwitches(first.switches, second.switches, differences);
  differences.need(featureBit(features::CrossFades));
  differences.whole(u"key fade curve", static_cast<int>(first.keyFade), static_cast<int>(second.keyFade));
  differences.whole(u"velocity fade curve", static_cast<int>(first.velocityFade),
                    static_cast<int>(second.velocityFade));
  differences.whole(u"controller fade curve", static_cast<int>(first.controllerFade),
                    static_cast<int>(second.controllerFade));
  differences.text(u"faded in by controllers", list(first.fadeIns), list(second.fadeIns));
  differences.text(u"faded out by controllers", list(first.fadeOuts), list(second.fadeOuts));
  differences.need(0);
}

void compareRegions(const Region& first, const Region& second, const WaveformClasses& classes,
                    Differences& differences) {
  compareRanges(u"keys", first.keys, second.keys, differences);
  compareRanges(u"velocities", first.velocities, second.velocities, differences);
  const bool areBothSilent = !first.waveform() && !second.waveform();
  const std::size_t played = classes.of(first, true);
  if (!areBothSilent && (played == 0 || played != classes.of(second, false)))
    differences.add(u"waveform", waveformText(first), waveformText(second));
  differences.need(featureBit(features::PlaySections));
  const PlaySection a = effectivePlaySection(first), b = effectivePlaySection(second);
  differences.whole(u"play start", a.start, b.start);
  differences.whole(u"play end", a.end, b.end);
  differences.need(featureBit(features::ExclusiveGroups));
  differences.whole(u"exclusive group", first.exclusiveGroup, second.exclusiveGroup);
  differences.need(featureBit(features::TriggerTypes));
  differences.whole(u"trigger", static_cast<int>(first.trigger), static_cast<int>(second.trigger));
  differences.need(featureBit(features::DelayTime));
  differences.number(u"delay", first.delaySeconds, second.delaySeconds, 0.001, u"s");
  differences.need(featureBit(features::CrossFades));
  compareRanges(u"fade-in keys", first.fadeInKeys, second.fadeInKeys, differences);
  compareRanges(u"fade-out keys", first.fadeOutKeys, second.fadeOutKeys, differences);
  compareRanges(u"fade-in velocities", first.fadeInVelocities, second.fadeInVelocities, differences);
  compareRanges(u"fade-out velocities", first.fadeOutVelocities, second.fadeOutVelocities, differences);
  differences.need(0);
  if (first.rules != second.rules) compareRules(rulesOf(first), rulesOf(second), differences);
  compareArticulation(first, second, differences);
}

}  // namespace vemko::compare
