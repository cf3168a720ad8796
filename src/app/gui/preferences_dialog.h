#pragma once

class wxWindow;

namespace vemko::gui {

/// The settings that most people want by pages, and all of them as a table. True when some were changed.
bool editPreferences(wxWindow* parent);

}  // namespace vemko::gui
