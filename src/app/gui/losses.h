#pragma once
#include <wx/string.h>

#include "io/loss_report.h"

namespace vemko::gui {

/// What saving the item so would drop, one line each; empty when nothing.
wxString lossLines(const Item& item, int row, const io::SaveOptions& options);

}  // namespace vemko::gui
