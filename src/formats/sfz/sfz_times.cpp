// Times of envelopes that velocity, the key and controllers change. A file adds seconds at the far end of the
// source; the slots hold velocity and controllers as percent of the time, and the key as a factor an octave,
// which agrees with a file's straight line at the ends of the region's keys.
#include <algorithm>
#include <cmath>
#include <string>

#include "core/parameters.h"
#include "formats/sfz/sfz_articulation.h"

namespace vemko::sfz {
namespace {

constexpr double kMiddleC = 60, kKeysInOctave = 12, kTopKey = 127;
constexpr double kMostSeconds = 100;     // of an opcode
constexpr double kLeastShare = 1e-6;     // of the longer of the times between which a line goes
constexpr int kFewestSettled = 3;        // digits, a thousandth of a time
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

/// The two keys between which a time moves; those of a region of one key are that one and one beside it.
struct KeySpan {
  double low, high;

  explicit KeySpan(MidiRange keys)
      : low(std::min<int>(keys.low, 126)), high(std::max<double>(keys.high, low + 1)) {}
  double octaves() const { return (high - low) / kKeysInOctave; }
  double middle() const { return (low + high) / 2; }
};

/// What a factor an octave makes of a time, so many keys further up.
double factorOver(double keys, double perOctave) { return std::pow(perOctave, keys / kKeysInOctave); }

struct Ends {
  double low, high;
  double middle() const { return std::sqrt(low * high); }
};

/// Where the line of a time begins and ends; neither is 0 unless both are.
Ends endsOf(const StageTime& time, KeySpan span) {
  const double low = time.seconds + time.keySeconds * span.low / kTopKey;
  const double high = time.seconds + time.keySeconds * span.high / kTopKey;
  const double least = std::max({low, high, 0.0}) * kLeastShare;
  return {low > 0 ? low : least, high > 0 ? high : least};
}

// The line through the times at both ends of the span; where it would begin beyond what an opcode may say,
// the one from that bound through its middle.
void setLine(KeySpan span, double atMiddle, double perOctave, StageTime& time) {
  const double atLow = atMiddle * factorOver(span.low - span.middle(), perOctave);
  const double atHigh = atMiddle * factorOver(span.high - span.middle(), perOctave);
  double slope = (atHigh - atLow) / (span.high - span.low);
  time.seconds = atLow - slope * span.low;
  if (time.seconds < 0 || time.seconds > kMostSeconds) {
    time.seconds = std::clamp(time.seconds, 0.0, kMostSeconds);
    slope = (atMiddle - time.seconds) / span.middle();
    slope = std::max(slope, time.seconds * (kLeastShare - 1) / (span.high - kLeastShare * span.low));
  }
  time.keySeconds = slope * kTopKey;
  // What velocity and the controller add is relative to the time that this line has.
  const double share = endsOf(time, span).middle() / atMiddle;
  time.velocitySeconds *= share;
  time.controllerSeconds *= share;
}

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

// The key first, then velocity, then the controller: each is relative to the time that the ones before give,
// in the middle of the keys. A controller may well add more than the whole time, so that its percentage has
// no upper bound; where it adds to none, there is one too short to be heard.
void applyStageTime(const StageTime& time, const StageSlots& slots, MidiRange keys, SlotValues& values) {
  const KeySpan span(keys);
  double seconds = time.seconds, perOctave = 1;
  if (time.keySeconds != 0) {
    const Ends at = endsOf(time, span);
    seconds = at.middle();
    if (seconds > 0) perOctave = std::exp2(std::log2(at.high / at.low) / span.octaves());
    values[slots.key] = bounded(slots.key, perOctave);
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
  if (perOctave != 1) seconds *= factorOver(kMiddleC - span.middle(), values[slots.key]);
  values[slots.time] = static_cast<float>(seconds);
}

namespace {

StageTime undoStageTime(const SlotValues& values, const StageSlots& slots, MidiRange keys) {
  const KeySpan span(keys);
  const double perOctave = values[slots.key];
  const bool moves = perOctave != 1 && perOctave > 0;
  double seconds = values[slots.time];
  if (moves) seconds = std::min(seconds * factorOver(span.middle() - kMiddleC, perOctave), kMostSeconds);
  StageTime time;
  if (slots.controller != 0) time.controllerSeconds = values[slots.controller] / 100.0 * seconds;
  const double half = values[slots.velocity] / 100.0 * seconds;
  time.velocitySeconds = 2 * half;
  time.seconds = seconds - half;
  if (moves && time.seconds > 0) setLine(span, time.seconds, perOctave, time);
  return time;
}

}  // namespace

void applyTimes(const RegionOpcodes& opcodes, MidiRange keys, SlotValues& values) {
  for (Slot envelope : {slots::VEnv, slots::PEnv, slots::FEnv})
    for (const StageSlots& each : stageSlotsOf(envelope)) {
      const double way = wayOf(opcodes, each, envelope);
      const double controller = each.controller != 0 ? opcodes.amounts[each.controller] : 0;
      applyStageTime({opcodes.amounts[each.time] / way, opcodes.amounts[each.velocity] / way,
                      opcodes.amounts[each.key] / way, controller / way},
                     each, keys, values);
    }
}

void putStageTime(const SlotValues& values, const StageSlots& slots, MidiRange keys, double scale,
                  const StageNames& names, OpcodeLines& out) {
  const StageTime exact = undoStageTime(values, slots, keys);
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
  auto readAgain = [&](int digits) {
    StageTime time;
    for (const Part& each : parts)
      time.*each.part = NumberText(exact.*each.part * scale, digits).value() / scale;
    SlotValues read = initialValues();
    applyStageTime(time, slots, keys, read);
    return read;
  };
  auto readsBack = [&](int digits) {
    const SlotValues read = readAgain(digits);
    return read[slots.time] == values[slots.time] && read[slots.velocity] == values[slots.velocity] &&
           read[slots.key] == values[slots.key] &&
           (slots.controller == 0 || read[slots.controller] == values[slots.controller]);
  };
  int digits = kFewestDigits;
  while (digits <= kMostDigits && !readsBack(digits)) ++digits;
  // A line that a bound moved does not read back: as many digits as a second trip puts again.
  auto isSettled = [&](int count) {
    const StageTime again = undoStageTime(readAgain(count), slots, keys);
    return std::ranges::all_of(parts, [&](const Part& each) {
      return NumberText(again.*each.part * scale, count).value() ==
             NumberText(exact.*each.part * scale, count).value();
    });
  };
  if (digits > kMostDigits)
    for (digits = kFewestDigits; digits > kFewestSettled && !isSettled(digits);) --digits;
  for (const Part& each : parts)
    if (exact.*each.part != 0) out.put(each.name, NumberText(exact.*each.part * scale, digits));
}

void putTimes(const SlotValues& values, Slot envelope, MidiRange keys, std::string_view prefix,
              OpcodeLines& out) {
  const auto stages = stageSlotsOf(envelope);
  if (const float start = values[envelope]; start != 0)
    out.putNumber(std::string(prefix).append("start"), start * 100.0,
                  [&](double percent) { return static_cast<float>(percent * 0.01) == start; });
  SlotValues known = values;
  for (std::size_t i = 0; i < stages.size(); ++i) {
    // The first version has no key tracking of times: as in the middle of the keys.
    if (float& perOctave = known[stages[i].key]; !out.isVersion2() && perOctave > 0) {
      float& seconds = known[stages[i].time];
      const double above = (keys.low + keys.high) / 2.0 - kMiddleC;
      if (perOctave != 1)
        seconds = static_cast<float>(std::min(seconds * factorOver(above, perOctave), kMostSeconds));
      perOctave = 1;
    }
    const std::string name = std::string(prefix).append(kStages[i].name);
    putStageTime(known, stages[i], keys, 1,
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
