#include "formats/sfz/sfz_articulation.h"

#include <algorithm>
#include <cmath>

#include "core/filter.h"
#include "core/parameters.h"

namespace vemko::sfz {
namespace {

constexpr int kMiddleC = 60;
constexpr double kSilenceDb = -96;
constexpr float kSlowestLfoHz = 0.01f;

float toFloat(double value) { return static_cast<float>(value); }
bool isEqual(float slot, double value) { return slot == toFloat(value); }

// --- Rules, each with its way back

double tuningOf(double transpose, double tuneCents, double fileCents) {
  return transpose + (tuneCents - fileCents) * 0.01;
}

void applyTuning(const RegionOpcodes& opcodes, double fileCents, SlotValues& values) {
  const double random = opcodes.get(Field::RandomTuneUp, 0) / 2;
  values[slots::MasterTuning] =
      toFloat(tuningOf(opcodes.get(Field::Transpose, 0), opcodes.get(Field::Tune, 0) + random, fileCents));
  values[slots::RandomToPitch] += toFloat(std::abs(random) * 0.01);
}

void undoTuning(const SlotValues& values, double fileCents, OpcodeLines& out) {
  const float slot = values[slots::MasterTuning];
  const double total = slot + fileCents * 0.01;
  double transpose = std::clamp(std::trunc(total), -127.0, 127.0);
  double cents = (total - transpose) * 100;
  // What the float's last digits make of whole semitones.
  if (std::abs(cents) > 99.999) {
    transpose += cents > 0 ? 1 : -1;
    cents = (total - transpose) * 100;
  }
  if (transpose != 0) out.putWhole("transpose", static_cast<std::int64_t>(transpose));
  if (isEqual(slot, tuningOf(transpose, 0, fileCents))) return;
  out.putNumber("tune", cents,
                [&](double tune) { return isEqual(slot, tuningOf(transpose, tune, fileCents)); });
}

void applyVolume(const RegionOpcodes& opcodes, double fileDb, SlotValues& values) {
  const double amplitude = opcodes.get(Field::Amplitude, 100);
  const double random = opcodes.get(Field::RandomVolumeUp, 0) / 2;
  const double perKey = opcodes.get(Field::KeyToVolume, 0);
  double volume = opcodes.get(Field::Volume, 0) + opcodes.get(Field::OuterVolume, 0) + random - fileDb;
  if (amplitude != 100)
    volume += amplitude > 0 ? std::max(20 * std::log10(amplitude / 100), kSilenceDb) : kSilenceDb;
  volume += perKey * (kMiddleC - opcodes.get(Field::VolumeKeyCenter, kMiddleC));
  values[slots::MasterVolume] = toFloat(volume);
  values[slots::RandomToVolume] += toFloat(std::abs(random));
  values[slots::KeyToVolume] = toFloat(perKey * 12);
}

void undoVolume(const SlotValues& values, double fileDb, OpcodeLines& out) {
  const float volume = values[slots::MasterVolume], perOctave = values[slots::KeyToVolume];
  if (!isEqual(volume, -fileDb))
    out.putNumber("volume", volume + fileDb, [&](double db) { return isEqual(volume, db - fileDb); });
  if (perOctave != 0)
    out.putNumber("amp_keytrack", perOctave / 12.0, [&](double db) { return isEqual(perOctave, db * 12); });
}

void applyPan(const RegionOpcodes& opcodes, SlotValues& values) {
  const double perKey = opcodes.get(Field::KeyToPan, 0) * 0.01;
  values[slots::KeyToPan] = toFloat(perKey * 12);
  values[slots::Pan] += toFloat(perKey * (kMiddleC - opcodes.get(Field::PanKeyCenter, kMiddleC)));
}

void undoPan(const SlotValues& values, OpcodeLines& out) {
  const float perOctave = values[slots::KeyToPan];
  if (perOctave == 0) return;
  out.putNumber("pan_keytrack", perOctave / 0.12,
                [&](double percent) { return isEqual(perOctave, percent * 0.01 * 12); });
}

// Words behind the model's types count as the nearest of these.
FilterType filterTypeOfWord(double word) {
  constexpr double kHighPass6 = 13, kBandPass4 = 14;
  if (word <= static_cast<double>(FilterType::BandReject2))
    return static_cast<FilterType>(static_cast<int>(word));
  if (word == kHighPass6) return FilterType::HighPass4;
  return word == kBandPass4 ? FilterType::BandPass2 : FilterType::BandReject2;
}

std::string_view filterWord(FilterType type, bool version2) {
  if (type == FilterType::LowPass3) type = FilterType::LowPass4;
  if (!version2 && type == FilterType::LowPass6) type = FilterType::LowPass4;
  if (!version2 && type == FilterType::LowPass2Ladder) type = FilterType::LowPass2;
  return wordsOf(Field::FilterShape)[static_cast<std::size_t>(type)];
}

double cutoffOf(double hertz, double velocityCents, double centreCents) {
  return hertz * std::exp2((velocityCents / 2 + centreCents) / 1200);
}

// Without a cutoff there is no filter, and none for types that the model does not have.
void applyFilter(const RegionOpcodes& opcodes, SlotValues& values) {
  constexpr auto kLowPass2 = static_cast<double>(FilterType::LowPass2);
  const FilterType type = filterTypeOfWord(opcodes.get(Field::FilterShape, kLowPass2));
  if (!opcodes.has(Field::Cutoff) || type == FilterType::Off) return resetGroup(values, SlotGroup::Filter);
  values[slots::FilterType] = static_cast<float>(type);
  const double velocity = opcodes.amounts[slots::VelocityToCutoff],
               perKey = opcodes.amounts[slots::KeyToCutoff];
  const double centre = perKey * (kMiddleC - opcodes.get(Field::CutoffKeyCenter, kMiddleC));
  values[slots::VelocityToCutoff] = toFloat(velocity / 200);
  values[slots::KeyToCutoff] = toFloat(perKey * 0.12);
  values[slots::FilterCutoff] = toFloat(cutoffOf(opcodes.get(Field::Cutoff, 0), velocity, centre));
}

void undoFilter(const SlotValues& values, OpcodeLines& out) {
  const FilterType type = filterTypeOf(values);
  if (type == FilterType::Off) return;
  out.putText("fil_type", filterWord(type, out.isVersion2()));
  const float velocitySlot = values[slots::VelocityToCutoff], keySlot = values[slots::KeyToCutoff],
              cutoffSlot = values[slots::FilterCutoff];
  double velocity = 0;
  if (velocitySlot != 0)
    velocity = out.putNumber("fil_veltrack", velocitySlot * 200.0,
                             [&](double cents) { return isEqual(velocitySlot, cents / 200); });
  if (keySlot != 0)
    out.putNumber("fil_keytrack", keySlot / 0.12,
                  [&](double cents) { return isEqual(keySlot, cents * 0.12); });
  out.putNumber("cutoff", cutoffSlot * std::exp2(-velocity / 2400),
                [&](double hertz) { return isEqual(cutoffSlot, cutoffOf(hertz, velocity, 0)); });
}

// Depths that velocity adds to.
struct VelocityDepth {
  Slot depth, velocity;
  double factor;
  std::string_view name, velocityName;
  Carrier carrier;
};
constexpr VelocityDepth kResonance = {
    slots::FilterResonance, slots::VelocityToResonance, 1, "resonance", "resonance_oncc131", Carrier::None};
constexpr VelocityDepth kVelocityDepths[] = {
    kResonance,
    {slots::PLfoToPitch, slots::PLfoToPitch + 3, .01, "pitchlfo_depth", "pitchlfo_depthcc131", Carrier::PLfo},
    {slots::VLfoToVolume, slots::VLfoToVolume + 3, 1, "amplfo_depth", "amplfo_depthcc131", Carrier::VLfo},
    {slots::FLfoToCutoff, slots::FLfoToCutoff + 3, .01, "fillfo_depth", "fillfo_depthcc131", Carrier::FLfo},
    {slots::PEnvToPitch, slots::VelocityToPEnvToPitch, .01, "pitcheg_depth", "pitcheg_vel2depth",
     Carrier::PEnv},
    {slots::FEnvToCutoff, slots::FEnvToCutoff + 1, .01, "fileg_depth", "fileg_vel2depth", Carrier::FEnv},
};

void applyVelocityDepths(const RegionOpcodes& opcodes, SlotValues& values) {
  for (const VelocityDepth& each : kVelocityDepths) {
    const double half = opcodes.amounts[each.velocity] * each.factor / 2;
    if (half == 0) continue;
    values[each.velocity] = toFloat(half);
    values[each.depth] = toFloat(opcodes.amounts[each.depth] + half);
  }
}

void putVelocityDepth(const SlotValues& values, const VelocityDepth& row, OpcodeLines& out) {
  // The first version does not lead velocity to the resonance.
  const bool isSaid = out.isVersion2() || row.carrier != Carrier::None;
  const float depth = values[row.depth], velocity = isSaid ? values[row.velocity] : 0;
  double half = 0;
  if (velocity != 0)
    half = out.putNumber(row.velocityName, velocity * 2.0 / row.factor,
                         [&](double each) { return isEqual(velocity, each * row.factor / 2); }) *
           row.factor / 2;
  auto isDepth = [&](double each) { return isEqual(depth, each * row.factor + half); };
  if (!isDepth(0)) out.putNumber(row.name, (depth - half) / row.factor, isDepth);
}

// An LFO that leads somewhere and has no frequency stands still in a player.
void applyLfoFrequencies(const RegionOpcodes& opcodes, SlotValues& values) {
  constexpr std::pair<Carrier, Slot> kLfos[] = {{Carrier::PLfo, slots::PLfoFrequency},
                                                {Carrier::VLfo, slots::VLfoShape + 1},
                                                {Carrier::FLfo, slots::FLfoShape + 1}};
  for (const auto& [carrier, frequency] : kLfos)
    if (isInUse(values, carrier) && !opcodes.givenSlots[frequency]) values[frequency] = kSlowestLfoHz;
}

// What a slot is when its opcode is absent.
float absentValue(Slot slot) {
  const bool isFrequency =
      slot == slots::PLfoFrequency || slot == slots::VLfoShape + 1 || slot == slots::FLfoShape + 1;
  return isFrequency ? kSlowestLfoHz : initialValues()[slot];
}

void applyStarts(const RegionOpcodes& opcodes, SlotValues& values) {
  for (Slot envelope : {slots::VEnv, slots::PEnv, slots::FEnv}) {
    const float start = toFloat(opcodes.amounts[envelope] * 0.01);
    values[envelope] = start;
    values[envelopeSlot(envelope, Stage::Attack1Level)] = start;
  }
}

void applySends(const RegionOpcodes& opcodes, const EffectChannels& channels, SlotValues& values) {
  for (std::size_t i = 0; i < channels.size(); ++i) {
    values[sendLevelSlot(channels[i])] = toFloat(opcodes.sends[i] * 0.01);
    if (opcodes.givenSendControllers[i])
      values[sendControllerSlot(channels[i])] = toFloat(opcodes.sendControllers[i] * 0.01);
  }
}

void undoSends(const SlotValues& values, const EffectChannels& channels, OpcodeLines& out) {
  constexpr std::string_view kControllers[] = {"effect1_oncc91", "effect2_oncc93", "effect3_oncc92",
                                               "effect4_oncc94"};
  for (std::size_t i = 0; i < channels.size(); ++i) {
    const float level = values[sendLevelSlot(channels[i])];
    const Slot controllerSlot = sendControllerSlot(channels[i]);
    const float controller = values[controllerSlot];
    auto reads = [](float slot) { return [slot](double percent) { return isEqual(slot, percent * 0.01); }; };
    if (level != 0) out.putNumber("effect" + std::to_string(i + 1), level * 100.0, reads(level));
    if (out.isVersion2() && controller != initialValues()[controllerSlot])
      out.putNumber(kControllers[i], controller * 100.0, reads(controller));
  }
}

// --- The direct rows

// How a writer says a carrier: not at all, with the opcodes of the first version, or numbered.
enum class Way { Absent, Plain, Numbered };

struct CarrierRow {
  Carrier carrier;
  SlotGroup group;
  std::string_view prefix;

  Slot first() const { return slotsOf(group).first; }
  bool isEnvelope() const { return prefix.ends_with("eg_"); }
};
constexpr CarrierRow kCarriers[] = {
    {Carrier::PLfo, SlotGroup::PLfo, "pitchlfo_"},   {Carrier::VLfo, SlotGroup::VLfo, "amplfo_"},
    {Carrier::FLfo, SlotGroup::FLfo, "fillfo_"},     {Carrier::PEnv, SlotGroup::PEnvelope, "pitcheg_"},
    {Carrier::FEnv, SlotGroup::FEnvelope, "fileg_"}, {Carrier::None, SlotGroup::VEnvelope, "ampeg_"}};

Way wayOf(const SlotValues& values, const CarrierRow& row, bool version2) {
  if (!isInUse(values, row.carrier)) return Way::Absent;
  const bool isPlain = row.isEnvelope() ? isSixStage(values, row.first()) : values[row.first()] == 0;
  return isPlain || !version2 ? Way::Plain : Way::Numbered;
}

using Slots = std::bitset<kSlotCount>;

void addGroup(Slots& slots, SlotGroup group) {
  const SlotRange range = slotsOf(group);
  for (Slot slot = range.first; slot <= range.last; ++slot) slots.set(slot);
}

// What the direct rows are not to say: what comes with other numbers, numbered, or not at all.
Slots indirectSlots(const SlotValues& values, bool version2) {
  Slots slots;
  if (filterTypeOf(values) == FilterType::Off) addGroup(slots, SlotGroup::Filter);
  for (const CarrierRow& row : kCarriers) {
    const Way way = wayOf(values, row, version2);
    if (way != Way::Plain) addGroup(slots, row.group);
    if (row.isEnvelope())
      for (const StageSlots& stage : stageSlotsOf(row.first())) slots.set(stage.time);
    for (const VelocityDepth& each : kVelocityDepths) {
      if (each.carrier != row.carrier) continue;
      slots.set(each.depth);
      if (way != Way::Plain && !row.isEnvelope()) slots.set(each.depth + 1u).set(each.depth + 2u);
    }
  }
  return slots;
}

void putCarrier(const SlotValues& values, const CarrierRow& row, MidiRange keys, OpcodeLines& out) {
  const Way way = wayOf(values, row, out.isVersion2());
  if (way == Way::Numbered)
    return row.isEnvelope() ? putEnvelope(values, row.first(), keys, out) : putLfo(values, row.carrier, out);
  if (way == Way::Absent) return;
  for (const VelocityDepth& each : kVelocityDepths)
    if (each.carrier == row.carrier && row.carrier != Carrier::None) putVelocityDepth(values, each, out);
  if (row.isEnvelope()) putTimes(values, row.first(), keys, row.prefix, out);
}

// The slot's wheel bends both ways alike; a file without the second opcode bends down by two semitones.
void putBendDown(float semitones, OpcodeLines& out) {
  out.putNumber("bend_down", semitones * -100.0,
                [&](double cents) { return isEqual(semitones, cents * -0.01); });
}

void putDirectRows(const SlotValues& values, OpcodeLines& out) {
  Slots seen = indirectSlots(values, out.isVersion2());
  for (const OpcodeRow& row : opcodeRows()) {
    if (row.field != Field::Direct || !out.uses(row) || seen[row.slot]) continue;
    seen.set(row.slot);
    const float value = values[row.slot];
    if (value == absentValue(row.slot)) continue;
    const std::string name = spelledName(row.name, out.isVersion2());
    out.putNumber(name, value / row.factor,
                  [&](double number) { return isEqual(value, number * row.factor); });
    if (row.slot == slots::BendToPitch) putBendDown(value, out);
  }
}

// The first version has one LFO for the pitch: the X-LFO takes its place where that is free.
void moveXLfo(SlotValues& values) {
  if (isInUse(values, Carrier::PLfo) || !isInUse(values, Carrier::XLfo)) return;
  for (int i = 0; i < 4; ++i) {
    values.slots[slots::PLfoToPitch + i] = values.slots[slots::XLfoToPitch + i];
    values.slots[slots::PLfoShape + i] = values.slots[slots::XLfoShape + i];
  }
}

}  // namespace

ArticulationBlock articulationOf(const RegionOpcodes& opcodes, const RegionFacts& facts,
                                 const EffectChannels& channels) {
  SlotValues values = opcodes.slots;
  applyTuning(opcodes, facts.tuneCents, values);
  applyVolume(opcodes, facts.volumeDb, values);
  applyPan(opcodes, values);
  applyVelocityDepths(opcodes, values);
  applyFilter(opcodes, values);
  applyStarts(opcodes, values);
  applyTimes(opcodes, facts.keys, values);
  applyLfoFrequencies(opcodes, values);
  applySends(opcodes, channels, values);
  applyNumbered(opcodes, facts.keys, values);
  return blockOf(values);
}

void putArticulation(const ArticulationBlock& block, const RegionFacts& facts, const EffectChannels& channels,
                     OpcodeLines& out) {
  SlotValues values = valuesOf(block);
  if (!out.isVersion2()) moveXLfo(values);
  undoTuning(values, facts.tuneCents, out);
  undoVolume(values, facts.volumeDb, out);
  undoPan(values, out);
  undoFilter(values, out);

  if (filterTypeOf(values) != FilterType::Off) putVelocityDepth(values, kResonance, out);
  putDirectRows(values, out);
  for (const CarrierRow& row : kCarriers) putCarrier(values, row, facts.keys, out);
  if (out.isVersion2()) {
    if (isInUse(values, Carrier::XLfo)) putLfo(values, Carrier::XLfo, out);
    if (isInUse(values, Carrier::XEnv)) putEnvelope(values, slots::XEnv, facts.keys, out);
  }
  putEqualiser(values, out);
  undoSends(values, channels, out);
}

}  // namespace vemko::sfz
