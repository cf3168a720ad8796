#pragma once

class wxWindow;

namespace vemko::gui {

/// Lets the user switch the steps that follow an opening; false when he would rather not open at all.
bool confirmFixups(wxWindow* parent);

}  // namespace vemko::gui
