#pragma once
// The parts of what numbered opcodes say: the LFOs and the envelopes of the second version.
#include <array>
#include <map>
#include <string>
#include <string_view>

#include "formats/sfz/sfz_articulation.h"

namespace vemko::sfz {

/// What the opcodes of one LFO say, in the units of the slots; depths by itself, by the modulation wheel, by
/// aftertouch, by velocity.
struct Lfo {
  double wave = 1, frequency = 0.01, delay = 0, fade = 0;  ///< Without a frequency it stands still.
  std::array<double, 4> pitch{}, volume{}, cutoff{};
  double pan = 0;
};

void takeLfo(const OpcodeRow& row, double number, Lfo& lfo);
/// An LFO goes to every carrier whose target it has, as long as that is free. The fourth is the X-LFO's own,
/// so that our files come back as they were; otherwise a second LFO for the pitch becomes the X-LFO.
void applyLfo(int number, const Lfo& lfo, SlotValues& values);

/// A point of an envelope and the way to it.
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

void takeEg(const OpcodeRow& row, int index, double number, Eg& eg);
/// Up to four segments lead to the sustain level and three from it; more are drawn together.
void applyEg(const Eg& eg, MidiRange keys, SlotValues& values);

/// "lfo", 1, "_freq" -> "lfo01_freq"; bands of the equaliser have one digit.
std::string numberedName(std::string_view prefix, int number, std::string_view suffix);

/// Puts a number of which the slot's value is made by `convert`.
template <class Convert>
void putSlot(OpcodeLines& out, const std::string& name, float slot, double number, Convert convert) {
  out.putNumber(name, number, [&](double each) { return static_cast<float>(convert(each)) == slot; });
}

}  // namespace vemko::sfz
