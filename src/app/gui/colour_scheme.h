#pragma once

namespace vemko::gui {

/// Puts the colours into force that the settings ask for, also while the window is shown; everything that
/// shows something is told by wxEVT_SYS_COLOUR_CHANGED. Does nothing where the toolkit cannot choose.
void applyColourScheme();
bool canChooseColours();

}  // namespace vemko::gui
