#include "app/gui/articulation_page.h"

#include <cmath>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/listbox.h>
#include <wx/msgdlg.h>
#include <wx/scrolwin.h>
#include <wx/settings.h>
#include <wx/textctrl.h>

#include "app/gui/clipboard.h"
#include "app/gui/layout.h"
#include "app/gui/text.h"
#include "base/last_error.h"
#include "core/parameters.h"

namespace vemko::gui {
namespace {

constexpr const char* kFilterTypes[] = {"Off",
                                        "Low-pass, 1 pole",
                                        "Low-pass, 2 poles",
                                        "Low-pass, 3 poles",
                                        "Low-pass, 4 poles",
                                        "High-pass, 1 pole",
                                        "High-pass, 2 poles",
                                        "High-pass, 4 poles",
                                        "Band-pass, 1 pole",
                                        "Low-pass, 6 poles",
                                        "Low-pass, 2-pole ladder",
                                        "Band-pass, 2 poles",
                                        "Band-reject, 2 poles"};

const char* unitText(const Parameter& parameter) {
  switch (parameter.unit) {
    case Unit::Semitones:
      return "semitones";
    case Unit::Decibels:
      return "dB";
    case Unit::DecibelsPerOctave:
      return "dB / octave";
    case Unit::Hertz:
      return "Hz";
    case Unit::Seconds:
      return "s";
    case Unit::Percent:
      return "%";
    case Unit::Multiplier:
      return "x";
    case Unit::PerOctave:
      return "per octave";
    default:
      return "";
  }
}

wxString valueText(float value) {
  return wxString::Format("%g", std::round(static_cast<double>(value) * 1e4) / 1e4);
}

wxString boundsText(const Parameter& parameter) {
  wxString text = shown(parameter.description);
  if (!text.empty()) text += "\n";
  return text + wxString::Format("%g to %g, default %g", static_cast<double>(parameter.minimum),
                                 static_cast<double>(parameter.maximum),
                                 static_cast<double>(parameter.initial));
}

}  // namespace

ArticulationBlock* ArticulationPage::blockOf(Item& item) {
  switch (item.kind()) {
    case ItemKind::Instrument:
      return &static_cast<Instrument&>(item).articulation;
    case ItemKind::Layer:
      return &static_cast<Layer&>(item).articulation;
    case ItemKind::Region:
      return &static_cast<Region&>(item).articulation;
    default:
      return nullptr;
  }
}

ArticulationPage::ArticulationPage(wxWindow* parent, const Item& item) : PropertiesPage(parent) {
  block_ = *blockOf(const_cast<Item&>(item));
  std::vector<Item*> levels;
  for (Item* up = item.collection().find(item.parent); up; up = item.collection().find(up->parent))
    levels.insert(levels.begin(), up);
  for (Item* level : levels)
    if (const ArticulationBlock* block = blockOf(*level))
      block->forEach([&](Slot slot, float value) { above_.set(slot, value); });

  groups_ = new wxListBox(this, wxID_ANY);
  groups_->SetName("Groups");
  for (int group = 0; group < kSlotGroupCount; ++group) {
    wxString word = shown(displayWord(static_cast<SlotGroup>(group)));
    word[0] = wxToupper(word[0]);
    groups_->Append(word);
  }
  groups_->SetSelection(0);
  auto* copy = new wxButton(this, wxID_ANY, "&Copy group");
  auto* paste = new wxButton(this, wxID_ANY, "&Paste group");
  auto* reset = new wxButton(this, wxID_ANY, "&Reset group");
  auto* copyAll = new wxButton(this, wxID_ANY, "Copy &all");
  auto* pasteAll = new wxButton(this, wxID_ANY, "Paste a&ll");
  slots_ = new wxScrolledWindow(this, wxID_ANY, wxDefaultPosition, FromDIP(wxSize(520, 330)),
                                wxVSCROLL | wxTAB_TRAVERSAL);
  slots_->SetScrollRate(0, FromDIP(12));

  auto* buttons = new wxBoxSizer(wxHORIZONTAL);
  for (wxButton* button : {copy, paste, reset, copyAll, pasteAll})
    buttons->Add(button, wxSizerFlags().Border(wxRIGHT, FromDIP(kRowGap)));
  auto* right = new wxBoxSizer(wxVERTICAL);
  right->Add(slots_, wxSizerFlags(1).Expand());
  right->Add(buttons, wxSizerFlags().Border(wxTOP, FromDIP(kRowGap)));
  auto* sizer = new wxBoxSizer(wxHORIZONTAL);
  sizer->Add(groups_, wxSizerFlags().Expand().Border(wxALL, FromDIP(kDialogMargin)));
  sizer->Add(right, wxSizerFlags(1).Expand().Border(wxTOP | wxRIGHT | wxBOTTOM, FromDIP(kDialogMargin)));
  SetSizer(sizer);

  groups_->Bind(wxEVT_LISTBOX, [this](wxCommandEvent&) { showGroup(); });
  copy->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { copyGroup(); });
  paste->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { pasteGroup(); });
  copyAll->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
    if (!putOnClipboard(app::copyOfAll(block_))) showFailure();
  });
  pasteAll->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) { this->pasteAll(); });
  reset->Bind(wxEVT_BUTTON, [this](wxCommandEvent&) {
    resetGroup(block_, group());
    noteModified();
    showGroup();
  });
  showGroup();
}

bool ArticulationPage::store(Item& item) {
  *blockOf(item) = block_;
  return true;
}

SlotGroup ArticulationPage::group() const { return static_cast<SlotGroup>(groups_->GetSelection()); }

void ArticulationPage::showGroup() {
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
}

void ArticulationPage::addSlot(wxFlexGridSizer& grid, Slot slot) {
  const Parameter& row = parameter(slot);
  SlotControls controls{slot, nullptr, nullptr, nullptr};
  controls.set = new wxCheckBox(slots_, wxID_ANY, shown(row.name));
  controls.set->SetToolTip("Set on this level; otherwise the value comes from the level above");
  wxWindow* value;
  if (slot == slots::FilterType) {
    value = controls.choice = new wxChoice(slots_, wxID_ANY);
    for (const char* type : kFilterTypes) controls.choice->Append(type);
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

void ArticulationPage::showValue(const SlotControls& controls) {
  const bool isSet = block_.isSet(controls.slot);
  const float value = isSet ? block_.get(controls.slot) : inherited(controls.slot);
  controls.set->SetValue(isSet);
  if (controls.choice) {
    controls.choice->SetSelection(static_cast<int>(value));
    return;
  }
  controls.value->ChangeValue(valueText(value));
  controls.value->SetForegroundColour(isSet ? wxNullColour
                                            : wxSystemSettings::GetColour(wxSYS_COLOUR_GRAYTEXT));
}

// Text that is no number gives the value back that was there.
void ArticulationPage::valueEdited(const SlotControls& controls) {
  double value = 0;
  if (controls.choice)
    value = controls.choice->GetSelection();
  else if (controls.value->GetValue() == valueText(block_.isSet(controls.slot) ? block_.get(controls.slot)
                                                                               : inherited(controls.slot)) ||
           (!controls.value->GetValue().ToDouble(&value) && !controls.value->GetValue().ToCDouble(&value))) {
    showValue(controls);
    return;
  }
  block_.set(controls.slot, boundedValue(controls.slot, static_cast<float>(value)));
  noteModified();
  showValue(controls);
}

void ArticulationPage::setToggled(const SlotControls& controls) {
  if (controls.set->GetValue())
    block_.set(controls.slot, inherited(controls.slot));
  else
    block_.reset(controls.slot);
  noteModified();
  showValue(controls);
}

float ArticulationPage::inherited(Slot slot) const { return above_.get(slot); }

void ArticulationPage::copyGroup() {
  if (!putOnClipboard(app::copyOfGroup(block_, group()))) showFailure();
}

void ArticulationPage::pasteGroup() {
  const auto copied = slotsFromClipboard(app::formatOf(group()));
  if (!copied) return showFailure();
  app::pasteGroup(*copied, block_, group());
  noteModified();
  showGroup();
}

void ArticulationPage::pasteAll() {
  const auto copied = slotsFromClipboard(app::ClipboardFormat::Art);
  if (!copied) return showFailure();
  app::pasteAll(*copied, block_);
  noteModified();
  showGroup();
}

void ArticulationPage::showFailure() {
  wxMessageBox(shown(lastError()), "Error!", wxOK | wxICON_ERROR, this);
}

}  // namespace vemko::gui
