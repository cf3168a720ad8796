#include "app/gui/settings_page.h"

#include <wx/listctrl.h>
#include <wx/msgdlg.h>
#include <wx/textctrl.h>

#include "app/gui/layout.h"
#include "app/gui/text.h"
#include "base/last_error.h"

namespace vemko::gui {

SettingsPage::SettingsPage(wxWindow* parent) : wxPanel(parent) {
  list_ = new wxListCtrl(this, wxID_ANY, wxDefaultPosition, FromDIP(wxSize(600, 300)),
                         wxLC_REPORT | wxLC_SINGLE_SEL);
  list_->SetName("Settings");
  list_->AppendColumn("Setting", wxLIST_FORMAT_LEFT, FromDIP(190));
  list_->AppendColumn("Value", wxLIST_FORMAT_LEFT, FromDIP(120));
  list_->AppendColumn("Meaning", wxLIST_FORMAT_LEFT, FromDIP(280));
  for (const app::SettingRow& row : app::settingRows()) {
    values_.push_back(app::settingText(row).value_or(u""));
    const long at =
        list_->InsertItem(list_->GetItemCount(), wxString::FromUTF8(row.name.data(), row.name.size()));
    list_->SetItem(at, 1, shown(values_.back()));
    list_->SetItem(at, 2, shown(row.meaning));
  }
  edited_.resize(values_.size());
  value_ = new wxTextCtrl(this, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize, wxTE_PROCESS_ENTER);
  auto* set = new wxButton(this, wxID_ANY, "&Set");
  auto* grid = makeFieldGrid(this);
  auto* line = new wxBoxSizer(wxHORIZONTAL);
  line->Add(value_, wxSizerFlags(1).CenterVertical());
  line->Add(set, wxSizerFlags().Border(wxLEFT, FromDIP(kRowGap)));
  addField(*grid, "&Value:", value_, line);
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->Add(list_, wxSizerFlags(1).Expand().Border(wxALL, FromDIP(kDialogMargin)));
  sizer->Add(grid, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(kDialogMargin)));
  SetSizer(sizer);
  list_->Bind(wxEVT_LIST_ITEM_SELECTED, [this](wxListEvent& event) {
    row_ = event.GetIndex();
    showSelected();
  });
  set->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { takeValue(); });
  value_->Bind(wxEVT_TEXT_ENTER, [this](wxCommandEvent&) { takeValue(); });
}

void SettingsPage::showSelected() {
  if (row_ >= 0) value_->ChangeValue(shown(values_[static_cast<std::size_t>(row_)]));
}

// Tried on the setting itself, which gets its own value back: the dialog may still be cancelled.
void SettingsPage::takeValue() {
  if (row_ < 0) return;
  const auto at = static_cast<std::size_t>(row_);
  const app::SettingRow& row = app::settingRows()[at];
  const auto before = app::settingText(row);
  if (!app::setSettingText(row, textFrom(value_->GetValue()))) {
    wxMessageBox(shown(lastError()), "Error!", wxOK | wxICON_ERROR, this);
    return;
  }
  values_[at] = app::settingText(row).value_or(u"");
  edited_[at] = true;
  if (before) app::setSettingText(row, *before);
  list_->SetItem(row_, 1, shown(values_[at]));
}

bool SettingsPage::apply() {
  bool changed = false;
  for (std::size_t i = 0; i < values_.size(); ++i)
    if (edited_[i]) changed = app::setSettingText(app::settingRows()[i], values_[i]) || changed;
  return changed;
}

}  // namespace vemko::gui
