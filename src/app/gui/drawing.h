#pragma once
#include <wx/brush.h>
#include <wx/graphics.h>
#include <wx/pen.h>

namespace vemko::gui {

/// A filled rectangle without an outline.
inline void fillBox(wxGraphicsContext& gc, const wxColour& colour, double x, double y, double width,
                    double height) {
  gc.SetPen(*wxTRANSPARENT_PEN);
  gc.SetBrush(wxBrush(colour));
  gc.DrawRectangle(x, y, width, height);
}

}  // namespace vemko::gui
