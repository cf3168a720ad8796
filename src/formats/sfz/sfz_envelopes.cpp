#include <algorithm>
#include <cmath>
#include <vector>

#include "core/parameters.h"
#include "formats/sfz/sfz_numbered.h"

namespace vemko::sfz {
namespace {

float toFloat(double value) { return static_cast<float>(value); }

struct EgSlots {
  Slot envelope, depth, velocity;  // 0: none
  double factor;
  int number;
  std::string_view target;
};
constexpr EgSlots kEgs[] = {
    {slots::VEnv, 0, 0, 1, 1, "ampeg"},
    {slots::PEnv, slots::PEnvToPitch, slots::VelocityToPEnvToPitch, .01, 2, "pitch"},
    {slots::FEnv, slots::FEnvToCutoff, slots::FEnvToCutoff + 1, .01, 3, "cutoff"},
    {slots::XEnv, 59, 0, .01, 4, "pan"},
};

constexpr Stage kRiseTimes[] = {Stage::Attack1Time, Stage::Attack2Time, Stage::Decay1Time, Stage::Decay2Time};
constexpr Stage kRiseLevels[] = {Stage::Attack1Level, Stage::Attack2Level, Stage::Decay1Level,
                                 Stage::Sustain};
constexpr Stage kFallTimes[] = {Stage::Release1Rate, Stage::Release2Time, Stage::Release3Time};
constexpr Stage kFallLevels[] = {Stage::Release1Level, Stage::Release2Level, Stage::Release3Level};

// The X envelope has reserved slots in place of these dependencies.
bool hasDependencies(Slot envelope) { return envelope != slots::XEnv; }

StageSlots stageSlots(Slot envelope, std::size_t segment) { return stageSlotsOf(envelope)[segment]; }

// More segments than there is room for: those before the last are drawn together.
std::vector<Point> fitted(std::vector<Point> segments, std::size_t room) {
  while (segments.size() > room) {
    const std::size_t last = segments.size() - 1;
    segments[last].time.seconds += segments[last - 1].time.seconds;
    segments.erase(segments.end() - 2);
  }
  return segments;
}

// Time = rate x difference of levels; where these are equal, the time itself.
double rateOf(double seconds, double difference) { return difference > 0 ? seconds / difference : seconds; }

void setSegment(const Point& point, Slot envelope, std::size_t segment, MidiRange keys, SlotValues& values) {
  const StageSlots slots = stageSlots(envelope, segment);
  if (hasDependencies(envelope))
    applyStageTime(point.time, slots, keys, values);
  else
    values[slots.time] = toFloat(point.time.seconds);
}

void setPoints(const Eg& eg, Slot envelope, MidiRange keys, SlotValues& values) {
  std::vector<Point> rise, fall;
  double initial = 0;
  for (const auto& [index, point] : eg.at) {
    if (eg.points > 0 && index >= eg.points) break;
    if (index == 0 && point.time.seconds == 0)
      initial = point.level;
    else
      (index <= eg.sustain ? rise : fall).push_back(point);
  }
  rise = fitted(std::move(rise), std::size(kRiseTimes));
  fall = fitted(std::move(fall), std::size(kFallTimes));
  const double sustain = rise.empty() ? initial : rise.back().level;
  rise.resize(std::size(kRiseTimes), Point{sustain});

  values[envelope] = toFloat(initial);
  for (std::size_t i = 0; i < rise.size(); ++i) {
    setSegment(rise[i], envelope, i, keys, values);
    values[envelopeSlot(envelope, kRiseLevels[i])] = toFloat(rise[i].level);
  }
  if (fall.empty()) fall.push_back({});
  const double drop = std::abs(double{toFloat(sustain)} - toFloat(fall[0].level));  // as the slots hold them
  Point first = fall[0];
  for (double* seconds : {&first.time.seconds, &first.time.velocitySeconds, &first.time.keySeconds,
                          &first.time.controllerSeconds})
    *seconds = rateOf(*seconds, drop);
  setSegment(first, envelope, 4, keys, values);
  if (envelope == slots::VEnv)
    values[envelopeSlot(envelope, Stage::HoldPedalToRelease1)] = toFloat(first.pedalSeconds);
  fall.resize(std::size(kFallTimes), Point{fall.back().level});
  for (std::size_t i = 0; i < std::size(kFallTimes); ++i) {
    if (i > 0) values[envelopeSlot(envelope, kFallTimes[i])] = toFloat(fall[i].time.seconds);
    values[envelopeSlot(envelope, kFallLevels[i])] = toFloat(fall[i].level);
  }
}

void setDepth(const std::array<double, 2>& depth, const EgSlots& to, SlotValues& values) {
  values[to.velocity] = toFloat(depth[1] / 2);
  values[to.depth] = toFloat(depth[0] + depth[1] / 2);
}

void takeTime(int which, double number, Point& point) {
  double* const kPlaces[] = {&point.time.seconds,           &point.time.controllerSeconds,
                             &point.time.controllerSeconds, &point.pedalSeconds,
                             &point.time.velocitySeconds,   &point.time.keySeconds};
  *kPlaces[which] = number;
}

void putLevel(OpcodeLines& out, int eg, int index, float level) {
  putSlot(out, numberedName("eg", eg, "_level" + std::to_string(index)), level, level,
          [](double each) { return each; });
}

}  // namespace

void applyEg(const Eg& eg, MidiRange keys, SlotValues& values) {
  if (eg.amplitude != 0) setPoints(eg, slots::VEnv, keys, values);
  if ((eg.pitch[0] != 0 || eg.pitch[1] != 0) && !isInUse(values, Carrier::PEnv)) {
    setPoints(eg, slots::PEnv, keys, values);
    setDepth(eg.pitch, kEgs[1], values);
  }
  if ((eg.cutoff[0] != 0 || eg.cutoff[1] != 0) && !isInUse(values, Carrier::FEnv)) {
    setPoints(eg, slots::FEnv, keys, values);
    setDepth(eg.cutoff, kEgs[2], values);
  }
  if (eg.pan != 0 && !isInUse(values, Carrier::XEnv)) {
    setPoints(eg, slots::XEnv, keys, values);
    values[kEgs[3].depth] = toFloat(eg.pan);
  }
}

void takeEg(const OpcodeRow& row, int index, double number, Eg& eg) {
  switch (row.field) {
    case Field::EgPoints:
      eg.points = static_cast<int>(number);
      break;
    case Field::EgSustain:
      eg.sustain = static_cast<int>(number);
      break;
    case Field::EgLevel:
      eg.at[index].level = number;
      break;
    case Field::EgTime:
      takeTime(row.slot, number, eg.at[index]);
      break;
    case Field::EgPitch:
      eg.pitch[row.slot] = number * row.factor;
      break;
    case Field::EgCutoff:
      eg.cutoff[row.slot] = number * row.factor;
      break;
    case Field::EgPan:
      eg.pan = number * row.factor;
      break;
    case Field::EgAmplitude:
      eg.amplitude = number;
      break;
    default:
      break;
  }
}

void putEnvelope(const SlotValues& values, Slot envelope, MidiRange keys, OpcodeLines& out) {
  const EgSlots& eg = *std::ranges::find(kEgs, envelope, &EgSlots::envelope);
  auto at = [&](Stage stage) { return values[envelopeSlot(envelope, stage)]; };
  out.putWhole(numberedName("eg", eg.number, "_points"), 8);
  out.putWhole(numberedName("eg", eg.number, "_sustain"), 4);
  SlotValues known = values;
  if (!hasDependencies(envelope))
    for (const StageSlots& each : stageSlotsOf(envelope)) known[each.velocity] = 0, known[each.key] = 1;
  auto timeName = [&](int index) { return numberedName("eg", eg.number, "_time" + std::to_string(index)); };
  auto point = [&](int index, Stage level, std::size_t stage, double scale) {
    StageSlots slots = stageSlots(envelope, stage);
    if (!hasDependencies(envelope)) slots.controller = 0;
    const std::string name = timeName(index);
    putLevel(out, eg.number, index, at(level));
    putStageTime(known, slots, keys, scale,
                 {name, name + "_oncc131", name + "_oncc133", name + (index == 5 ? "_oncc72" : "_oncc73")},
                 out);
  };
  auto later = [&](int index, Stage level, Stage time) {
    putLevel(out, eg.number, index, at(level));
    if (at(time) != 0) putSlot(out, timeName(index), at(time), at(time), [](double each) { return each; });
  };
  putLevel(out, eg.number, 0, at(Stage::InitialLevel));
  for (int i = 0; i < 4; ++i) point(i + 1, kRiseLevels[i], static_cast<std::size_t>(i), 1);
  const double drop = std::abs(double{at(Stage::Sustain)} - at(Stage::Release1Level));
  point(5, Stage::Release1Level, 4, drop > 0 ? drop : 1);
  const float pedal = at(Stage::HoldPedalToRelease1);
  if (envelope == slots::VEnv && pedal != 0)
    putSlot(out, timeName(5) + "_oncc69", pedal, pedal, [](double each) { return each; });
  later(6, Stage::Release2Level, Stage::Release2Time);
  later(7, Stage::Release3Level, Stage::Release3Time);

  const std::string target = std::string("_").append(eg.target);
  if (eg.depth == 0) return out.putWhole(numberedName("eg", eg.number, target), 100);
  double half = 0;
  if (eg.velocity != 0 && values[eg.velocity] != 0)
    half =
        out.putNumber(numberedName("eg", eg.number, target + "_oncc131"), values[eg.velocity] * 2 / eg.factor,
                      [&](double each) { return toFloat(each * eg.factor / 2) == values[eg.velocity]; }) *
        eg.factor / 2;
  auto isDepth = [&](double each) { return toFloat(each * eg.factor + half) == values[eg.depth]; };
  if (!isDepth(0))
    out.putNumber(numberedName("eg", eg.number, target), (values[eg.depth] - half) / eg.factor, isDepth);
}

}  // namespace vemko::sfz
