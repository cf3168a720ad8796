#include "app/gui/tool_results.h"

#include <utility>
#include <vector>
#include <wx/clipbrd.h>
#include <wx/listctrl.h>

#include "app/gui/layout.h"
#include "app/gui/text.h"

namespace vemko::gui {
namespace {

using Rows = std::vector<std::pair<wxString, wxString>>;

Rows resultRows(const tools::ToolContext& context) {
  Rows rows;
  for (const tools::MeasuredVolume& volume : context.volumes)
    rows.emplace_back(shown(volume.name), wxString::Format("%.2f dB", static_cast<double>(volume.decibels)));
  if (context.statistics)
    for (const tools::StatisticsRow& row : tools::statisticsRows(*context.statistics))
      rows.emplace_back(shown(row.label), shown(row.value));
  return rows;
}

void copyRows(const Rows& rows) {
  wxString text;
  for (const auto& [label, value] : rows) text += label + "\t" + value + "\n";
  wxClipboardLocker lock;
  if (!!lock) wxTheClipboard->SetData(new wxTextDataObject(text));
}

}  // namespace

void showToolResults(wxWindow* parent, const tools::ToolContext& context) {
  const Rows rows = resultRows(context);
  if (rows.empty()) return;
  wxDialog dialog(parent, wxID_ANY, shown(context.toolName), wxDefaultPosition, wxDefaultSize,
                  wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER);
  auto* list =
      new wxListCtrl(&dialog, wxID_ANY, wxDefaultPosition, dialog.FromDIP(wxSize(480, 300)), wxLC_REPORT);
  list->SetName("Results");
  list->AppendColumn(context.statistics ? "Measure" : "Waveform", wxLIST_FORMAT_LEFT, dialog.FromDIP(260));
  list->AppendColumn("Value", wxLIST_FORMAT_RIGHT, dialog.FromDIP(190));
  for (const auto& [label, value] : rows) {
    const long row = list->InsertItem(list->GetItemCount(), label);
    list->SetItem(row, 1, value);
  }
  auto* copy = new wxButton(&dialog, wxID_ANY, "&Copy");
  copy->Bind(wxEVT_BUTTON, [&rows](wxCommandEvent&) { copyRows(rows); });
  auto* content = new wxBoxSizer(wxVERTICAL);
  content->Add(list, wxSizerFlags(1).Expand());
  content->Add(copy, wxSizerFlags().Border(wxTOP, dialog.FromDIP(kRowGap)));
  finishDialog(dialog, content, "C&lose", false);
  dialog.ShowModal();
}

}  // namespace vemko::gui
