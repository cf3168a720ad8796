#pragma once
#include <wx/string.h>

class wxWindow;

namespace vemko::gui {

/// What screen readers say of a window that draws itself: its name, and where things stand in it. Does
/// nothing where the desktop has no such service.
void setAccessibleText(wxWindow& window, const wxString& name, const wxString& description = {});

}  // namespace vemko::gui
