#include "app/gui/process_dialog.h"

#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/listbox.h>
#include <wx/msgdlg.h>
#include <wx/scrolwin.h>
#include <wx/textctrl.h>

#include "app/gui/labels.h"
#include "app/gui/layout.h"
#include "app/gui/text.h"
#include "app/gui/tool_results.h"
#include "base/last_error.h"

namespace vemko::gui {
namespace {

using tools::ToolList;

constexpr int kTextWidth = 340;

wxString listLabel(const tools::ToolContext& context) {
  constexpr const char* kWords[] = {"waveform", "MIDI item", "item"};
  return countText(context.selection.size(), kWords[static_cast<int>(context.list)]);
}

void showError(const Item* item, std::u16string_view message) {
  wxString text = shown(message);
  if (item) text = shown(item->displayName()) + "\n\n" + text;
  wxMessageBox(text, shown(tools::kErrorTitle), wxOK | wxICON_ERROR);
}

bool isMidi(const Item& item) { return item.kind() == ItemKind::Track || item.kind() == ItemKind::Song; }

}  // namespace

ProcessDialog::ProcessDialog(wxWindow* parent, app::Document& document,
                             std::optional<tools::FrameRange> range)
    : wxDialog(parent, wxID_ANY, "Process items", wxDefaultPosition, wxDefaultSize,
               wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER) {
  std::vector<Item*> waveforms, items, midi;
  for (ItemId id : document.selectedWaveforms())
    if (Item* item = document.find(id)) waveforms.push_back(item);
  for (ItemId id : document.selectedItems())
    if (Item* item = document.find(id)) (isMidi(*item) ? midi : items).push_back(item);
  offer(ToolList::Waveform, waveforms, range);
  offer(ToolList::Midi, midi, {});
  offer(ToolList::Instrument, items, {});

  list_ = new wxChoice(this, wxID_ANY);
  for (const OfferedList& list : lists_) list_->Append(listLabel(list.context));
  if (hasTools()) list_->SetSelection(0);
  tools_ = new wxListBox(this, wxID_ANY, wxDefaultPosition, FromDIP(wxSize(240, 300)));
  tools_->SetName("Tools");
  page_ = new wxScrolledWindow(this, wxID_ANY, wxDefaultPosition, FromDIP(wxSize(400, 300)),
                               wxVSCROLL | wxTAB_TRAVERSAL);
  page_->SetScrollRate(0, FromDIP(10));

  auto* fields = makeFieldGrid(this);
  addField(*fields, "&Apply to:", list_);
  auto* panes = new wxBoxSizer(wxHORIZONTAL);
  panes->Add(tools_, wxSizerFlags().Expand());
  panes->Add(page_, wxSizerFlags(1).Expand().Border(wxLEFT, FromDIP(kDialogMargin)));
  auto* content = new wxBoxSizer(wxVERTICAL);
  content->Add(fields, wxSizerFlags().Expand());
  content->Add(panes, wxSizerFlags(1).Expand().Border(wxTOP, FromDIP(kDialogMargin)));
  finishDialog(*this, content, "OK");

  list_->Bind(wxEVT_CHOICE, [this](wxCommandEvent&) { showList(); });
  tools_->Bind(wxEVT_LISTBOX, [this](wxCommandEvent&) { showTool(); });
  Bind(wxEVT_BUTTON, &ProcessDialog::onOk, this, wxID_OK);
  if (hasTools()) showList();
  tools_->SetFocus();
}

void ProcessDialog::offer(ToolList list, std::vector<Item*> selection,
                          std::optional<tools::FrameRange> range) {
  if (selection.empty()) return;
  OfferedList offered;
  offered.context = {.selection = std::move(selection), .list = list, .range = range, .showError = showError};
  for (const tools::ToolEntry& tool : tools::toolCatalogue(list))
    if (tools::isOffered(tool, offered.context)) offered.offered.push_back(&tool);
  if (!offered.offered.empty()) lists_.push_back(std::move(offered));
}

const tools::ToolEntry* ProcessDialog::tool() const {
  const int chosen = tools_->GetSelection();
  if (chosen < 0) return nullptr;
  return lists_[static_cast<std::size_t>(list_->GetSelection())].offered[static_cast<std::size_t>(chosen)];
}

tools::ToolContext ProcessDialog::context() const {
  tools::ToolContext context = lists_[static_cast<std::size_t>(list_->GetSelection())].context;
  if (tool()) context.toolName = tool()->name;
  return context;
}

void ProcessDialog::showList() {
  tools_->Clear();
  for (const tools::ToolEntry* tool : lists_[static_cast<std::size_t>(list_->GetSelection())].offered)
    tools_->Append(shown(tool->name));
  tools_->SetSelection(0);
  showTool();
}

void ProcessDialog::showTool() {
  controls_.clear();
  page_->DestroyChildren();
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  const tools::ToolEntry* chosen = tool();
  if (chosen && !chosen->description.empty()) {
    auto* text = new wxStaticText(page_, wxID_ANY, shown(chosen->description));
    text->Wrap(FromDIP(kTextWidth));
    sizer->Add(text, wxSizerFlags().Border(wxBOTTOM, FromDIP(kDialogMargin)));
  }
  if (chosen)
    for (const tools::ToolOption& option : chosen->options) addOption(*sizer, option);
  page_->SetSizer(sizer);
  page_->FitInside();
  page_->Layout();
  tellNames(*page_);
  enableOffered();
}

void ProcessDialog::addOption(wxSizer& page, const tools::ToolOption& option) {
  const wxSizerFlags below = wxSizerFlags().Border(wxBOTTOM, FromDIP(kRowGap));
  const tools::OptionField field = option.field();
  OptionControl entry{&option, nullptr, {}};
  auto changed = [this](wxCommandEvent&) {
    takeOptions();
    enableOffered();
  };
  if (std::holds_alternative<bool*>(field)) {
    auto* check = new wxCheckBox(page_, wxID_ANY, {});
    // The native check box does not wrap long lines.
    auto* text = new wxStaticText(page_, wxID_ANY, shown(option.label));
    text->Wrap(FromDIP(kTextWidth));
    text->Bind(wxEVT_LEFT_DOWN, [check](wxMouseEvent&) {
      check->SetValue(!check->GetValue());
      wxCommandEvent event(wxEVT_CHECKBOX, check->GetId());
      check->ProcessWindowEvent(event);
    });
    check->SetName(shown(option.label));
    check->SetValue(tools::optionValue(option) != 0);
    check->Bind(wxEVT_CHECKBOX, changed);
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    row->Add(check);
    row->Add(text, wxSizerFlags(1).CenterVertical().Border(wxLEFT, FromDIP(4)));
    page.Add(row, below);
    entry.control = check;
    entry.parts = {text};
  } else {
    wxStaticText* label = nullptr;
    if (!option.label.empty())
      page.Add(label = new wxStaticText(page_, wxID_ANY, shown(option.label)),
               wxSizerFlags().Border(wxBOTTOM, FromDIP(2)));
    if (label) entry.parts.push_back(label);
    auto* row = new wxBoxSizer(wxHORIZONTAL);
    if (std::holds_alternative<int*>(field)) {
      auto* choice = new wxChoice(page_, wxID_ANY);
      for (const tools::ToolChoice& each : option.choices) choice->Append(shown(each.label));
      choice->SetSelection(static_cast<int>(tools::optionValue(option)));
      choice->Bind(wxEVT_CHOICE, changed);
      entry.control = choice;
    } else {
      entry.control = new wxTextCtrl(page_, wxID_ANY, shown(tools::optionText(option)));
    }
    entry.control->SetName(shown(option.label));
    row->Add(entry.control, wxSizerFlags().CenterVertical());
    if (!option.unit.empty()) {
      auto* unit = new wxStaticText(page_, wxID_ANY, shown(option.unit));
      row->Add(unit, wxSizerFlags().CenterVertical().Border(wxLEFT, FromDIP(kRowGap)));
      entry.parts.push_back(unit);
    }
    page.Add(row, below);
  }
  entry.parts.push_back(entry.control);
  controls_.push_back(entry);
}

bool ProcessDialog::takeOptions() {
  for (const OptionControl& entry : controls_) {
    if (auto* check = dynamic_cast<wxCheckBox*>(entry.control))
      tools::setOptionValue(*entry.option, check->GetValue() ? 1 : 0);
    else if (auto* choice = dynamic_cast<wxChoice*>(entry.control))
      tools::setOptionValue(*entry.option, choice->GetSelection());
    else if (auto* text = dynamic_cast<wxTextCtrl*>(entry.control);
             text != nullptr && !tools::setOptionText(*entry.option, textFrom(text->GetValue()))) {
      text->SetFocus();
      text->SelectAll();
      return false;
    }
  }
  return true;
}

void ProcessDialog::enableOffered() {
  for (const OptionControl& entry : controls_)
    for (wxWindow* part : entry.parts) part->Enable(entry.option->isOffered());
}

void ProcessDialog::onOk(wxCommandEvent& event) {
  if (!tool()) return;
  if (takeOptions())
    event.Skip();
  else
    wxMessageBox(shown(lastError()), shown(tools::kErrorTitle), wxOK | wxICON_ERROR, this);
}

void processItems(wxWindow* parent, app::Document& document, std::optional<tools::FrameRange> range) {
  ProcessDialog dialog(parent, document, range);
  if (!dialog.hasTools()) {
    wxMessageBox("No tool works on what is selected.", "Process items", wxOK | wxICON_INFORMATION, parent);
    return;
  }
  if (dialog.ShowModal() != wxID_OK) return;
  tools::ToolContext context = dialog.context();
  document.applyTool(*dialog.tool(), context);
  showToolResults(parent, context);
}

}  // namespace vemko::gui
