#pragma once
// The program's icons: line drawings on a grid of 24, held as SVG text, so that they are sharp at any scale
// and take the colour of the desktop's text.
#include <string_view>
#include <wx/bmpbndl.h>
#include <wx/iconbndl.h>

namespace vemko::gui {

/// The icon of that name; an empty bundle for an unknown one. `size` in pixels at 100 %.
wxBitmapBundle icon(std::string_view name, int size = 20);

/// The program's own icon in the usual sizes.
wxIconBundle programIcons();

}  // namespace vemko::gui
