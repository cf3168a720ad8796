#include "app/gui/field_page.h"

#include <algorithm>
#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/textctrl.h>

#include "app/gui/labels.h"
#include "app/gui/layout.h"
#include "app/gui/text.h"
#include "base/last_error.h"

namespace vemko::gui {
namespace {

constexpr int kFieldWidth = 110;

bool mayBeNone(FieldType type) { return type == FieldType::KeyOrNone || type == FieldType::WholeOrNone; }

wxString fieldText(const ItemField& field, double value) {
  if (mayBeNone(field.type) && value > field.maximum) return {};
  if (field.type == FieldType::Whole || field.type == FieldType::WholeOrNone)
    return wxString::Format("%.0f", value);
  if (field.type == FieldType::Decimal) return wxString::Format("%g", value);
  return keyText(static_cast<int>(value));
}

// Nothing for what is no value of the field.
std::optional<double> fieldValue(const ItemField& field, const wxString& text) {
  double value = 0;
  if (mayBeNone(field.type) && text.Strip(wxString::both).empty()) return Region::kNotSet;
  if (field.type == FieldType::Key || field.type == FieldType::KeyOrNone)
    value = keyFromText(text);
  else if (!text.ToDouble(&value) && !text.ToCDouble(&value))
    return std::nullopt;
  if (value < field.minimum || value > field.maximum) return std::nullopt;
  if (field.type != FieldType::Decimal && value != static_cast<double>(static_cast<long long>(value)))
    return std::nullopt;
  return value;
}

std::optional<double> controlValue(const ItemField& field, const wxWindow& control) {
  if (auto* check = dynamic_cast<const wxCheckBox*>(&control)) return check->GetValue() ? 1 : 0;
  if (auto* choice = dynamic_cast<const wxChoice*>(&control)) return choice->GetSelection();
  return fieldValue(field, static_cast<const wxTextCtrl&>(control).GetValue());
}

wxString expectation(const ItemField& field) {
  const wxString label = wxString(field.label).BeforeFirst(':');
  if (field.type == FieldType::Key || field.type == FieldType::KeyOrNone)
    return label + ": a key from " + keyText(0) + " to " + keyText(127) + " is expected";
  return label + wxString::Format(": a number from %.0f to %.0f is expected", field.minimum, field.maximum);
}

}  // namespace

FieldPage::FieldPage(wxWindow* parent, Items items, std::span<const ItemField> fields)
    : PropertiesPage(parent, std::move(items)) {
  auto* grid = new wxFlexGridSizer(3, FromDIP(wxSize(kColumnGap, kRowGap)));
  for (const ItemField& field : fields) {
    const bool isCheck = field.type == FieldType::Check;
    auto* label = new wxStaticText(this, wxID_ANY, isCheck ? wxString() : wxString(field.label));
    wxWindow* control = makeControl(field, common(field.get));
    control->SetName(wxString(field.label).BeforeFirst(':'));
    control->SetMinSize(wxSize(std::max(control->GetBestSize().x, FromDIP(kFieldWidth)), -1));
    auto* note = new wxStaticText(this, wxID_ANY, field.note);
    note->Disable();
    for (wxWindow* part : {static_cast<wxWindow*>(label), control, static_cast<wxWindow*>(note)})
      grid->Add(part, wxSizerFlags().CenterVertical());
    entries_.push_back({&field, control});
  }
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->Add(grid, wxSizerFlags().Border(wxALL, FromDIP(kDialogMargin)));
  SetSizer(sizer);
}

// Without a value the items differ.
wxWindow* FieldPage::makeControl(const ItemField& field, std::optional<double> value) {
  auto edited = [this](wxCommandEvent& event) { noteEdited(static_cast<wxWindow*>(event.GetEventObject())); };
  if (field.type == FieldType::Check) {
    auto* check = new wxCheckBox(this, wxID_ANY, field.label, wxDefaultPosition, wxDefaultSize,
                                 value ? wxCHK_2STATE : wxCHK_3STATE);
    if (value)
      check->SetValue(*value != 0);
    else
      check->Set3StateValue(wxCHK_UNDETERMINED);
    check->Bind(wxEVT_CHECKBOX, edited);
    return check;
  }
  if (field.type == FieldType::Choice) {
    auto* choice = new wxChoice(this, wxID_ANY);
    for (const char* each : field.choices) choice->Append(each);
    choice->SetSelection(value ? static_cast<int>(*value) : wxNOT_FOUND);
    choice->Bind(wxEVT_CHOICE, edited);
    return choice;
  }
  auto* text = new wxTextCtrl(this, wxID_ANY, value ? fieldText(field, *value) : wxString());
  if (!value) text->SetHint(kSeveralValues);
  text->Bind(wxEVT_TEXT, edited);
  return text;
}

void FieldPage::noteEdited(const wxWindow* control) {
  noteModified();
  for (Entry& entry : entries_)
    if (entry.control == control) entry.isEdited = true;
}

bool FieldPage::check() {
  for (const Entry& entry : entries_) {
    if (!entry.isEdited || controlValue(*entry.field, *entry.control)) continue;
    entry.control->SetFocus();
    return fail(textFrom(expectation(*entry.field)));
  }
  return true;
}

void FieldPage::store() {
  for (const Entry& entry : entries_) {
    const auto value = entry.isEdited ? controlValue(*entry.field, *entry.control) : std::nullopt;
    if (!value) continue;
    for (Item* item : items())
      if (*value != entry.field->get(*item)) entry.field->set(*item, *value);
  }
}

}  // namespace vemko::gui
