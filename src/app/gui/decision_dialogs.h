#pragma once

class wxWindow;

namespace vemko::gui {

/// From now on the questions that readers and writers put to the user are asked over this window.
void installDecisionDialogs(wxWindow& window);

/// The answers "Allways OK" and "Allways Cancel" hold for one opening of one or several files.
void forgetRawAnswers();

}  // namespace vemko::gui
