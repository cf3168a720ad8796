#include <algorithm>
#include <cmath>

#include "core/parameters.h"
#include "formats/sfz/sfz_numbered.h"

namespace vemko::sfz {
namespace {

float toFloat(double value) { return static_cast<float>(value); }

Slot offset(Slot first, int by) { return static_cast<Slot>(first + by); }

// Depth slots follow each other, and so do shape, frequency, delay and fade.

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

bool isAny(const std::array<double, 4>& depths) {
  return std::ranges::any_of(depths, [](double depth) { return depth != 0; });
}

void setShape(const Lfo& lfo, const LfoSlots& to, SlotValues& values) {
  values[to.shape] = toFloat(shapeOfWave(lfo.wave));
  values[offset(to.shape, 1)] = toFloat(lfo.frequency);
  values[offset(to.shape, 2)] = toFloat(lfo.delay);
  values[offset(to.shape, 3)] = toFloat(lfo.fade);
}

void setDepths(const Lfo& lfo, const std::array<double, 4>& depths, const LfoSlots& to, SlotValues& values) {
  for (int i = 0; i < 3; ++i) values[offset(to.depth, i)] = toFloat(depths[static_cast<std::size_t>(i)]);
  values[offset(to.depth, 3)] = toFloat(depths[3] / 2);
  values[to.depth] = toFloat(depths[0] + depths[3] / 2);
  setShape(lfo, to, values);
}

}  // namespace

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

void putLfo(const SlotValues& values, Carrier carrier, OpcodeLines& out) {
  const LfoSlots& lfo = *std::ranges::find(kLfos, carrier, &LfoSlots::carrier);
  auto slot = [&](Slot first, int by) { return values[offset(first, by)]; };
  auto put = [&](std::string_view suffix, float value, double factor) {
    if (value != 0 || suffix == "_freq")
      putSlot(out, numberedName("lfo", lfo.number, suffix), value, value / factor,
              [factor](double each) { return each * factor; });
  };
  out.putWhole(numberedName("lfo", lfo.number, "_wave"), static_cast<int>(shapeOfWave(values[lfo.shape])));
  put("_freq", slot(lfo.shape, 1), 1);
  put("_delay", slot(lfo.shape, 2), 1);
  put("_fade", slot(lfo.shape, 3), 1);
  const std::string target = std::string("_").append(lfo.target);
  const float depth = slot(lfo.depth, 0), velocity = slot(lfo.depth, 3);
  double half = 0;
  if (velocity != 0)
    half = out.putNumber(numberedName("lfo", lfo.number, target + "_oncc131"), velocity * 2 / lfo.factor,
                         [&](double each) { return toFloat(each * lfo.factor / 2) == velocity; }) *
           lfo.factor / 2;
  auto isDepth = [&](double each) { return toFloat(each * lfo.factor + half) == depth; };
  if (!isDepth(0))
    out.putNumber(numberedName("lfo", lfo.number, target), (depth - half) / lfo.factor, isDepth);
  put(target + "_oncc1", slot(lfo.depth, 1), lfo.factor);
  put(target + "_oncc129", slot(lfo.depth, 2), lfo.factor);
  if (carrier == Carrier::XLfo) put("_pan", values[kXLfoToPan], .01);
}

}  // namespace vemko::sfz
