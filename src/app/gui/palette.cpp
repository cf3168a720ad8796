#include "app/gui/palette.h"

#include <cmath>
#include <wx/settings.h>

namespace vemko::gui {
namespace {

struct Pair {
  unsigned light, dark;  // 0xRRGGBB
};

// Chosen for a contrast of at least 3 to 1 against the background.
constexpr Pair kWave{0x3b78b0, 0x5f9fd6};
constexpr Pair kWaveBody{0x1f5586, 0x9cc8f0};
constexpr Pair kLoop{0x1a7f5a, 0x4fc795};
constexpr Pair kSection{0xa8650c, 0xe3a94f};
constexpr Pair kMarker{0x8a4a8f, 0xcf92d6};
constexpr Pair kLayers[] = {{0x3b78b0, 0x5f9fd6}, {0x1a7f5a, 0x4fc795}, {0xa8650c, 0xe3a94f},
                            {0x8a4a8f, 0xcf92d6}, {0xa83f3f, 0xea8a86}, {0x4f6f80, 0x93b4c4}};

wxColour colourOf(const Pair& pair, bool isDark) {
  const unsigned rgb = isDark ? pair.dark : pair.light;
  return wxColour(static_cast<unsigned char>(rgb >> 16), static_cast<unsigned char>(rgb >> 8 & 255),
                  static_cast<unsigned char>(rgb & 255));
}

}  // namespace

Palette currentPalette() {
  const wxColour window = wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOW);
  const wxColour text = wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT);
  Palette palette;
  palette.isDark = window.GetLuminance() < text.GetLuminance();
  palette.background = window;
  palette.panel = mixed(window, text, 0.05);
  palette.text = text;
  palette.quietText = mixed(text, window, 0.3);
  palette.line = mixed(window, text, 0.3);
  palette.faintLine = mixed(window, text, 0.12);
  palette.wave = colourOf(kWave, palette.isDark);
  palette.waveBody = colourOf(kWaveBody, palette.isDark);
  palette.focus = wxSystemSettings::GetColour(wxSYS_COLOUR_HIGHLIGHT);
  palette.loop = colourOf(kLoop, palette.isDark);
  palette.section = colourOf(kSection, palette.isDark);
  palette.marker = colourOf(kMarker, palette.isDark);
  palette.whiteKey = palette.isDark ? mixed(window, text, 0.75) : *wxWHITE;
  palette.blackKey = palette.isDark ? mixed(window, *wxBLACK, 0.6) : mixed(text, window, 0.15);
  return palette;
}

wxColour translucent(const wxColour& colour, double alpha) {
  return wxColour(colour.Red(), colour.Green(), colour.Blue(),
                  static_cast<unsigned char>(std::lround(alpha * 255)));
}

wxColour mixed(const wxColour& a, const wxColour& b, double share) {
  const auto between = [&](unsigned char x, unsigned char y) {
    return static_cast<unsigned char>(std::lround(x + (y - x) * share));
  };
  return wxColour(between(a.Red(), b.Red()), between(a.Green(), b.Green()), between(a.Blue(), b.Blue()));
}

wxColour layerColour(const Palette& palette, std::size_t index) {
  return colourOf(kLayers[index % std::size(kLayers)], palette.isDark);
}

}  // namespace vemko::gui
