#include "app/gui/field_page.h"

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

wxString fieldText(const ItemField& field, double value) {
  if (field.type == FieldType::Whole) return wxString::Format("%.0f", value);
  if (field.type == FieldType::Decimal) return wxString::Format("%g", value);
  return value <= 127 ? keyText(static_cast<int>(value)) : wxString();
}

// Nothing for what is no value of the field.
std::optional<double> fieldValue(const ItemField& field, const wxString& text) {
  double value = 0;
  if (field.type == FieldType::KeyOrNone && text.Strip(wxString::both).empty()) return Region::kNotSet;
  if (field.type == FieldType::Key || field.type == FieldType::KeyOrNone)
    value = keyFromText(text);
  else if (!text.ToDouble(&value) && !text.ToCDouble(&value))
    return std::nullopt;
  if (value < field.minimum || value > field.maximum) return std::nullopt;
  if (field.type == FieldType::Whole && value != static_cast<double>(static_cast<long long>(value)))
    return std::nullopt;
  return value;
}

std::optional<double> controlValue(const ItemField& field, wxWindow* control) {
  if (auto* check = dynamic_cast<wxCheckBox*>(control)) return check->GetValue() ? 1 : 0;
  if (auto* choice = dynamic_cast<wxChoice*>(control)) return choice->GetSelection();
  return fieldValue(field, static_cast<wxTextCtrl*>(control)->GetValue());
}

wxString expectation(const ItemField& field) {
  const wxString label = wxString(field.label).BeforeFirst(':');
  if (field.type == FieldType::Key || field.type == FieldType::KeyOrNone)
    return label + ": a key from " + keyText(0) + " to " + keyText(127) + " is expected";
  return label + wxString::Format(": a number from %.0f to %.0f is expected", field.minimum, field.maximum);
}

}  // namespace

FieldPage::FieldPage(wxWindow* parent, const Item& item)
    : PropertiesPage(parent), fields_(fieldsOf(item.kind())) {
  auto* grid = new wxFlexGridSizer(3, FromDIP(wxSize(kColumnGap, kRowGap)));
  for (const ItemField& field : fields_) {
    wxWindow* control = makeControl(field, field.get(item));
    control->SetName(wxString(field.label).BeforeFirst(':'));
    control->SetMinSize(wxSize(FromDIP(kFieldWidth), -1));
    const bool isCheck = field.type == FieldType::Check;
    grid->Add(new wxStaticText(this, wxID_ANY, isCheck ? wxString() : wxString(field.label)),
              wxSizerFlags().CenterVertical());
    grid->Add(control, wxSizerFlags().CenterVertical());
    auto* note = new wxStaticText(this, wxID_ANY, field.note);
    note->Disable();
    grid->Add(note, wxSizerFlags().CenterVertical());
    controls_.push_back(control);
  }
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->Add(grid, wxSizerFlags().Border(wxALL, FromDIP(kDialogMargin)));
  SetSizer(sizer);
}

wxWindow* FieldPage::makeControl(const ItemField& field, double value) {
  auto changed = [this](wxCommandEvent&) { noteModified(); };
  if (field.type == FieldType::Check) {
    auto* check = new wxCheckBox(this, wxID_ANY, field.label);
    check->SetValue(value != 0);
    check->Bind(wxEVT_CHECKBOX, changed);
    return check;
  }
  if (field.type == FieldType::Choice) {
    auto* choice = new wxChoice(this, wxID_ANY);
    for (const char* each : field.choices) choice->Append(each);
    choice->SetSelection(static_cast<int>(value));
    choice->Bind(wxEVT_CHOICE, changed);
    return choice;
  }
  auto* text = new wxTextCtrl(this, wxID_ANY, fieldText(field, value));
  text->Bind(wxEVT_TEXT, changed);
  return text;
}

bool FieldPage::store(Item& item) {
  std::vector<double> values;
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    const auto value = controlValue(fields_[i], controls_[i]);
    if (!value) {
      controls_[i]->SetFocus();
      return fail(textFrom(expectation(fields_[i])));
    }
    values.push_back(*value);
  }
  for (std::size_t i = 0; i < fields_.size(); ++i)
    if (values[i] != fields_[i].get(item)) fields_[i].set(item, values[i]);
  return true;
}

}  // namespace vemko::gui
