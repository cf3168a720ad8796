#include "gui/driver.h"

#include <wx/button.h>
#include <wx/dcclient.h>
#include <wx/dcmemory.h>
#include <wx/evtloop.h>
#include <wx/modalhook.h>
#include <wx/msgdlg.h>
#include <wx/timer.h>

#include "app/gui/actions.h"
#include "app/gui/collection_tree.h"
#include "app/gui/palette.h"

namespace vemko::test {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPatience = std::chrono::seconds(5);

}  // namespace

void handleEvents() {
  wxEventLoopBase* loop = wxEventLoopBase::GetActive();
  while (loop->Pending()) loop->Dispatch();
  wxTheApp->ProcessPendingEvents();
  while (loop->ProcessIdle()) {
  }
}

namespace {

/// Knows the dialogs that wait for the user, the system's own too. Message boxes are answered before they are
/// seen.
class DialogHook : public wxModalDialogHook {
 public:
  DialogHook() { Register(); }
  ~DialogHook() override { Unregister(); }
  std::vector<wxDialog*> open;
  std::vector<wxString> messages;
  int answer = wxID_OK;

 protected:
  int Enter(wxDialog* dialog) override {
    if (auto* message = dynamic_cast<wxMessageDialog*>(dialog)) {
      messages.push_back(message->GetMessage());
      return answer;
    }
    open.push_back(dialog);
    return wxID_NONE;
  }
  void Exit(wxDialog* dialog) override { std::erase(open, dialog); }
};

DialogHook& dialogHook() {
  static DialogHook hook;
  return hook;
}

wxDialog* modalDialog() { return dialogHook().open.empty() ? nullptr : dialogHook().open.back(); }

/// Looks for dialogs from within their own event loops.
class DialogWatch : public wxTimer {
 public:
  explicit DialogWatch(std::vector<DialogStep> steps) : steps_(std::move(steps)) { Start(30); }
  std::size_t met() const { return next_; }

  void Notify() override {
    wxDialog* dialog = modalDialog();
    if (!dialog || dialog == last_) return;
    last_ = dialog;
    if (next_ < steps_.size()) {
      const std::size_t step = next_++;
      waitUntil([&] { return dialog->IsShownOnScreen(); });
      settle();
      try {
        steps_[step](*dialog);
      } catch (const std::exception& error) {  // the toolkit would end the program
        ADD_FAILURE() << dialog->GetTitle() << ": " << error.what();
      }
    } else {
      ADD_FAILURE() << "A dialog that nobody expected: " << dialog->GetTitle();
    }
    if (modalDialog() == dialog && !closing(*dialog)) dialog->EndModal(wxID_CANCEL);
  }

 private:
  // A click or key that was sent may still be under way.
  static bool closing(wxDialog& dialog) {
    return waitUntil([&] { return modalDialog() != &dialog || !dialog.IsModal(); });
  }

  std::vector<DialogStep> steps_;
  std::size_t next_ = 0;
  wxDialog* last_ = nullptr;
};

wxWindow* findWindow(wxWindow& parent, const std::function<bool(wxWindow&)>& wanted) {
  for (wxWindow* child : parent.GetChildren()) {
    if (wanted(*child)) return child;
    if (wxWindow* found = findWindow(*child, wanted)) return found;
  }
  return nullptr;
}

}  // namespace

gui::MainWindow& window() { return *static_cast<gui::StudioApp*>(wxTheApp)->window(); }

bool waitUntil(const std::function<bool()>& condition) {
  const auto end = Clock::now() + kPatience;
  while (!condition()) {
    if (Clock::now() > end) return false;
    handleEvents();
    wxMilliSleep(5);
  }
  return true;
}

void settle() {
  for (int i = 0; i < 4; ++i) {
    handleEvents();
    wxMilliSleep(15);
  }
  handleEvents();
}

void press(int key, int modifiers) {
  wxUIActionSimulator().Char(key, modifiers);
  settle();
}

void type(const char* text) {
  wxUIActionSimulator().Text(text);
  settle();
}

void click(wxWindow& target, wxPoint at) {
  wxUIActionSimulator simulator;
  simulator.MouseMove(target.ClientToScreen(at));
  settle();
  simulator.MouseClick();
  settle();
}

void click(wxWindow& target) { click(target, {target.GetClientSize().x / 2, target.GetClientSize().y / 2}); }

void withDialogs(const std::function<void()>& trigger, std::vector<DialogStep> steps) {
  const std::size_t expected = steps.size();
  DialogWatch watch(std::move(steps));
  trigger();
  EXPECT_TRUE(waitUntil([&] { return watch.met() == expected && !modalDialog(); }))
      << "A dialog did not come";
  settle();
}

wxWindow& control(wxWindow& parent, const wxString& name) {
  wxWindow* found = findWindow(parent, [&](wxWindow& each) { return each.GetName() == name; });
  if (!found) throw std::runtime_error("no control named " + name.utf8_string());
  return *found;
}

wxWindow& control(wxWindow& parent, const wxString& name, const wxClassInfo* type) {
  wxWindow* found =
      findWindow(parent, [&](wxWindow& each) { return each.GetName() == name && each.IsKindOf(type); });
  if (!found) throw std::runtime_error("no such control named " + name.utf8_string());
  return *found;
}

void choose(wxChoice& choice, const wxString& entry) {
  ASSERT_NE(choice.FindString(entry), wxNOT_FOUND) << entry;
  choice.SetStringSelection(entry);
  wxCommandEvent event(wxEVT_CHOICE, choice.GetId());
  event.SetEventObject(&choice);
  choice.ProcessWindowEvent(event);
  settle();
}

wxWindow& button(wxWindow& parent, const wxString& label) {
  wxWindow* found = findWindow(parent, [&](wxWindow& each) {
    return dynamic_cast<wxButton*>(&each) && each.GetLabel() == label && each.IsShownOnScreen();
  });
  if (!found)
    found = findWindow(parent, [&](wxWindow& each) {
      return dynamic_cast<wxButton*>(&each) && wxControl::RemoveMnemonics(each.GetLabel()) == label;
    });
  if (!found) throw std::runtime_error("no button " + label.utf8_string());
  return *found;
}

wxImage pictureOf(wxWindow& drawn) {
  wxBitmap picture(drawn.GetClientSize());
  wxMemoryDC memory(picture);
  wxClientDC screen(&drawn);
  memory.Blit(wxPoint(0, 0), picture.GetSize(), &screen, wxPoint(0, 0));
  memory.SelectObject(wxNullBitmap);
  return picture.ConvertToImage();
}

bool showsWave(wxWindow& canvas) {
  const wxImage image = pictureOf(canvas);
  const Palette palette = currentPalette();
  const auto* pixels = image.GetData();
  std::size_t drawn = 0;
  for (int i = 0; i < image.GetWidth() * image.GetHeight(); ++i, pixels += 3) {
    const wxColour colour(pixels[0], pixels[1], pixels[2]);
    drawn += colour == palette.wave || colour == palette.waveBody;
  }
  return drawn > static_cast<std::size_t>(image.GetWidth());
}

void open(const std::vector<Path>& files) {
  openFiles(window(), files);
  settle();
}

std::vector<wxString> takeMessages() { return std::exchange(dialogHook().messages, {}); }
void answerMessages(int id) { dialogHook().answer = id; }

void Gui::SetUp() {
  takeMessages();
  answerMessages(wxID_OK);
  document().startNew();
  window().tree().SetFocus();
  settle();
}

}  // namespace vemko::test
