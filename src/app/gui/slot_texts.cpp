#include "app/gui/slot_texts.h"

#include <cmath>

#include "app/gui/text.h"

namespace vemko::gui {
namespace {

constexpr const char* kFilterTypes[] = {"Off",
                                        "Low-pass, 1 pole",
                                        "Low-pass, 2 poles",
                                        "Low-pass, 3 poles",
                                        "Low-pass, 4 poles",
                                        "High-pass, 1 pole",
                                        "High-pass, 2 poles",
                                        "High-pass, 4 poles",
                                        "Band-pass, 1 pole",
                                        "Low-pass, 6 poles",
                                        "Low-pass, 2-pole ladder",
                                        "Band-pass, 2 poles",
                                        "Band-reject, 2 poles"};
constexpr const char* kEqModes[] = {"Peak", "Low shelf", "High shelf"};
constexpr const char* kLfoShapes[] = {"Sine",       "Triangle",     "Pulse 75 %", "Square",
                                      "Pulse 25 %", "Pulse 12.5 %", "Saw up",     "Saw down"};

}  // namespace

const char* unitText(const Parameter& parameter) {
  switch (parameter.unit) {
    case Unit::Semitones:
      return "semitones";
    case Unit::Decibels:
      return "dB";
    case Unit::DecibelsPerOctave:
      return "dB / octave";
    case Unit::Hertz:
      return "Hz";
    case Unit::Seconds:
      return "s";
    case Unit::Percent:
      return "%";
    case Unit::Multiplier:
      return "x";
    case Unit::PerOctave:
      return "per octave";
    default:
      return "";
  }
}

wxString valueText(float value) {
  return wxString::Format("%g", std::round(static_cast<double>(value) * 1e4) / 1e4);
}

wxString boundsText(const Parameter& parameter) {
  wxString text = shown(parameter.description);
  if (!text.empty()) text += "\n";
  return text + wxString::Format("%g to %g, default %g", static_cast<double>(parameter.minimum),
                                 static_cast<double>(parameter.maximum),
                                 static_cast<double>(parameter.initial));
}

std::span<const char* const> choicesOf(Slot slot) {
  constexpr Slot kEq1Mode = 42, kEq2Mode = 46, kEq3Mode = 50;
  switch (slot) {
    case slots::FilterType:
      return kFilterTypes;
    case kEq1Mode:
    case kEq2Mode:
    case kEq3Mode:
      return kEqModes;
    case slots::PLfoShape:
    case slots::VLfoShape:
    case slots::FLfoShape:
    case slots::XLfoShape:
      return kLfoShapes;
    default:
      return {};
  }
}

const char* groupNoun(SlotGroup group) {
  switch (group) {
    case SlotGroup::Filter:
      return "filter";
    case SlotGroup::Eq:
      return "EQ";
    case SlotGroup::PLfo:
    case SlotGroup::VLfo:
    case SlotGroup::FLfo:
    case SlotGroup::XLfo:
      return "LFO";
    case SlotGroup::VEnvelope:
    case SlotGroup::PEnvelope:
    case SlotGroup::FEnvelope:
    case SlotGroup::XEnvelope:
      return "envelope";
    default:
      return "group";
  }
}

}  // namespace vemko::gui
