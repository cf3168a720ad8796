#pragma once
// How articulation parameters are written in the window.
#include <span>
#include <wx/string.h>

#include "core/parameters.h"

namespace vemko::gui {

wxString valueText(float value);
/// "Hz", "semitones"; empty for a parameter without one.
const char* unitText(const Parameter& parameter);
/// What the parameter is and its bounds, in lines.
wxString boundsText(const Parameter& parameter);
/// The words of a parameter that is a choice, from value 0 on; empty for a number. An LFO may have shapes
/// beyond those that have names.
std::span<const char* const> choicesOf(Slot slot);

/// "filter", "envelope", "LFO", "EQ", and "group" for the others: what the commands copy, paste and reset.
const char* groupNoun(SlotGroup group);

}  // namespace vemko::gui
