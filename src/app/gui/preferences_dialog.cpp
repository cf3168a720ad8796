#include "app/gui/preferences_dialog.h"

#include <algorithm>
#include <vector>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/msgdlg.h>
#include <wx/notebook.h>

#include "app/gui/colour_scheme.h"
#include "app/gui/layout.h"
#include "app/gui/settings_page.h"
#include "app/gui/text.h"
#include "app/settings.h"

namespace vemko::gui {
namespace {

/// A setting on one of the pages: a check box, or a list whose entries stand for 0, 1, 2 ...
struct Preference {
  const char* page;
  const char* setting;
  const char* label;
  std::vector<const char*> choices = {};
};

const std::vector<Preference>& preferences() {
  static const std::vector<Preference> list = {
      {"General", "app.bPersistentState", "&Reopen the last file at start"},
      {"General", "app.bAsyncWaveLoad", "Load &samples in the background after opening"},
      {"General", "app.bAutoSelWaveforms", "Selecting an instrument selects its &waveforms"},
      {"General", "app.bAutoSelCollItems", "Selecting an item selects what lies be&low it"},
      {"General", "app.bPropagateDownDelta",
       "Changes of articulation go &down to the levels below as differences"},
      {"General", "app.bShowNoteNames", "Show &note names instead of numbers"},
      {"General", "app.bMidIsNamedC3", "Name middle C \"C&3\" instead of \"C4\""},
      {"General", "app.bDispBankPrgs", "Show &bank and program numbers"},
      {"General", "app.bDispLoBank", "Show the low b&yte of the bank"},
      {"General", "app.eDarkMode", "&Colours:", {"As the system", "Light", "Dark"}},
      {"Opening", "load.bConfirm", "&Ask for these steps whenever a file is opened"},
      {"Opening", "load.bAutoSplitStereo", "&Split stereo waveforms"},
      {"Opening", "load.bAutoMergeStereo", "&Merge pairs of mono waveforms into stereo"},
      {"Opening", "load.bAutoCompactLayers", "&Compact layers"},
      {"Opening", "load.bAutoRemoveDupWaves", "Remove &duplicate waveforms"},
      {"Opening", "load.bAutoMoveArticulation", "Move articulation to the &best level"},
      {"Opening", "load.bAutoMoveTriggerParams", "Move &trigger parameters"},
      {"Opening", "load.bAutoAppend32", "Append &32 samples after loops"},
      {"Opening", "load.bAutoBid2Fwd", "Turn bidirectional loops into &forward loops"},
      {"Opening", "load.bAutoSortColl", "Sort the c&ollection"},
      {"Opening", "load.bAutoSortWaves", "Sort &waveforms"},
      {"Opening", "load.bEnsureUniqueNames", "Make item names &unique"},
      {"Display", "viz.bWaveDispFill", "&Fill the waveform"},
      {"Display", "viz.bWaveDispSplit", "Show &channels apart"},
      {"Saving", "fmt.wav.bNoLoopOff", "WAV: leave out &loops that are off"},
      {"Saving", "fmt.mp3.bWriteID3", "MP3: write an &ID3 tag"},
      {"Saving", "fmt.mp3.bWriteAPE", "MP3: write an &APE tag"},
      {"Saving", "fmt.mp3.bWriteJS", "MP3: &joint stereo"},
  };
  return list;
}

class PreferencesDialog : public wxDialog {
 public:
  explicit PreferencesDialog(wxWindow* parent)
      : wxDialog(parent, wxID_ANY, "Preferences", wxDefaultPosition, wxDefaultSize,
                 wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER) {
    book_ = new wxNotebook(this, wxID_ANY);
    for (const Preference& preference : preferences()) addPreference(preference);
    all_ = new SettingsPage(book_);
    book_->AddPage(all_, "All settings");
    auto* content = new wxBoxSizer(wxVERTICAL);
    content->Add(book_, wxSizerFlags(1).Expand());
    finishDialog(*this, content, "OK");
    turnPagesByKey(*this, *book_);
  }

  bool apply() {
    bool changed = all_->apply();
    for (const auto& [row, control, before] : controls_) {
      const std::u16string value = textFrom(valueOf(control));
      if (value != before) changed = app::setSettingText(*row, value) || changed;
    }
    return changed;
  }

 private:
  struct Entry {
    const app::SettingRow* row;
    wxWindow* control;
    std::u16string before;
  };

  static wxString valueOf(wxWindow* control) {
    if (auto* check = dynamic_cast<wxCheckBox*>(control)) return check->GetValue() ? "1" : "0";
    return wxString::Format("%d", static_cast<wxChoice*>(control)->GetSelection());
  }

  wxWindow* pageNamed(const wxString& title) {
    for (std::size_t i = 0; i < book_->GetPageCount(); ++i)
      if (book_->GetPageText(i) == title) return book_->GetPage(i);
    auto* page = new wxPanel(book_);
    auto* margin = new wxBoxSizer(wxVERTICAL);
    margin->AddSpacer(FromDIP(kDialogMargin - kRowGap));
    page->SetSizer(margin);
    book_->AddPage(page, title);
    return page;
  }

  void addPreference(const Preference& preference) {
    const app::SettingRow* row = app::findSetting(preference.setting);
    if (!row || (row->name == "app.eDarkMode" && !canChooseColours())) return;
    wxWindow* page = pageNamed(preference.page);
    const std::u16string value = app::settingText(*row).value_or(u"");
    wxWindow* control;
    auto* line = new wxBoxSizer(wxHORIZONTAL);
    if (preference.choices.empty()) {
      auto* check = new wxCheckBox(page, wxID_ANY, preference.label);
      check->SetName(wxControl::RemoveMnemonics(preference.label));
      check->SetValue(value == u"1");
      control = check;
    } else {
      line->Add(new wxStaticText(page, wxID_ANY, preference.label),
                wxSizerFlags().CenterVertical().Border(wxRIGHT, FromDIP(kColumnGap)));
      auto* choice = new wxChoice(page, wxID_ANY);
      for (const char* each : preference.choices) choice->Append(each);
      long chosen = 0;
      shown(value).ToLong(&chosen);
      choice->SetSelection(
          static_cast<int>(std::clamp<long>(chosen, 0, static_cast<long>(preference.choices.size()) - 1)));
      choice->SetName(wxControl::RemoveMnemonics(preference.label));
      control = choice;
    }
    control->SetToolTip(shown(row->meaning));
    line->Add(control, wxSizerFlags().CenterVertical());
    page->GetSizer()->AddSpacer(FromDIP(kRowGap));
    page->GetSizer()->Add(line, wxSizerFlags().Border(wxLEFT | wxRIGHT, FromDIP(kDialogMargin)));
    controls_.push_back({row, control, textFrom(valueOf(control))});
  }

  wxNotebook* book_;
  SettingsPage* all_;
  std::vector<Entry> controls_;
};

}  // namespace

bool editPreferences(wxWindow* parent) {
  PreferencesDialog dialog(parent);
  return dialog.ShowModal() == wxID_OK && dialog.apply();
}

}  // namespace vemko::gui
