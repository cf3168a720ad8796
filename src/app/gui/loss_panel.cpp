#include "app/gui/loss_panel.h"

#include <wx/textctrl.h>

#include "app/gui/layout.h"
#include "app/gui/text.h"

namespace vemko::gui {
namespace {

wxString linesOf(const std::vector<io::Loss>& losses) {
  wxString text;
  for (const io::Loss& loss : losses) text += (text.empty() ? "" : "\n") + shown(io::lossText(loss));
  return text;
}

}  // namespace

wxString lossLines(const Item& item, int row, const io::SaveOptions& options) {
  return linesOf(io::lossesOfSaving(item, row, options));
}

LossPanel::LossPanel(wxWindow* parent) : wxPanel(parent) {
  title_ = new wxStaticText(this, wxID_ANY, {});
  lines_ = new wxTextCtrl(this, wxID_ANY, {}, wxDefaultPosition, FromDIP(wxSize(-1, 110)),
                          wxTE_MULTILINE | wxTE_READONLY | wxTE_DONTWRAP);
  lines_->SetName("What is lost");
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->Add(title_, wxSizerFlags().Expand());
  sizer->Add(lines_, wxSizerFlags(1).Expand().Border(wxTOP, FromDIP(kRowGap)));
  sizer->SetMinSize(sizer->CalcMin());  // also while there is nothing to tell
  SetSizer(sizer);
}

void LossPanel::show(std::span<const Item* const> items, int row, const io::SaveOptions& options) {
  const wxString text = linesOf(io::lossesOfSaving(items, row, options));
  title_->SetLabel(text.empty() ? "This save loses nothing." : "This save loses:");
  lines_->SetValue(text);
  lines_->Show(!text.empty());
  Layout();
}

}  // namespace vemko::gui
