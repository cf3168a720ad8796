#include "app/gui/source_page.h"

#include "app/gui/format_panel.h"
#include "app/gui/labels.h"
#include "app/gui/layout.h"
#include "app/gui/text.h"

namespace vemko::gui {

SourcePage::SourcePage(wxWindow* parent, const Waveform& waveform) : PropertiesPage(parent) {
  auto* grid = makeFieldGrid(this);
  auto row = [&](const wxString& label, const wxString& value) {
    addField(*grid, label, new wxStaticText(this, wxID_ANY, value));
  };
  row("Length:",
      wxString::Format("%u frames, ", waveform.frames) + lengthText(waveform.frames, waveform.rate));
  row("Channels:", channelsText(waveform.channels));
  const auto file = waveform.source ? waveform.source->file() : nullptr;
  row("Stored in:", file ? shownPath(file->path()) : wxString("memory"));
  if (waveform.source) row("Encoding:", encodingLabel(waveform.source->encoding()));
  row("Samples:", waveform.buffer ? "loaded" : waveform.source ? "are read when they are needed" : "none");
  if (waveform.source) row("Edited:", waveform.sourceIsIntact() ? "no" : "yes");
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->Add(grid, wxSizerFlags().Border(wxALL, FromDIP(kDialogMargin)));
  SetSizer(sizer);
}

}  // namespace vemko::gui
