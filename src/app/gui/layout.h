#pragma once
// The spacing that all dialogs share, in pixels at 100 %.
#include <algorithm>
#include <wx/bookctrl.h>
#include <wx/button.h>
#include <wx/dialog.h>
#include <wx/sizer.h>
#include <wx/stattext.h>

#include "app/gui/accessible.h"
#include "app/gui/icons.h"

namespace vemko::gui {

inline constexpr int kDialogMargin = 16, kRowGap = 8, kColumnGap = 12, kLabelWidth = 105;

/// Labels in the first column, controls in the second, which grows.
inline wxFlexGridSizer* makeFieldGrid(wxWindow* parent) {
  auto* grid = new wxFlexGridSizer(2, parent->FromDIP(wxSize(kColumnGap, kRowGap)));
  grid->AddGrowableCol(1);
  return grid;
}

/// A row of such a grid. The control also gets the label as its accessible name.
inline void addField(wxFlexGridSizer& grid, const wxString& label, wxWindow* control,
                     wxSizer* inside = nullptr) {
  auto* text = new wxStaticText(control->GetParent(), wxID_ANY, label);
  text->SetMinSize(wxSize(std::max(text->GetBestSize().x, text->FromDIP(kLabelWidth)), -1));
  text->MoveBeforeInTabOrder(control);
  control->SetName(wxControl::RemoveMnemonics(label).BeforeFirst(':'));
  grid.Add(text, wxSizerFlags().CenterVertical());
  if (inside)
    grid.Add(inside, wxSizerFlags().Expand());
  else
    grid.Add(control, wxSizerFlags().Expand());
}

/// Ctrl with Page Up and Page Down goes from page to page, also where a list has the keys.
inline void turnPagesByKey(wxDialog& dialog, wxBookCtrlBase& book) {
  dialog.Bind(wxEVT_CHAR_HOOK, [&book](wxKeyEvent& event) {
    const int key = event.GetKeyCode();
    if (event.GetModifiers() == wxMOD_CONTROL && (key == WXK_PAGEUP || key == WXK_PAGEDOWN))
      book.AdvanceSelection(key == WXK_PAGEDOWN);
    else
      event.Skip();
  });
}

/// The content with the dialog's margin and its buttons below, sized to fit and centred. The affirmative
/// button bears `okLabel`; without `cancel` it stands alone.
inline void finishDialog(wxDialog& dialog, wxSizer* content, const wxString& okLabel, bool cancel = true) {
  const int margin = dialog.FromDIP(kDialogMargin);
  auto* ok = new wxButton(&dialog, wxID_OK, okLabel);
  auto* row = new wxBoxSizer(wxHORIZONTAL);
  row->AddStretchSpacer();
#ifdef __WXMSW__
  row->Add(ok);
  if (cancel)
    row->Add(new wxButton(&dialog, wxID_CANCEL), wxSizerFlags().Border(wxLEFT, dialog.FromDIP(kRowGap)));
#else
  if (cancel) row->Add(new wxButton(&dialog, wxID_CANCEL, "Cancel"));
  row->Add(ok, wxSizerFlags().Border(wxLEFT, dialog.FromDIP(kRowGap)));
#endif
  ok->SetDefault();
  if (!cancel) dialog.SetEscapeId(wxID_OK);
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->Add(content, wxSizerFlags(1).Expand().Border(wxALL, margin));
  sizer->Add(row, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, margin));
  dialog.SetSizerAndFit(sizer);
  dialog.CentreOnParent();
  dialog.SetIcons(programIcons());
  setAccessibleRole(dialog, "dialog");
  tellNames(dialog);
}

}  // namespace vemko::gui
