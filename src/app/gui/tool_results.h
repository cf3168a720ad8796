#pragma once
#include "tools/tool_entry.h"

class wxWindow;

namespace vemko::gui {

/// What a tool measured, in a list that can be copied; nothing where it measured nothing.
void showToolResults(wxWindow* parent, const tools::ToolContext& context);

}  // namespace vemko::gui
