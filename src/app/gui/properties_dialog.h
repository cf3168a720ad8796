#pragma once
#include "app/document/document.h"

class wxWindow;

namespace vemko::gui {

/// The properties of an item, or of the collection, by pages; what was changed becomes one step.
void editProperties(wxWindow* parent, app::Document& document, ItemId item);

}  // namespace vemko::gui
