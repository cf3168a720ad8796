#include "app/gui/question_dialog.h"

#include <wx/artprov.h>
#include <wx/button.h>
#include <wx/checkbox.h>
#include <wx/sizer.h>
#include <wx/statbmp.h>
#include <wx/stattext.h>

#include "app/gui/accessible.h"
#include "app/gui/text.h"

namespace vemko::gui {
namespace {

constexpr int kFirstButton = wxID_HIGHEST + 500;
constexpr int kTextWidth = 420;

}  // namespace

QuestionDialog::QuestionDialog(wxWindow* parent, const wxString& title, std::u16string_view question,
                               std::span<const std::u16string_view> buttons)
    : wxDialog(parent, wxID_ANY, title), buttonCount_(buttons.size()) {
  auto* top = new wxBoxSizer(wxHORIZONTAL);
  top->Add(
      new wxStaticBitmap(this, wxID_ANY, wxArtProvider::GetBitmapBundle(wxART_QUESTION, wxART_MESSAGE_BOX)),
      wxSizerFlags().Border(wxRIGHT, FromDIP(14)));
  auto* text = new wxStaticText(this, wxID_ANY, {});
  wxString words = shown(question);
  words.Replace("&", "&&");
  text->SetLabel(words);
  text->Wrap(FromDIP(kTextWidth));
  top->Add(text, wxSizerFlags(1).Center());

  auto* row = new wxBoxSizer(wxHORIZONTAL);
  row->AddStretchSpacer();
  for (std::size_t i = 0; i < buttons.size(); ++i) {
    const int id = kFirstButton + static_cast<int>(i);
    auto* button = new wxButton(this, id, shown(buttons[i]));
    button->Bind(wxEVT_BUTTON, [this, id](wxCommandEvent&) { EndModal(id); });
    row->Add(button, wxSizerFlags().Border(wxLEFT, i == 0 ? 0 : FromDIP(8)));
    if (i == 0) button->SetDefault();
  }
  SetEscapeId(kFirstButton + static_cast<int>(buttons.size()) - 1);

  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->Add(top, wxSizerFlags(1).Expand().Border(wxALL, FromDIP(16)));
  sizer->Add(row, wxSizerFlags().Expand().Border(wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(16)));
  SetSizerAndFit(sizer);
  CentreOnParent();
  setAccessibleRole(*this, "dialog");
}

void QuestionDialog::addCheck(std::u16string_view label, std::u16string_view hint) {
  check_ = new wxCheckBox(this, wxID_ANY, shown(label));
  check_->SetName(shown(label));
  check_->SetToolTip(shown(hint));
  GetSizer()->Insert(1, check_, wxSizerFlags().Border(wxLEFT | wxRIGHT | wxBOTTOM, FromDIP(16)));
  GetSizer()->SetSizeHints(this);
}

bool QuestionDialog::isChecked() const { return check_ && check_->GetValue(); }

std::size_t QuestionDialog::choose() {
  const int chosen = ShowModal() - kFirstButton;
  return chosen >= 0 && static_cast<std::size_t>(chosen) < buttonCount_ ? static_cast<std::size_t>(chosen)
                                                                        : buttonCount_ - 1;
}

}  // namespace vemko::gui
