#pragma once
#include <span>

#include "app/document/document.h"

class wxWindow;

namespace vemko::gui {

/// The properties of items, or of the collection, by pages; what was changed becomes one step. Where several
/// items differ in something, that is left as it is unless the user gives all of them the same.
void editProperties(wxWindow* parent, app::Document& document, std::span<const ItemId> items);

}  // namespace vemko::gui
