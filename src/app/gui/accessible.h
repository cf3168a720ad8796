#pragma once
#include <wx/string.h>

class wxWindow;

namespace vemko::gui {

// What screen readers are told. Does nothing where the desktop has no such service.

/// Of a window that draws itself: its name, and where things stand in it.
void setAccessibleText(wxWindow& window, const wxString& name, const wxString& description = {});
/// What kind of thing such a window is, in the service's words: "tree", "table", "image".
void setAccessibleRole(wxWindow& window, const char* role);
/// Every control below the parent that has a name of its own (SetName()) and no label.
void tellNames(wxWindow& parent);

}  // namespace vemko::gui
