#include "formats/soundfont/sf_articulation.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "core/filter.h"
#include "core/key_rules.h"
#include "core/parameters.h"
#include "core/units.h"

namespace vemko::soundfont {
namespace {

constexpr Slot v(Stage stage) { return envelopeSlot(slots::VEnv, stage); }
constexpr Slot p(Stage stage) { return envelopeSlot(slots::PEnv, stage); }
constexpr Slot f(Stage stage) { return envelopeSlot(slots::FEnv, stage); }

// Tunings add up from presets and instruments beyond their published bounds, and players take them as they
// are; so do we.
// clang-format off
constexpr GeneratorRow kRows[] = {
  // generator              slot                    scale             factor  minimum  maximum carrier         only in use
  {gen::FilterCutoff,       slots::FilterCutoff,    Scale::Hertz,     1,      0,       13500,  Carrier::None,  false},
  {gen::FilterQ,            slots::FilterResonance, Scale::Linear,    0.1f,   0,       960,    Carrier::None,  false},
  {gen::Attenuation,        slots::MasterVolume,    Scale::Linear,    -0.04f, 0,       1440,   Carrier::None,  false},
  {gen::Pan,                slots::Pan,             Scale::Linear,    0.002f, -500,    500,    Carrier::None,  false},
  {gen::ScaleTuning,        slots::KeyToPitch,      Scale::Linear,    0.01f,  -1200,   1200,   Carrier::None,  false},
  {gen::VibLfoToPitch,      slots::PLfoToPitch,     Scale::Linear,    0.01f,  -12000,  12000,  Carrier::None,  false},
  {gen::ModLfoToPitch,      slots::XLfoToPitch,     Scale::Linear,    0.01f,  -12000,  12000,  Carrier::None,  false},
  {gen::ModLfoToCutoff,     slots::FLfoToCutoff,    Scale::Linear,    0.01f,  -12000,  12000,  Carrier::None,  false},
  {gen::ModLfoToVolume,     slots::VLfoToVolume,    Scale::Linear,    0.1f,   -960,    960,    Carrier::None,  false},
  {gen::ModEnvToPitch,      slots::PEnvToPitch,     Scale::Linear,    0.01f,  -12000,  12000,  Carrier::None,  false},
  {gen::ModEnvToCutoff,     slots::FEnvToCutoff,    Scale::Linear,    0.01f,  -12000,  12000,  Carrier::None,  false},
  {gen::VibLfoFrequency,    69,                     Scale::Hertz,     1,      -16000,  4500,   Carrier::PLfo,  true},
  {gen::VibLfoDelay,        70,                     Scale::Seconds,   1,      -12000,  5000,   Carrier::PLfo,  true},
  {gen::ModLfoFrequency,    73,                     Scale::Hertz,     1,      -16000,  4500,   Carrier::VLfo,  true},
  {gen::ModLfoFrequency,    77,                     Scale::Hertz,     1,      -16000,  4500,   Carrier::FLfo,  true},
  {gen::ModLfoFrequency,    81,                     Scale::Hertz,     1,      -16000,  4500,   Carrier::XLfo,  true},
  {gen::ModLfoDelay,        74,                     Scale::Seconds,   1,      -12000,  5000,   Carrier::VLfo,  true},
  {gen::ModLfoDelay,        78,                     Scale::Seconds,   1,      -12000,  5000,   Carrier::FLfo,  true},
  {gen::ModLfoDelay,        82,                     Scale::Seconds,   1,      -12000,  5000,   Carrier::XLfo,  true},
  {gen::VolEnvDelay,        v(Stage::Attack1Time),  Scale::Seconds,   1,      -12000,  5000,   Carrier::None,  false},
  {gen::VolEnvAttack,       v(Stage::Attack2Time),  Scale::Seconds,   1,      -12000,  8000,   Carrier::None,  false},
  {gen::VolEnvHold,         v(Stage::Decay1Time),   Scale::Seconds,   1,      -12000,  5000,   Carrier::None,  false},
  {gen::VolEnvDecay,        v(Stage::Decay2Time),   Scale::Seconds,   1,      -12000,  8000,   Carrier::None,  false},
  {gen::VolEnvSustain,      v(Stage::Sustain),      Scale::Sustain,   1/960.f,0,       1440,   Carrier::None,  false},
  {gen::VolEnvRelease,      v(Stage::Release1Rate), Scale::Seconds,   1,      -12000,  8000,   Carrier::None,  false},
  {gen::KeyToVolEnvHold,    v(Stage::KeyToDecay1),  Scale::PerOctave, 1,      -1200,   1200,   Carrier::None,  false},
  {gen::KeyToVolEnvDecay,   v(Stage::KeyToDecay2),  Scale::PerOctave, 1,      -1200,   1200,   Carrier::None,  false},
  {gen::ModEnvDelay,        p(Stage::Attack1Time),  Scale::Seconds,   1,      -12000,  5000,   Carrier::PEnv,  false},
  {gen::ModEnvDelay,        f(Stage::Attack1Time),  Scale::Seconds,   1,      -12000,  5000,   Carrier::FEnv,  false},
  {gen::ModEnvAttack,       p(Stage::Attack2Time),  Scale::Seconds,   1,      -12000,  8000,   Carrier::PEnv,  false},
  {gen::ModEnvAttack,       f(Stage::Attack2Time),  Scale::Seconds,   1,      -12000,  8000,   Carrier::FEnv,  false},
  {gen::ModEnvHold,         p(Stage::Decay1Time),   Scale::Seconds,   1,      -12000,  5000,   Carrier::PEnv,  false},
  {gen::ModEnvHold,         f(Stage::Decay1Time),   Scale::Seconds,   1,      -12000,  5000,   Carrier::FEnv,  false},
  {gen::ModEnvDecay,        p(Stage::Decay2Time),   Scale::Seconds,   1,      -12000,  8000,   Carrier::PEnv,  false},
  {gen::ModEnvDecay,        f(Stage::Decay2Time),   Scale::Seconds,   1,      -12000,  8000,   Carrier::FEnv,  false},
  {gen::ModEnvSustain,      p(Stage::Sustain),      Scale::Sustain,   0.001f, 0,       1000,   Carrier::PEnv,  false},
  {gen::ModEnvSustain,      f(Stage::Sustain),      Scale::Sustain,   0.001f, 0,       1000,   Carrier::FEnv,  false},
  {gen::ModEnvRelease,      p(Stage::Release1Rate), Scale::Seconds,   1,      -12000,  8000,   Carrier::PEnv,  false},
  {gen::ModEnvRelease,      f(Stage::Release1Rate), Scale::Seconds,   1,      -12000,  8000,   Carrier::FEnv,  false},
  {gen::KeyToModEnvHold,    p(Stage::KeyToDecay1),  Scale::PerOctave, 1,      -1200,   1200,   Carrier::PEnv,  false},
  {gen::KeyToModEnvHold,    f(Stage::KeyToDecay1),  Scale::PerOctave, 1,      -1200,   1200,   Carrier::FEnv,  false},
  {gen::KeyToModEnvDecay,   p(Stage::KeyToDecay2),  Scale::PerOctave, 1,      -1200,   1200,   Carrier::PEnv,  false},
  {gen::KeyToModEnvDecay,   f(Stage::KeyToDecay2),  Scale::PerOctave, 1,      -1200,   1200,   Carrier::FEnv,  false},
};
// clang-format on

// --- One amount

float valueOf(const GeneratorRow& row, std::int16_t amount) {
  const std::int16_t bounded = std::clamp(amount, row.minimum, row.maximum);
  switch (row.scale) {
    case Scale::Linear:
      return row.factor * static_cast<float>(bounded);
    case Scale::Hertz:
      return hertzFromAbsoluteCents(bounded);
    case Scale::Seconds:
      return secondsFromTimecents(bounded);
    case Scale::Sustain:
      return std::clamp(1 - row.factor * static_cast<float>(bounded), 0.0f, 1.0f);
    case Scale::PerOctave:
      return static_cast<float>(std::exp(bounded * -0.006931471638));
  }
  return 0;
}

double exactAmountOf(const GeneratorRow& row, float value) {
  switch (row.scale) {
    case Scale::Linear:
      return value / row.factor;
    case Scale::Hertz:
      return absoluteCentsFromHertz(value);
    case Scale::Seconds:
      return timecentsFromSeconds(value);
    case Scale::Sustain:
      return (1 - value) / row.factor;
    case Scale::PerOctave:
      return value > 0 ? -100 * std::log2(value) : 0;
  }
  return 0;
}

// Times and frequencies below the lowest amounts are as good as these.
bool isBeyond(const GeneratorRow& row, double amount) {
  const bool hasFloor = row.scale == Scale::Linear || row.scale == Scale::PerOctave;
  return amount > row.maximum + 1 || (hasFloor && amount < row.minimum - 1);
}

// --- Rules that span several slots. Each has its undo, called in the reverse order.

void applyTuning(const Generators& generators, SlotValues& values) {
  values[slots::MasterTuning] =
      static_cast<float>(generators[gen::CoarseTune] + generators[gen::FineTune] * 0.01);
}

void undoTuning(const SlotValues& values, Generators& generators) {
  const int cents = roundedWithin(values[slots::MasterTuning] * 100.0, -12000, 12000);
  generators[gen::CoarseTune] = static_cast<std::int16_t>(cents / 100);
  generators[gen::FineTune] = static_cast<std::int16_t>(cents % 100);
}

// Velocity lowers the cutoff from what it is at full velocity.
void applyVelocityRoute(const ModulatorAmounts& amounts, SlotValues& values) {
  applyVelocityToCutoff(amounts[Entry::VelocityToCutoff] * -0.01f, values);
}

void undoVelocityRoute(SlotValues& values, ModulatorAmounts& amounts) {
  amounts[Entry::VelocityToCutoff] = undoVelocityToCutoff(values) / -0.01f;
}

void applyKeyRoute(const ModulatorAmounts& amounts, SlotValues& values) {
  const float bipolar = amounts[Entry::KeyToCutoffBipolar], unipolar = amounts[Entry::KeyToCutoffUnipolar];
  if (bipolar != 0)
    applyKeyToCutoff(bipolar * 0.001875f, KeySource::Bipolar, values);
  else if (unipolar != 0)
    applyKeyToCutoff(unipolar * 0.0009375f, KeySource::Unipolar, values);
}

void undoKeyRoute(SlotValues& values, ModulatorAmounts& amounts) {
  amounts[Entry::KeyToCutoffBipolar] = undoKeyToCutoff(values) / 0.001875f;
}

void applyKeyVolumeRoute(const ModulatorAmounts& amounts, SlotValues& values) {
  const float bipolar = amounts[Entry::KeyToVolumeBipolar], unipolar = amounts[Entry::KeyToVolumeUnipolar];
  if (bipolar != 0)
    applyKeyToVolume(bipolar * 0.0075f, KeySource::Bipolar, values);
  else if (unipolar != 0)
    applyKeyToVolume(unipolar * 0.00375f, KeySource::Unipolar, values);
}

void undoKeyVolumeRoute(SlotValues& values, ModulatorAmounts& amounts) {
  amounts[Entry::KeyToVolumeBipolar] = undoKeyToVolume(values) / 0.0075f;
}

void applyBend(const ModulatorAmounts& amounts, SlotValues& values) {
  values[slots::BendToPitch] = amounts[Entry::BendRange] / 6350 + amounts[Entry::BendToPitch] * 0.01f;
}

// The range stays the controller's own two semitones.
void undoBend(const SlotValues& values, ModulatorAmounts& amounts) {
  amounts[Entry::BendRange] = 12700;
  amounts[Entry::BendToPitch] = (values[slots::BendToPitch] - 2) * 100;
}

void applySends(const Generators& generators, const ModulatorAmounts& amounts, const SendChannels& sends,
                SlotValues& values) {
  auto apply = [&](int channel, int level, Entry controller) {
    values[sendLevelSlot(channel)] = static_cast<float>(std::clamp<int>(generators[level], 0, 1000)) * 0.001f;
    values[sendControllerSlot(channel)] = amounts[controller] * 0.001f;
  };
  apply(sends.reverb, gen::ReverbSend, Entry::Cc91ToReverb);
  apply(sends.chorus, gen::ChorusSend, Entry::Cc93ToChorus);
}

void undoSends(const SlotValues& values, const SendChannels& sends, Generators& generators,
               ModulatorAmounts& amounts) {
  auto undo = [&](int channel, int level, Entry controller) {
    generators[level] =
        static_cast<std::int16_t>(roundedWithin(values[sendLevelSlot(channel)] * 1000.0, 0, 1000));
    amounts[controller] = values[sendControllerSlot(channel)] * 1000;
  };
  undo(sends.reverb, gen::ReverbSend, Entry::Cc91ToReverb);
  undo(sends.chorus, gen::ChorusSend, Entry::Cc93ToChorus);
}

// --- Times that velocity or the key number change

struct TimeSlots {
  Slot envelope;
  bool isVolume;
  Carrier carrier;
};
constexpr TimeSlots kTimeSlots[] = {{slots::VEnv, true, Carrier::None},
                                    {slots::PEnv, false, Carrier::PEnv},
                                    {slots::FEnv, false, Carrier::FEnv}};
constexpr Stage kVelocityStages[kTimeStages] = {Stage::VelocityToAttack1, Stage::VelocityToAttack2,
                                                Stage::VelocityToDecay1, Stage::VelocityToDecay2,
                                                Stage::VelocityToRelease1};
constexpr Stage kKeyStages[kTimeStages] = {Stage::KeyToAttack1, Stage::KeyToAttack2, Stage::KeyToDecay1,
                                           Stage::KeyToDecay2, Stage::KeyToRelease1};
// Where kTimeControllers names a controller.
constexpr Stage kControllerStages[kTimeStages] = {
    Stage::Cc73ToAttack1, Stage::Cc73ToAttack2, {}, {}, Stage::Cc72ToRelease1};
constexpr float kBipolarTime = 0.1875f, kUnipolarTime = 0.09375f;

// Velocity and controllers in percent at their ends, the key number in timecents an octave.
void applyTimes(const ModulatorAmounts& amounts, SlotValues& values) {
  for (const TimeSlots& each : kTimeSlots)
    for (int stage = 0; stage < kTimeStages; ++stage) {
      auto sum = [&](TimeSource bipolar, TimeSource unipolar) {
        return amounts[timeEntry(each.isVolume, stage, bipolar)] * kBipolarTime +
               amounts[timeEntry(each.isVolume, stage, unipolar)] * kUnipolarTime;
      };
      const auto at = static_cast<std::size_t>(stage);
      values[envelopeSlot(each.envelope, kVelocityStages[at])] =
          std::clamp(sum(TimeSource::VelocityBipolar, TimeSource::VelocityUnipolar), -100.0f, 100.0f);
      const float timecents = sum(TimeSource::KeyBipolar, TimeSource::KeyUnipolar);
      if (timecents != 0) values[envelopeSlot(each.envelope, kKeyStages[at])] *= std::exp2(timecents / 1200);
      if (kTimeControllers[at] != 0)
        values[envelopeSlot(each.envelope, kControllerStages[at])] = std::clamp(
            amounts[timeEntry(each.isVolume, stage, TimeSource::Controller)] * kBipolarTime, -100.0f, 100.0f);
    }
}

// What hold and decay take from the key number has a generator of its own.
bool hasKeyGenerator(int stage) { return stage == 2 || stage == 3; }

void undoTimes(const SlotValues& values, ModulatorAmounts& amounts) {
  for (const TimeSlots& each : kTimeSlots) {
    if (!isInUse(values, each.carrier)) continue;
    for (int stage = 0; stage < kTimeStages; ++stage) {
      const auto at = static_cast<std::size_t>(stage);
      amounts[timeEntry(each.isVolume, stage, TimeSource::VelocityBipolar)] =
          values[envelopeSlot(each.envelope, kVelocityStages[at])] / kBipolarTime;
      const float perOctave = values[envelopeSlot(each.envelope, kKeyStages[at])];
      if (!hasKeyGenerator(stage) && perOctave > 0)
        amounts[timeEntry(each.isVolume, stage, TimeSource::KeyBipolar)] =
            1200 * std::log2(perOctave) / kBipolarTime;
      if (kTimeControllers[at] != 0)
        amounts[timeEntry(each.isVolume, stage, TimeSource::Controller)] =
            std::clamp(values[envelopeSlot(each.envelope, kControllerStages[at])], -100.0f, 100.0f) /
            kBipolarTime;
    }
    if (!each.isVolume) break;  // both envelopes share one modulation envelope
  }
}

void applyRows(const Generators& generators, bool carriersInUse, SlotValues& values) {
  for (const GeneratorRow& row : kRows)
    if (row.onlyInUse == carriersInUse && (!carriersInUse || isInUse(values, row.carrier)))
      values[row.slot] = valueOf(row, generators[row.generator]);
}

void undoRows(const SlotValues& values, ZoneAmounts& result) {
  const GeneratorRow* written = nullptr;
  for (const GeneratorRow& row : kRows) {
    if (written && written->generator == row.generator) continue;
    if (!isInUse(values, row.carrier)) continue;
    const double amount = exactAmountOf(row, values[row.slot]);
    result.generators[row.generator] =
        static_cast<std::int16_t>(roundedWithin(amount, row.minimum, row.maximum));
    result.isCut = result.isCut || isBeyond(row, amount);
    written = &row;
  }
}

}  // namespace

std::span<const GeneratorRow> generatorRows() { return kRows; }

ArticulationBlock articulationOf(const Generators& generators, std::span<const Modulator> modulators,
                                 const SendChannels& sends) {
  const ModulatorAmounts amounts = amountsOf(modulators);
  SlotValues values = initialValues();
  applyRows(generators, false, values);
  applyTuning(generators, values);
  values[slots::VelocityResponse] = amounts[Entry::VelocityToVolume] / 960;
  applyBend(amounts, values);
  applyKeyVolumeRoute(amounts, values);
  const bool filter = applyOpenFilterRule(values);
  if (filter) {
    applyVelocityRoute(amounts, values);
    applyKeyRoute(amounts, values);
  }
  for (const ModulationRow& row : modulationRows())
    if (filter || !row.needsFilter) values[row.slot] = row.factor * amounts[row.entry];
  if (filter) applyResonanceToVolume(values);
  applyTimes(amounts, values);
  applySends(generators, amounts, sends, values);
  applyRows(generators, true, values);

  return blockOf(values);
}

ZoneAmounts amountsOf(const ArticulationBlock& block, const SendChannels& sends) {
  SlotValues values = valuesOf(block);
  ZoneAmounts result;
  ModulatorAmounts amounts;
  undoOpenFilterRule(values);
  undoSends(values, sends, result.generators, amounts);
  undoTimes(values, amounts);
  undoResonanceToVolume(values);
  for (const ModulationRow& row : modulationRows()) amounts[row.entry] = values[row.slot] / row.factor;
  undoKeyRoute(values, amounts);
  undoVelocityRoute(values, amounts);
  undoKeyVolumeRoute(values, amounts);
  undoBend(values, amounts);
  amounts[Entry::VelocityToVolume] = values[slots::VelocityResponse] * 960;
  undoTuning(values, result.generators);
  undoRows(values, result);
  result.modulators = modulatorsOf(amounts);
  return result;
}

bool hasFilter(const ArticulationBlock& block) { return isLowPass(filterTypeOf(valuesOf(block))); }

}  // namespace vemko::soundfont
