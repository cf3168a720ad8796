#include "formats/sfz/sfz_numbered.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "core/parameters.h"

namespace vemko::sfz {
namespace {

constexpr int kBands = 3;
constexpr double kBandHz[kBands] = {50, 500, 5000};

float toFloat(double value) { return static_cast<float>(value); }

// A slot's Q is a width in octaves in the file.

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

}  // namespace

std::string numberedName(std::string_view prefix, int number, std::string_view suffix) {
  return std::string(prefix)
      .append(number < 10 && prefix != "eq" ? "0" : "")
      .append(std::to_string(number))
      .append(suffix);
}

void applyNumbered(const RegionOpcodes& opcodes, MidiRange keys, SlotValues& values) {
  if (opcodes.numbered.empty()) return;
  const Generators all = generatorsOf(opcodes);
  for (const auto& [number, band] : all.bands)
    if (number >= 1 && number <= kBands) applyBand(number - 1, band, values);
  for (const auto& [number, lfo] : all.lfos) applyLfo(number, lfo, values);
  for (const auto& [number, eg] : all.egs) applyEg(eg, keys, values);
}

void putEqualiser(const SlotValues& values, OpcodeLines& out) {
  for (int band = 0; band < kBands; ++band) {
    const BandSlots at = bandSlots(band);
    const float gain = values[at.gain], frequency = values[at.frequency], q = values[at.q];
    if (gain == 0 || q <= 0) continue;
    auto same = [](double each) { return each; };
    putSlot(out, numberedName("eq", band + 1, "_freq"), frequency, frequency, same);
    putSlot(out, numberedName("eq", band + 1, "_bw"), q, octavesOfQ(q), qOfOctaves);
    const auto mode = static_cast<std::size_t>(std::clamp(values[at.mode], 0.0f, 2.0f));
    if (mode != 0 && out.isVersion2())
      out.putText(numberedName("eq", band + 1, "_type"), wordsOf(Field::EqType)[mode]);
    putSlot(out, numberedName("eq", band + 1, "_gain"), gain, gain, same);
  }
}

}  // namespace vemko::sfz
