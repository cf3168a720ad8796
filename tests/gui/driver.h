#pragma once
// Drives the real window: keys and clicks go through the X server, dialogs are met where they appear.
#include <chrono>
#include <functional>
#include <string>
#include <wx/choice.h>
#include <wx/dialog.h>
#include <wx/image.h>
#include <wx/uiaction.h>

#include "app/gui/main_window.h"
#include "app/gui/studio_app.h"
#include "app/gui/text.h"
#include "support.h"

namespace vemko::test {

using namespace vemko::gui;

gui::MainWindow& window();
inline app::Document& document() { return window().document(); }

/// Lets the window work until the condition holds; false when it does not within five seconds.
bool waitUntil(const std::function<bool()>& condition);
/// What has arrived until now, painting included.
void handleEvents();
/// Until everything that was sent has been dealt with.
void settle();

/// A key with the pointer where it is; the modifiers are of wxMOD_...
void press(int key, int modifiers = wxMOD_NONE);
void type(const char* text);
void click(wxWindow& target, wxPoint at);
/// The middle of a button or check box.
void click(wxWindow& target);

/// Runs `trigger` and, for each dialog that comes up while it runs, the next of the steps. A step that leaves
/// its dialog open gets it closed with Escape. Fails the test when a dialog does not come.
using DialogStep = std::function<void(wxDialog&)>;
void withDialogs(const std::function<void()>& trigger, std::vector<DialogStep> steps);

/// The texts of the message boxes that came up since the last call. None of them waits for the user.
std::vector<wxString> takeMessages();
/// wxID_OK, wxID_YES or wxID_NO, until the test ends.
void answerMessages(int id);

/// The control of that accessible name within the dialog; fails the test when there is none.
wxWindow& control(wxWindow& parent, const wxString& name);
template <class T>
T& control(wxWindow& parent, const wxString& name) {
  return dynamic_cast<T&>(control(parent, name));
}
/// The control of that accessible name and class, where a label has the same name.
wxWindow& control(wxWindow& parent, const wxString& name, const wxClassInfo* type);
/// As if the user had picked the entry.
void choose(wxChoice& choice, const wxString& entry);
/// The button with that label, mnemonics aside.
wxWindow& button(wxWindow& parent, const wxString& label);

/// Whether a waveform's picture has been drawn on the screen there.
bool showsWave(wxWindow& canvas);
/// What is on the screen there.
wxImage pictureOf(wxWindow& drawn);

/// Opens the files as if they were dropped on the window.
void open(const std::vector<Path>& files);

/// Each test begins with an empty collection, unmodified.
class Gui : public testing::Test {
 protected:
  void SetUp() override;
  TempFolder folder_;
};

}  // namespace vemko::test
