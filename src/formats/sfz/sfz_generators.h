#pragma once
#include <string_view>

#include "core/collection.h"

namespace vemko::sfz {

/// The sound of a player's built-in generator ("sine", "saw", "square", "triangle", "noise", "silence";
/// others are logged and silent): a looped waveform whose root key is middle C; one period, or two seconds of
/// noise. Null with "Out of memory" set.
Waveform* generateWaveform(Collection& collection, std::string_view name);

}  // namespace vemko::sfz
