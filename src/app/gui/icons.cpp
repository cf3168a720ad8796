#include "app/gui/icons.h"

#include <string>
#include <wx/settings.h>

#include "program_icon.h"

namespace vemko::gui {
namespace {

struct Drawing {
  std::string_view name;
  std::string_view body;  // drawn with lines of 1.6 in the text's colour
};

// clang-format off
constexpr Drawing kDrawings[] = {
    {"new", R"(<path d="M6 3h8l4 4v14H6z M14 3v4h4"/>)"},
    {"open", R"(<path d="M3 19V6h6l2 2h8v3 M3 19l3-8h16l-3 8z"/>)"},
    {"save", R"(<path d="M4 4h13l3 3v13H4z M8 4v5h8V4 M7 20v-7h10v7"/>)"},
    {"undo", R"(<path d="M9 5L4 10l5 5 M4 10h10a5 5 0 0 1 0 10h-4"/>)"},
    {"redo", R"(<path d="M15 5l5 5-5 5 M20 10H10a5 5 0 0 0 0 10h4"/>)"},
    {"cut", R"(<path d="M7 3l9 13 M17 3L8 16"/><circle cx="6.5" cy="18.5" r="2.5"/><circle cx="17.5" cy="18.5" r="2.5"/>)"},
    {"copy", R"(<path d="M8 8h12v12H8z M16 8V4H4v12h4"/>)"},
    {"paste", R"(<path d="M8 5H5v16h14V5h-3 M9 3h6v4H9z M9 12h6 M9 16h6"/>)"},
    {"delete", R"(<path d="M4 6h16 M9 6V3h6v3 M6 6l1 15h10l1-15 M10 10v7 M14 10v7"/>)"},
    {"properties", R"(<path d="M4 7h9 M17 7h3 M4 17h3 M11 17h9"/><circle cx="15" cy="7" r="2"/><circle cx="9" cy="17" r="2"/>)"},
    {"process", R"(<path d="M3 12h3l2-6 3 12 3-9 2 3h5"/>)"},
    {"waveform", R"(<path d="M3 12v0.1 M6 9v6 M9 5v14 M12 8v8 M15 3v18 M18 8v8 M21 11v2"/>)"},
    {"instrument", R"(<path d="M3 5h18v14H3z M9 5v14 M15 5v14 M7.5 5v8h3V5 M13.5 5v8h3V5"/>)"},
    {"layer", R"(<path d="M12 4l9 5-9 5-9-5z M3 14l9 5 9-5"/>)"},
    {"region", R"(<path d="M4 6h16v12H4z M10 6v12"/>)"},
    {"song", R"(<path d="M9 18V5l11-2v13"/><circle cx="6.5" cy="18" r="2.5"/><circle cx="17.5" cy="16" r="2.5"/>)"},
    {"track", R"(<path d="M3 6h18 M3 12h18 M3 18h18 M6 4v4 M13 10v4 M9 16v4"/>)"},
    {"synth", R"(<path d="M3 12c2-8 5-8 9 0s7 8 9 0"/>)"},
    {"zoom-in", R"(<circle cx="10" cy="10" r="6.5"/><path d="M15 15l6 6 M7 10h6 M10 7v6"/>)"},
    {"zoom-out", R"(<circle cx="10" cy="10" r="6.5"/><path d="M15 15l6 6 M7 10h6"/>)"},
    {"zoom-all", R"(<path d="M3 5v14 M21 5v14 M6 12h12 M9 9l-3 3 3 3 M15 9l3 3-3 3"/>)"},
    {"zoom-selection", R"(<path d="M8 4v16 M16 4v16 M2 12h4 M4.5 10l2 2-2 2 M22 12h-4 M19.5 10l-2 2 2 2"/>)"},
    {"filled", R"(<path d="M3 12c2-9 5-9 9 0s7 9 9 0 M3 12h18 M7 7v4 M5.5 9v2 M8.5 8v3 M15.5 13v3 M17 13v4 M18.5 13v2"/>)"},
    {"split", R"(<path d="M3 7c2-4 4-4 6 0s4 4 6 0 4-4 6 0 M3 17c2-4 4-4 6 0s4 4 6 0 4-4 6 0 M3 12h18"/>)"},
    {"collection", R"(<path d="M3 8l9-5 9 5v9l-9 5-9-5z M3 8l9 5 9-5 M12 13v9"/>)"},
};
// clang-format on

wxBitmapBundle bundleOf(const std::string& svg, int size) {
  return wxBitmapBundle::FromSVG(svg.c_str(), wxSize(size, size));
}

}  // namespace

wxBitmapBundle icon(std::string_view name, int size) {
  const wxColour colour = wxSystemSettings::GetColour(wxSYS_COLOUR_BTNTEXT);
  for (const Drawing& drawing : kDrawings) {
    if (drawing.name != name) continue;
    std::string svg =
        R"(<svg xmlns="http://www.w3.org/2000/svg" width="24" height="24" viewBox="0 0 24 24">)"
        R"(<g fill="none" stroke-width="1.6" stroke-linecap="round" stroke-linejoin="round" stroke=")";
    svg += colour.GetAsString(wxC2S_HTML_SYNTAX).utf8_string() + "\">" + std::string(drawing.body) +
           "</g></svg>";
    return bundleOf(svg, size);
  }
  return {};
}

wxIconBundle programIcons() {
  wxIconBundle icons;
  const wxBitmapBundle bundle = bundleOf(kProgramIcon, 128);
  for (int size : {16, 24, 32, 48, 64, 128}) icons.AddIcon(bundle.GetIcon(wxSize(size, size)));
  return icons;
}

}  // namespace vemko::gui
