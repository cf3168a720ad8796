#include "app/gui/record_dialog.h"

#include <cmath>
#include <wx/choice.h>
#include <wx/spinctrl.h>
#include <wx/textctrl.h>

#include "app/gui/layout.h"
#include "app/gui/text.h"

namespace vemko::gui {
namespace {

template <class Enum>
wxChoice* makeChoice(wxDialog& dialog, Enum chosen, int count) {
  auto* choice = new wxChoice(&dialog, wxID_ANY);
  for (int i = 0; i < count; ++i) choice->Append(shown(displayWord(static_cast<Enum>(i))));
  choice->SetSelection(static_cast<int>(chosen));
  return choice;
}

wxSpinCtrlDouble* makePosition(wxDialog& dialog, double value, std::uint32_t frames) {
  auto* spin = new wxSpinCtrlDouble(&dialog, wxID_ANY, {}, wxDefaultPosition, dialog.FromDIP(wxSize(160, -1)),
                                    wxSP_ARROW_KEYS, 0, std::max<double>(frames, value), value, 1);
  spin->SetDigits(2);
  return spin;
}

void setPosition(double frames, std::uint32_t& whole, std::uint8_t& hundredths) {
  const auto all = static_cast<std::uint64_t>(std::llround(frames * 100));
  whole = static_cast<std::uint32_t>(all / 100);
  hundredths = static_cast<std::uint8_t>(all % 100);
}

}  // namespace

bool editRecord(wxWindow* parent, LoopRecord& record, std::uint32_t frames) {
  wxDialog dialog(parent, wxID_ANY, "Loop or marker");
  auto* grid = makeFieldGrid(&dialog);
  auto* name = new wxTextCtrl(&dialog, wxID_ANY, shown(record.name), wxDefaultPosition,
                              dialog.FromDIP(wxSize(240, -1)));
  addField(*grid, "&Name:", name);
  auto* type = makeChoice(dialog, record.type, 3);
  addField(*grid, "&Type:", type);
  auto* start = makePosition(dialog, record.startFrames(), frames);
  addField(*grid, "&Start (frames):", start);
  auto* end = makePosition(dialog, record.endFrames(), frames);
  addField(*grid, "&End (frames):", end);
  auto* play = makeChoice(dialog, record.play, 4);
  addField(*grid, "&Play mode:", play);
  auto* count = makeChoice(dialog, record.count, 2);
  addField(*grid, "&Count:", count);
  auto* tune = new wxSpinCtrl(&dialog, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize, wxSP_ARROW_KEYS, -1200,
                              1200, record.tuneCents);
  addField(*grid, "T&une (cents):", tune);
  auto enable = [=] {
    end->Enable(type->GetSelection() != static_cast<int>(RecordType::PositionMarker));
    for (wxWindow* control :
         {static_cast<wxWindow*>(play), static_cast<wxWindow*>(count), static_cast<wxWindow*>(tune)})
      control->Enable(type->GetSelection() == static_cast<int>(RecordType::Loop));
  };
  type->Bind(wxEVT_CHOICE, [enable](wxCommandEvent&) { enable(); });
  enable();
  finishDialog(dialog, grid, "OK");
  if (dialog.ShowModal() != wxID_OK) return false;

  record.name = textFrom(name->GetValue());
  record.type = static_cast<RecordType>(type->GetSelection());
  setPosition(start->GetValue(), record.start, record.startHundredths);
  if (record.type == RecordType::PositionMarker)
    setPosition(start->GetValue(), record.end, record.endHundredths);
  else
    setPosition(std::max(start->GetValue(), end->GetValue()), record.end, record.endHundredths);
  record.play = static_cast<LoopPlay>(play->GetSelection());
  record.count = static_cast<LoopCount>(count->GetSelection());
  record.tuneCents = static_cast<std::int16_t>(tune->GetValue());
  return true;
}

}  // namespace vemko::gui
