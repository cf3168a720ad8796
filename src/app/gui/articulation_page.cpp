#include "app/gui/articulation_page.h"

#include <algorithm>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/listbox.h>
#include <wx/msgdlg.h>
#include <wx/scrolwin.h>
#include <wx/settings.h>
#include <wx/textctrl.h>

#include "app/app_settings.h"
#include "app/gui/layout.h"
#include "app/gui/slot_texts.h"
#include "app/gui/text.h"
#include "base/last_error.h"
#include "core/parameters.h"

namespace vemko::gui {
ArticulationPage::ArticulationPage(wxWindow* parent, Items items) : PropertiesPage(parent, std::move(items)) {
  for (Item* item : this->items())
    levels_.push_back({*app::articulationOf(*item), app::articulationAbove(*item)});

  groups_ = new wxListBox(this, wxID_ANY);
  groups_->SetName("Groups");
  for (int group = 0; group < kSlotGroupCount; ++group) {
    wxString word = shown(displayWord(static_cast<SlotGroup>(group)));
    word[0] = wxToupper(word[0]);
    groups_->Append(word);
  }
  groups_->SetSelection(0);
  copy_ = new wxButton(this, wxID_ANY, {});
  paste_ = new wxButton(this, wxID_ANY, {});
  reset_ = new wxButton(this, wxID_ANY, {});
  auto* copyAll = new wxButton(this, wxID_ANY, "Copy &all");
  auto* pasteAll = new wxButton(this, wxID_ANY, "Paste a&ll");
  // Several items have no one articulation to be copied.
  copy_->Enable(!hasSeveral());
  copyAll->Enable(!hasSeveral());
  slots_ = new wxScrolledWindow(this, wxID_ANY, wxDefaultPosition, FromDIP(wxSize(520, 330)),
                                wxVSCROLL | wxTAB_TRAVERSAL);
  slots_->SetScrollRate(0, FromDIP(12));

  auto* buttons = new wxBoxSizer(wxHORIZONTAL);
  for (wxButton* button : {copy_, paste_, reset_, copyAll, pasteAll})
    buttons->Add(button, wxSizerFlags().Border(wxRIGHT, FromDIP(kRowGap)));
  auto* right = new wxBoxSizer(wxVERTICAL);
  right->Add(slots_, wxSizerFlags(1).Expand());
  right->Add(buttons, wxSizerFlags().Border(wxTOP, FromDIP(kRowGap)));
  auto* sizer = new wxBoxSizer(wxHORIZONTAL);
  sizer->Add(groups_, wxSizerFlags().Expand().Border(wxALL, FromDIP(kDialogMargin)));
  sizer->Add(right, wxSizerFlags(1).Expand().Border(wxTOP | wxRIGHT | wxBOTTOM, FromDIP(kDialogMargin)));
  SetSizer(sizer);

  groups_->Bind(wxEVT_LISTBOX, [this](wxCommandEvent&) { showGroup(); });
  copy_->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
    if (!putOnClipboard(app::copyOfGroup(levels_.front().block, group()))) showFailure();
  });
  copyAll->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
    if (!putOnClipboard(app::copyOfAll(levels_.front().block))) showFailure();
  });
  paste_->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
    pasteSlots(app::formatOf(group()), [this](const app::CopiedSlots& copied, ArticulationBlock& block) {
      app::pasteGroup(copied, block, group());
    });
  });
  pasteAll->Bind(wxEVT_BUTTON,
                 [this](wxCommandEvent&) { pasteSlots(app::ClipboardFormat::Art, app::pasteAll); });
  reset_->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
    for (Level& level : levels_) resetGroup(level.block, group());
    noteModified();
    showGroup();
  });
  showGroup();
}

void ArticulationPage::store() {
  std::vector<app::LevelEdit> edits;
  for (std::size_t i = 0; i < levels_.size(); ++i) edits.push_back({items()[i], levels_[i].block});
  app::applyLevelEdits(edits, app::appSettings().shell.propagateDeltas);
}

SlotGroup ArticulationPage::group() const { return static_cast<SlotGroup>(groups_->GetSelection()); }

void ArticulationPage::showGroup() {
  const wxString noun = groupNoun(group());
  copy_->SetLabel("&Copy " + noun);
  paste_->SetLabel("&Paste " + noun);
  reset_->SetLabel("&Reset " + noun);
  slots_->Freeze();
  controls_.clear();
  slots_->DestroyChildren();
  auto* grid = new wxFlexGridSizer(3, FromDIP(wxSize(kColumnGap, 4)));
  grid->AddGrowableCol(0);
  const SlotRange range = slotsOf(group());
  for (int slot = range.first; slot <= range.last; ++slot)
    if (!parameter(static_cast<Slot>(slot)).reserved()) addSlot(*grid, static_cast<Slot>(slot));
  slots_->SetSizer(grid);
  slots_->FitInside();
  slots_->Scroll(0, 0);
  slots_->Thaw();
  Layout();
  tellNames(*slots_);
}

void ArticulationPage::addSlot(wxFlexGridSizer& grid, Slot slot) {
  const Parameter& row = parameter(slot);
  SlotControls controls{slot, nullptr, nullptr, nullptr};
  controls.set = new wxCheckBox(slots_, wxID_ANY, shown(row.name), wxDefaultPosition, wxDefaultSize,
                                hasSeveral() ? wxCHK_3STATE : wxCHK_2STATE);
  controls.set->SetName(shown(row.name));
  controls.set->SetToolTip("Set on this level; otherwise the value comes from the level above");
  wxWindow* value;
  if (const auto choices = choicesOf(slot); !choices.empty()) {
    value = controls.choice = new wxChoice(slots_, wxID_ANY);
    for (const char* each : choices) controls.choice->Append(each);
  } else {
    value = controls.value = new wxTextCtrl(slots_, wxID_ANY, {}, wxDefaultPosition, FromDIP(wxSize(90, -1)),
                                            wxTE_RIGHT | wxTE_PROCESS_ENTER);
  }
  value->SetName(shown(row.name));
  value->SetToolTip(boundsText(row));
  grid.Add(controls.set, wxSizerFlags().CenterVertical());
  grid.Add(value, wxSizerFlags().CenterVertical());
  grid.Add(new wxStaticText(slots_, wxID_ANY, unitText(row)),
           wxSizerFlags().CenterVertical().Border(wxRIGHT, FromDIP(kRowGap)));
  controls_.push_back(controls);
  showValue(controls);

  controls.set->Bind(wxEVT_CHECKBOX, [this, controls](wxCommandEvent&) { setToggled(controls); });
  if (controls.choice) {
    controls.choice->Bind(wxEVT_CHOICE, [this, controls](wxCommandEvent&) { valueEdited(controls); });
  } else {
    // A value is taken when its field is left, so that half of a number is never judged.
    controls.value->Bind(wxEVT_KILL_FOCUS, [this, controls](wxFocusEvent& event) {
      valueEdited(controls);
      event.Skip();
    });
    controls.value->Bind(wxEVT_TEXT_ENTER, [this, controls](wxCommandEvent&) { valueEdited(controls); });
  }
}

std::optional<float> ArticulationPage::commonValue(Slot slot) const {
  const float value = levels_.front().value(slot);
  for (const Level& level : levels_)
    if (level.value(slot) != value) return std::nullopt;
  return value;
}

void ArticulationPage::showValue(const SlotControls& controls) {
  const auto isSet = [&](const Level& level) { return level.block.isSet(controls.slot); };
  const bool isSetByAny = std::ranges::any_of(levels_, isSet);
  if (isSetByAny && !std::ranges::all_of(levels_, isSet))
    controls.set->Set3StateValue(wxCHK_UNDETERMINED);
  else
    controls.set->SetValue(isSetByAny);
  const auto value = commonValue(controls.slot);
  if (controls.choice) {
    // A shape without a name keeps its number.
    const int entry = value ? static_cast<int>(*value) : wxNOT_FOUND;
    while (entry >= static_cast<int>(controls.choice->GetCount()))
      controls.choice->Append(wxString::Format("Shape %u", controls.choice->GetCount()));
    controls.choice->SetSelection(entry);
    return;
  }
  controls.value->ChangeValue(value ? valueText(*value) : wxString());
  controls.value->SetHint(value ? wxString() : wxString("several"));
  controls.value->SetForegroundColour(isSetByAny ? wxNullColour
                                                 : wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT));
}

// Text that is no number gives the value back that was there.
void ArticulationPage::valueEdited(const SlotControls& controls) {
  const auto shownValue = commonValue(controls.slot);
  double value = 0;
  if (controls.choice) {
    value = controls.choice->GetSelection();
  } else {
    const wxString text = controls.value->GetValue();
    if (text == (shownValue ? valueText(*shownValue) : wxString())) return;
    if (!text.ToDouble(&value) && !text.ToCDouble(&value)) return showValue(controls);
  }
  for (Level& level : levels_)
    level.block.set(controls.slot, boundedValue(controls.slot, static_cast<float>(value)));
  noteModified();
  showValue(controls);
}

void ArticulationPage::setToggled(const SlotControls& controls) {
  for (Level& level : levels_) {
    if (controls.set->GetValue())
      level.block.set(controls.slot, level.value(controls.slot));
    else
      level.block.reset(controls.slot);
  }
  noteModified();
  showValue(controls);
}

void ArticulationPage::pasteSlots(
    app::ClipboardFormat format,
    const std::function<void(const app::CopiedSlots&, ArticulationBlock&)>& paste) {
  const auto copied = slotsFromClipboard(format);
  if (!copied) return showFailure();
  for (Level& level : levels_) paste(*copied, level.block);
  noteModified();
  showGroup();
}

void ArticulationPage::showFailure() {
  wxMessageBox(shown(lastError()), "Error!", wxOK | wxICON_ERROR, this);
}

}  // namespace vemko::gui
