#pragma once
#include <cstddef>
#include <wx/colour.h>

namespace vemko::gui {

/// Colours of the drawn views, derived from the desktop's window and text colours, so that they fit a light
/// and a dark desktop.
struct Palette {
  bool isDark = false;
  wxColour background;  ///< Of pictures.
  wxColour panel;       ///< Of rulers and margins.
  wxColour text;
  wxColour quietText;
  wxColour line;       ///< Separators and ticks.
  wxColour faintLine;  ///< Grids within a picture.
  wxColour wave, waveBody;
  wxColour focus;
  wxColour loop, section, marker;
  wxColour whiteKey, blackKey;
};

Palette currentPalette();

/// The same colour, more or less transparent: `alpha` from 0 to 1.
wxColour translucent(const wxColour& colour, double alpha);
/// Between two colours: `share` 0 gives the first.
wxColour mixed(const wxColour& a, const wxColour& b, double share);
/// One of a few colours that keep apart, by index; they repeat.
wxColour layerColour(const Palette& palette, std::size_t index);

}  // namespace vemko::gui
