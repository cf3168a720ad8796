#pragma once
// How items, keys and lengths are written in the window, by the user's settings.
#include <cstdint>
#include <string_view>
#include <wx/string.h>

#include "core/collection.h"

namespace vemko::gui {

/// "C4", "F#2", or the number when notes are not to be named.
wxString keyText(int key);
/// "C2-B4", or one key.
wxString keyRangeText(const MidiRange& keys);
/// A MIDI key from "C4", "f#2", "Bb3" or a number; -1 for anything else.
int keyFromText(const wxString& text);

/// "1:23.456"; minutes only from the first one on.
wxString lengthText(std::uint32_t frames, std::uint32_t rate);
/// "Mono", "Stereo", "6 channels".
wxString channelsText(int channels);

/// The line in the tree: the name with patch numbers before it or ranges behind it.
wxString treeText(const Item& item);

/// The name of an item's icon.
std::string_view iconName(ItemKind kind);

/// "1 instrument", "3 instruments".
wxString countText(std::size_t count, const wxString& word);

}  // namespace vemko::gui
