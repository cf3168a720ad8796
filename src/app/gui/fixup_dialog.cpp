#include "app/gui/fixup_dialog.h"

#include <vector>
#include <wx/checkbox.h>

#include "app/gui/layout.h"
#include "app/gui/text.h"
#include "io/fixup.h"

namespace vemko::gui {

bool confirmFixups(wxWindow* parent) {
  wxDialog dialog(parent, wxID_ANY, "Fixing up items");
  auto* content = new wxBoxSizer(wxVERTICAL);
  content->Add(new wxStaticText(&dialog, wxID_ANY, "What is to be done with what is opened?"),
               wxSizerFlags().Border(wxBOTTOM, dialog.FromDIP(kRowGap)));
  std::vector<std::pair<const io::FixupStep*, wxCheckBox*>> checks;
  for (const io::FixupStep& step : io::fixupSteps()) {
    if (!step.option) continue;
    auto* check = new wxCheckBox(&dialog, wxID_ANY, shown(step.description));
    check->SetName(shown(step.description));
    check->SetValue(io::fixupOptions().*step.option);
    content->Add(check, wxSizerFlags().Border(wxTOP, dialog.FromDIP(kRowGap)));
    checks.emplace_back(&step, check);
  }
  finishDialog(dialog, content, "OK");
  if (dialog.ShowModal() != wxID_OK) return false;
  for (const auto& [step, check] : checks) io::fixupOptions().*step->option = check->GetValue();
  return true;
}

}  // namespace vemko::gui
