// Times of envelopes that velocity, the key and controllers change. A file adds seconds at the far end of the
// source; the slots hold velocity and controllers as percent of the time, and the key as a factor an octave.
#include <algorithm>
#include <cmath>
#include <string>

#include "core/parameters.h"
#include "formats/sfz/sfz_articulation.h"

namespace vemko::sfz {
namespace {

constexpr double kKeysBelow = 60 / 12.0, kKeys = 127 / 12.0;  // octaves: from key 0 to middle C, to key 127
constexpr double kLeastShare = 1e-6;
constexpr double kLeastSeconds = 0.001;  // where a controller makes a time out of none

struct StageRow {
  Stage time, velocity, key;
  Stage controller;  // InitialLevel: none
  std::string_view name, controllerName;
};
constexpr StageRow kStages[] = {
    {Stage::Attack1Time, Stage::VelocityToAttack1, Stage::KeyToAttack1, Stage::Cc73ToAttack1, "delay",
     "cc73"},
    {Stage::Attack2Time, Stage::VelocityToAttack2, Stage::KeyToAttack2, Stage::Cc73ToAttack2, "attack",
     "cc73"},
    {Stage::Decay1Time, Stage::VelocityToDecay1, Stage::KeyToDecay1, Stage::InitialLevel, "hold", ""},
    {Stage::Decay2Time, Stage::VelocityToDecay2, Stage::KeyToDecay2, Stage::InitialLevel, "decay", ""},
    {Stage::Release1Rate, Stage::VelocityToRelease1, Stage::KeyToRelease1, Stage::Cc72ToRelease1, "release",
     "cc72"},
};

float bounded(Slot slot, double value) { return boundedValue(slot, static_cast<float>(value)); }

// The part of the full way that a stage's time is for: all of it, unless "..._zero" says that the decay's
// time is that down to the sustain level, and the release's that from there.
double wayOf(const RegionOpcodes& opcodes, const StageSlots& stage, Slot envelope) {
  const Slot level = envelopeSlot(envelope, Stage::Sustain);
  const double sustain = opcodes.givenSlots[level] ? opcodes.amounts[level] : 1;
  auto isPart = [&](Stage time, Stage zero) {
    const Slot said = envelopeSlot(envelope, zero);
    return stage.time == envelopeSlot(envelope, time) && opcodes.givenSlots[said] &&
           opcodes.amounts[said] == 0;
  };
  double way = 1;
  if (isPart(Stage::Decay2Time, Stage::Decay1Level)) way = 1 - sustain;
  if (isPart(Stage::Release1Rate, Stage::Release1Level)) way = sustain;
  return way > 0 ? way : 1;
}

}  // namespace

std::array<StageSlots, 5> stageSlotsOf(Slot envelope) {
  std::array<StageSlots, 5> all{};
  for (std::size_t i = 0; i < all.size(); ++i) {
    const StageRow& row = kStages[i];
    const bool hasController = row.controller != Stage::InitialLevel;
    all[i] = {envelopeSlot(envelope, row.time), envelopeSlot(envelope, row.velocity),
              envelopeSlot(envelope, row.key),
              hasController ? envelopeSlot(envelope, row.controller) : Slot{0}};
  }
  return all;
}

// The key first, then velocity, then the controller: each is relative to the time that the ones before give.
// A controller may well add more than the whole time, so that its percentage has no upper bound; where it
// adds to none, there is one too short to be heard.
void applyStageTime(const StageTime& time, const StageSlots& slots, SlotValues& values) {
  double seconds = time.seconds;
  if (time.keySeconds != 0 && seconds > 0) {
    const double atTop = std::max(seconds + time.keySeconds, seconds * kLeastShare);
    const double perOctave = std::exp2(std::log2(atTop / seconds) / kKeys);
    values[slots.key] = bounded(slots.key, perOctave);
    seconds *= std::pow(perOctave, kKeysBelow);
  }
  if (time.velocitySeconds != 0) {
    const double half = std::max(time.velocitySeconds, -seconds) / 2;
    seconds += half;
    if (seconds > 0) values[slots.velocity] = bounded(slots.velocity, 100 * half / seconds);
  }
  if (time.controllerSeconds != 0 && slots.controller != 0) {
    if (seconds == 0 && time.controllerSeconds > 0) seconds = kLeastSeconds;
    if (seconds > 0)
      values[slots.controller] = static_cast<float>(std::max(100 * time.controllerSeconds / seconds, -100.0));
  }
  values[slots.time] = static_cast<float>(seconds);
}

StageTime undoStageTime(const SlotValues& values, const StageSlots& slots) {
  StageTime time;
  time.seconds = values[slots.time];
  if (slots.controller != 0) time.controllerSeconds = values[slots.controller] / 100.0 * time.seconds;
  const double half = values[slots.velocity] / 100.0 * time.seconds;
  time.velocitySeconds = 2 * half;
  time.seconds -= half;
  const double perOctave = values[slots.key];
  if (perOctave != 1 && perOctave > 0) {
    const double atMiddle = time.seconds;
    time.seconds = atMiddle * std::pow(perOctave, -kKeysBelow);
    time.keySeconds = atMiddle * std::pow(perOctave, kKeys - kKeysBelow) - time.seconds;
  }
  return time;
}

void applyTimes(const RegionOpcodes& opcodes, SlotValues& values) {
  for (Slot envelope : {slots::VEnv, slots::PEnv, slots::FEnv})
    for (const StageSlots& each : stageSlotsOf(envelope)) {
      const double way = wayOf(opcodes, each, envelope);
      const double controller = each.controller != 0 ? opcodes.amounts[each.controller] : 0;
      applyStageTime({opcodes.amounts[each.time] / way, opcodes.amounts[each.velocity] / way,
                      opcodes.amounts[each.key] / way, controller / way},
                     each, values);
    }
}

void putStageTime(const SlotValues& values, const StageSlots& slots, double scale, const StageNames& names,
                  OpcodeLines& out) {
  const StageTime exact = undoStageTime(values, slots);
  if (exact.seconds == 0 && values[slots.time] == 0) return;
  const bool isPlain = exact.velocitySeconds == 0 && exact.keySeconds == 0 && exact.controllerSeconds == 0;
  if (isPlain) {
    const float slot = values[slots.time];
    out.putNumber(names.seconds, exact.seconds * scale,
                  [&](double number) { return static_cast<float>(number / scale) == slot; });
    return;
  }
  struct Part {
    double StageTime::*part;
    const std::string& name;
  };
  const Part parts[] = {{&StageTime::seconds, names.seconds},
                        {&StageTime::velocitySeconds, names.velocity},
                        {&StageTime::keySeconds, names.key},
                        {&StageTime::controllerSeconds, names.controller}};
  auto readsBack = [&](int digits) {
    StageTime time;
    for (const Part& each : parts)
      time.*each.part = NumberText(exact.*each.part * scale, digits).value() / scale;
    SlotValues read = initialValues();
    applyStageTime(time, slots, read);
    return read[slots.time] == values[slots.time] && read[slots.velocity] == values[slots.velocity] &&
           read[slots.key] == values[slots.key] &&
           (slots.controller == 0 || read[slots.controller] == values[slots.controller]);
  };
  int digits = kFewestDigits;
  while (digits <= kMostDigits && !readsBack(digits)) ++digits;
  if (digits > kMostDigits) digits = kFewestDigits;
  for (const Part& each : parts)
    if (exact.*each.part != 0) out.put(each.name, NumberText(exact.*each.part * scale, digits));
}

void putTimes(const SlotValues& values, Slot envelope, std::string_view prefix, OpcodeLines& out) {
  const auto stages = stageSlotsOf(envelope);
  if (const float start = values[envelope]; start != 0)
    out.putNumber(std::string(prefix).append("start"), start * 100.0,
                  [&](double percent) { return static_cast<float>(percent * 0.01) == start; });
  SlotValues known = values;
  for (std::size_t i = 0; i < stages.size(); ++i) {
    // The first version has no key tracking of times: as at middle C.
    if (!out.isVersion2()) known[stages[i].key] = 1;
    const std::string name = std::string(prefix).append(kStages[i].name);
    putStageTime(known, stages[i], 1,
                 {name, std::string(prefix).append("vel2").append(kStages[i].name), name + "cc133",
                  name + std::string(kStages[i].controllerName)},
                 out);
  }
}

bool isSixStage(const SlotValues& values, Slot envelope) {
  auto at = [&](Stage stage) { return values[envelopeSlot(envelope, stage)]; };
  return at(Stage::InitialLevel) == at(Stage::Attack1Level) && at(Stage::Attack2Level) == 1 &&
         at(Stage::Decay1Level) == 1 && at(Stage::Sustain) >= 0 && at(Stage::InitialLevel) >= 0 &&
         at(Stage::Release1Level) == 0 && at(Stage::Release2Time) == 0 && at(Stage::Release2Level) == 0 &&
         at(Stage::Release3Time) == 0 && at(Stage::Release3Level) == 0;
}

}  // namespace vemko::sfz
