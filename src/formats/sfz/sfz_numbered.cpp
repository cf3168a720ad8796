// What opcodes with a number in their name say: equaliser bands, and the LFOs and envelopes of the second
// version.
#include <algorithm>
#include <cmath>
#include <map>

#include "core/parameters.h"
#include "formats/sfz/sfz_articulation.h"

namespace vemko::sfz {
namespace {

constexpr int kBands = 3;
constexpr double kBandHz[kBands] = {50, 500, 5000};

float toFloat(double value) { return static_cast<float>(value); }

Slot offset(Slot first, int by) { return static_cast<Slot>(first + by); }

// --- Equaliser. A slot's Q is a width in octaves in the file.

double qOfOctaves(double octaves) { return 0.5 / std::sinh(std::log(2) / 2 * octaves); }
double octavesOfQ(double q) { return 2 / std::log(2) * std::asinh(0.5 / q); }

struct BandSlots {
  Slot mode, frequency, gain, q;
};
BandSlots bandSlots(int band) {
  const int first = 42 + 4 * band;
  return {static_cast<Slot>(first), static_cast<Slot>(first + 1), static_cast<Slot>(first + 2),
          static_cast<Slot>(first + 3)};
}

struct Band {
  double gain = 0, hertz = 0, octaves = 1, mode = 0;
};

void applyBand(int index, const Band& band, SlotValues& values) {
  const BandSlots at = bandSlots(index);
  if (band.gain == 0) return;
  values[at.mode] = toFloat(band.mode);
  values[at.frequency] = toFloat(band.hertz);
  values[at.gain] = toFloat(band.gain);
  values[at.q] = toFloat(qOfOctaves(band.octaves));
}

// --- LFOs. Depth slots follow each other, and so do shape, frequency, delay and fade.

struct LfoSlots {
  Carrier carrier;
  Slot depth, shape;
  double factor;
  int number;  // in our files
  std::string_view target;
};
constexpr LfoSlots kLfos[] = {
    {Carrier::PLfo, slots::PLfoToPitch, slots::PLfoShape, .01, 1, "pitch"},
    {Carrier::VLfo, slots::VLfoToVolume, slots::VLfoShape, 1, 2, "volume"},
    {Carrier::FLfo, slots::FLfoToCutoff, slots::FLfoShape, .01, 3, "cutoff"},
    {Carrier::XLfo, slots::XLfoToPitch, slots::XLfoShape, .01, 4, "pitch"},
};
constexpr Slot kXLfoToPan = 58;

// Of the shapes a file's 0 is a triangle and 1 a sine; ours begin with the sine.
double shapeOfWave(double wave) { return wave <= 1 ? 1 - wave : wave; }

struct Lfo {
  double wave = 1, frequency = 0, delay = 0, fade = 0;
  std::array<double, 4> pitch{}, volume{}, cutoff{};  // by itself, modulation wheel, aftertouch, velocity
  double pan = 0;
};

bool isAny(const std::array<double, 4>& depths) {
  return std::ranges::any_of(depths, [](double depth) { return depth != 0; });
}

void setShape(const Lfo& lfo, const LfoSlots& to, SlotValues& values) {
  values[to.shape] = toFloat(shapeOfWave(lfo.wave));
  values[offset(to.shape, 1)] = std::max(toFloat(lfo.frequency), 0.01f);
  values[offset(to.shape, 2)] = toFloat(lfo.delay);
  values[offset(to.shape, 3)] = toFloat(lfo.fade);
}

void setDepths(const Lfo& lfo, const std::array<double, 4>& depths, const LfoSlots& to, SlotValues& values) {
  for (int i = 0; i < 3; ++i) values[offset(to.depth, i)] = toFloat(depths[static_cast<std::size_t>(i)]);
  values[offset(to.depth, 3)] = toFloat(depths[3] / 2);
  values[to.depth] = toFloat(values[to.depth] + depths[3] / 2);
  setShape(lfo, to, values);
}

// An LFO goes to every carrier whose target it has, as long as that is free. The fourth is the X-LFO's own,
// so that our files come back as they were; otherwise a second LFO for the pitch becomes the X-LFO.
void applyLfo(int number, const Lfo& lfo, SlotValues& values) {
  const LfoSlots &p = kLfos[0], &v = kLfos[1], &f = kLfos[2], &x = kLfos[3];
  auto isFree = [&](const LfoSlots& to) { return !isInUse(values, to.carrier); };
  const bool toX = isFree(x) && (number == x.number || lfo.pan != 0 || !isFree(p));
  if (isAny(lfo.pitch) && (toX || isFree(p))) setDepths(lfo, lfo.pitch, toX ? x : p, values);
  if (isAny(lfo.volume) && isFree(v)) setDepths(lfo, lfo.volume, v, values);
  if (isAny(lfo.cutoff) && isFree(f)) setDepths(lfo, lfo.cutoff, f, values);
  if (lfo.pan != 0 && toX) {
    values[kXLfoToPan] = toFloat(lfo.pan);
    setShape(lfo, x, values);
  }
}

// --- Envelopes. Up to four segments lead to the sustain level and three from it.

struct Point {
  double level = 0;
  StageTime time{};
  double pedalSeconds = 0;
};

struct Eg {
  int points = 0;
  int sustain = -1;
  std::map<int, Point> at;
  std::array<double, 2> pitch{}, cutoff{};  // by itself, by velocity
  double pan = 0, amplitude = 0;
};

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

void setSegment(const Point& point, Slot envelope, std::size_t segment, SlotValues& values) {
  const StageSlots slots = stageSlots(envelope, segment);
  if (hasDependencies(envelope))
    applyStageTime(point.time, slots, values);
  else
    values[slots.time] = toFloat(point.time.seconds);
}

void setPoints(const Eg& eg, Slot envelope, SlotValues& values) {
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
    setSegment(rise[i], envelope, i, values);
    values[envelopeSlot(envelope, kRiseLevels[i])] = toFloat(rise[i].level);
  }
  if (fall.empty()) fall.push_back({});
  const double drop = std::abs(sustain - fall[0].level);
  Point first = fall[0];
  for (double* seconds : {&first.time.seconds, &first.time.velocitySeconds, &first.time.keySeconds,
                          &first.time.controllerSeconds})
    *seconds = rateOf(*seconds, drop);
  setSegment(first, envelope, 4, values);
  if (envelope == slots::VEnv)
    values[envelopeSlot(envelope, Stage::HoldPedalToRelease1)] = toFloat(first.pedalSeconds);
  fall.resize(std::size(kFallTimes), Point{fall.back().level});
  for (std::size_t i = 0; i < fall.size(); ++i) {
    if (i > 0) values[envelopeSlot(envelope, kFallTimes[i])] = toFloat(fall[i].time.seconds);
    values[envelopeSlot(envelope, kFallLevels[i])] = toFloat(fall[i].level);
  }
}

void setDepth(const std::array<double, 2>& depth, const EgSlots& to, SlotValues& values) {
  values[to.velocity] = toFloat(depth[1] / 2);
  values[to.depth] = toFloat(depth[0] + depth[1] / 2);
}

void applyEg(const Eg& eg, SlotValues& values) {
  if (eg.amplitude != 0) setPoints(eg, slots::VEnv, values);
  if ((eg.pitch[0] != 0 || eg.pitch[1] != 0) && !isInUse(values, Carrier::PEnv)) {
    setPoints(eg, slots::PEnv, values);
    setDepth(eg.pitch, kEgs[1], values);
  }
  if ((eg.cutoff[0] != 0 || eg.cutoff[1] != 0) && !isInUse(values, Carrier::FEnv)) {
    setPoints(eg, slots::FEnv, values);
    setDepth(eg.cutoff, kEgs[2], values);
  }
  if (eg.pan != 0 && !isInUse(values, Carrier::XEnv)) {
    setPoints(eg, slots::XEnv, values);
    values[kEgs[3].depth] = toFloat(eg.pan);
  }
}

// --- Collecting what the numbered opcodes say

struct Generators {
  std::map<int, Band> bands;
  std::map<int, Lfo> lfos;
  std::map<int, Eg> egs;
};

void takeBand(const OpcodeRow& row, double number, Band& band) {
  if (row.field == Field::EqFrequency) band.hertz = number;
  if (row.field == Field::EqGain) band.gain = number;
  if (row.field == Field::EqBandwidth) band.octaves = number;
  if (row.field == Field::EqType) band.mode = number;
}

void takeLfo(const OpcodeRow& row, double number, Lfo& lfo) {
  switch (row.field) {
    case Field::LfoWave:
      lfo.wave = number;
      break;
    case Field::LfoFrequency:
      lfo.frequency = number;
      break;
    case Field::LfoDelay:
      lfo.delay = number;
      break;
    case Field::LfoFade:
      lfo.fade = number;
      break;
    case Field::LfoPitch:
      lfo.pitch[row.slot] = number * row.factor;
      break;
    case Field::LfoVolume:
      lfo.volume[row.slot] = number * row.factor;
      break;
    case Field::LfoCutoff:
      lfo.cutoff[row.slot] = number * row.factor;
      break;
    default:
      lfo.pan = number * row.factor;
  }
}

void takeTime(int which, double number, Point& point) {
  double* const kPlaces[] = {&point.time.seconds,           &point.time.controllerSeconds,
                             &point.time.controllerSeconds, &point.pedalSeconds,
                             &point.time.velocitySeconds,   &point.time.keySeconds};
  *kPlaces[which] = number;
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

Generators generatorsOf(const RegionOpcodes& opcodes) {
  Generators all;
  for (const NumberedOpcode& each : opcodes.numbered) {
    const OpcodeRow& row = rowOf(each.key);
    const int band = each.key.band;
    if (row.field <= Field::EqType)
      takeBand(row, each.number,
               all.bands.try_emplace(band, Band{.hertz = kBandHz[std::clamp(band - 1, 0, kBands - 1)]})
                   .first->second);
    else if (row.field <= Field::LfoPan)
      takeLfo(row, each.number, all.lfos[band]);
    else
      takeEg(row, each.key.point, each.number, all.egs[band]);
  }
  return all;
}

std::string numbered(std::string_view prefix, int number, std::string_view suffix) {
  return std::string(prefix)
      .append(number < 10 && prefix != "eq" ? "0" : "")
      .append(std::to_string(number))
      .append(suffix);
}

template <class Convert>
void putSlot(OpcodeLines& out, std::string name, float slot, double number, Convert convert) {
  out.putNumber(name, number, [&](double each) { return toFloat(convert(each)) == slot; });
}

// One point of an envelope: its level, and its time unless that is 0.
void putPoint(OpcodeLines& out, int eg, int index, float level, StageTime time, const StageSlots* slots,
              double scale, const SlotValues& values) {
  const std::string at = std::to_string(index);
  putSlot(out, numbered("eg", eg, "_level" + at), level, level, [](double each) { return each; });
  auto put = [&](std::string_view suffix, double StageTime::*field, Slot slot) {
    if (time.*field == 0) return;
    time.*field =
        out.putNumber(numbered("eg", eg, "_time" + at).append(suffix), time.*field * scale,
                      [&](double number) {
                        StageTime changed = time;
                        changed.*field = number / scale;
                        SlotValues read = initialValues();
                        if (slots) applyStageTime(changed, *slots, read);
                        return slots ? read[slot] == values[slot] : toFloat(number / scale) == values[slot];
                      }) /
        scale;
  };
  if (!slots) return;
  put("", &StageTime::seconds, slots->time);
  put("_oncc133", &StageTime::keySeconds, slots->key);
  put("_oncc131", &StageTime::velocitySeconds, slots->velocity);
  if (slots->controller != 0)
    put(index == 5 ? "_oncc72" : "_oncc73", &StageTime::controllerSeconds, slots->controller);
}

}  // namespace

void applyNumbered(const RegionOpcodes& opcodes, SlotValues& values) {
  if (opcodes.numbered.empty()) return;
  const Generators all = generatorsOf(opcodes);
  for (const auto& [number, band] : all.bands)
    if (number >= 1 && number <= kBands) applyBand(number - 1, band, values);
  for (const auto& [number, lfo] : all.lfos) applyLfo(number, lfo, values);
  for (const auto& [number, eg] : all.egs) applyEg(eg, values);
}

void putEqualiser(const SlotValues& values, OpcodeLines& out) {
  for (int band = 0; band < kBands; ++band) {
    const BandSlots at = bandSlots(band);
    const float gain = values[at.gain], frequency = values[at.frequency], q = values[at.q];
    if (gain == 0 || q <= 0) continue;
    auto same = [](double each) { return each; };
    putSlot(out, numbered("eq", band + 1, "_freq"), frequency, frequency, same);
    putSlot(out, numbered("eq", band + 1, "_bw"), q, octavesOfQ(q), qOfOctaves);
    const auto mode = static_cast<std::size_t>(std::clamp(values[at.mode], 0.0f, 2.0f));
    if (mode != 0 && out.isVersion2())
      out.putText(numbered("eq", band + 1, "_type"), wordsOf(Field::EqType)[mode]);
    putSlot(out, numbered("eq", band + 1, "_gain"), gain, gain, same);
  }
}

void putLfo(const SlotValues& values, Carrier carrier, OpcodeLines& out) {
  const LfoSlots& lfo = *std::ranges::find(kLfos, carrier, &LfoSlots::carrier);
  auto slot = [&](Slot first, int by) { return values[offset(first, by)]; };
  auto put = [&](std::string_view suffix, float value, double factor) {
    if (value != 0)
      putSlot(out, numbered("lfo", lfo.number, suffix), value, value / factor,
              [factor](double each) { return each * factor; });
  };
  out.putWhole(numbered("lfo", lfo.number, "_wave"), static_cast<int>(shapeOfWave(values[lfo.shape])));
  put("_freq", slot(lfo.shape, 1), 1);
  put("_delay", slot(lfo.shape, 2), 1);
  put("_fade", slot(lfo.shape, 3), 1);
  const std::string target = std::string("_").append(lfo.target);
  const float depth = slot(lfo.depth, 0), velocity = slot(lfo.depth, 3);
  double half = 0;
  if (velocity != 0)
    half = out.putNumber(numbered("lfo", lfo.number, target + "_oncc131"), velocity * 2 / lfo.factor,
                         [&](double each) { return toFloat(each * lfo.factor / 2) == velocity; }) *
           lfo.factor / 2;
  auto isDepth = [&](double each) { return toFloat(toFloat(each * lfo.factor) + half) == depth; };
  if (!isDepth(0)) out.putNumber(numbered("lfo", lfo.number, target), (depth - half) / lfo.factor, isDepth);
  put(target + "_oncc1", slot(lfo.depth, 1), lfo.factor);
  put(target + "_oncc129", slot(lfo.depth, 2), lfo.factor);
  if (carrier == Carrier::XLfo) put("_pan", values[kXLfoToPan], .01);
}

void putEnvelope(const SlotValues& values, Slot envelope, OpcodeLines& out) {
  const EgSlots& eg = *std::ranges::find(kEgs, envelope, &EgSlots::envelope);
  auto at = [&](Stage stage) { return values[envelopeSlot(envelope, stage)]; };
  out.putWhole(numbered("eg", eg.number, "_points"), 8);
  out.putWhole(numbered("eg", eg.number, "_sustain"), 4);
  SlotValues known = values;
  if (!hasDependencies(envelope))
    for (const StageSlots& each : stageSlotsOf(envelope)) known[each.velocity] = 0, known[each.key] = 1;
  auto point = [&](int index, Stage level, std::size_t stage, double scale) {
    StageSlots slots = stageSlots(envelope, stage);
    if (!hasDependencies(envelope)) slots.controller = 0;
    putPoint(out, eg.number, index, at(level), undoStageTime(known, slots), &slots, scale, known);
  };
  auto later = [&](int index, Stage level, Stage time) {
    const std::string suffix = "_time" + std::to_string(index);
    putSlot(out, numbered("eg", eg.number, "_level" + std::to_string(index)), at(level), at(level),
            [](double each) { return each; });
    if (at(time) != 0)
      putSlot(out, numbered("eg", eg.number, suffix), at(time), at(time), [](double each) { return each; });
  };
  putSlot(out, numbered("eg", eg.number, "_level0"), at(Stage::InitialLevel), at(Stage::InitialLevel),
          [](double each) { return each; });
  for (int i = 0; i < 4; ++i) point(i + 1, kRiseLevels[i], static_cast<std::size_t>(i), 1);
  const double drop = std::abs(double{at(Stage::Sustain)} - at(Stage::Release1Level));
  point(5, Stage::Release1Level, 4, drop > 0 ? drop : 1);
  if (envelope == slots::VEnv && at(Stage::HoldPedalToRelease1) != 0)
    putSlot(out, numbered("eg", eg.number, "_time5_oncc69"), at(Stage::HoldPedalToRelease1),
            at(Stage::HoldPedalToRelease1), [](double each) { return each; });
  later(6, Stage::Release2Level, Stage::Release2Time);
  later(7, Stage::Release3Level, Stage::Release3Time);

  const std::string target = std::string("_").append(eg.target);
  if (eg.depth == 0) return out.putWhole(numbered("eg", eg.number, target), 100);
  double half = 0;
  if (eg.velocity != 0 && values[eg.velocity] != 0)
    half = out.putNumber(numbered("eg", eg.number, target + "_oncc131"), values[eg.velocity] * 2 / eg.factor,
                         [&](double each) { return toFloat(each * eg.factor / 2) == values[eg.velocity]; }) *
           eg.factor / 2;
  auto isDepth = [&](double each) { return toFloat(each * eg.factor + half) == values[eg.depth]; };
  if (!isDepth(0))
    out.putNumber(numbered("eg", eg.number, target), (values[eg.depth] - half) / eg.factor, isDepth);
}

}  // namespace vemko::sfz
