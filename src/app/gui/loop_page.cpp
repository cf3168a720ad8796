#include "app/gui/loop_page.h"

#include <algorithm>
#include <wx/listctrl.h>
#include <wx/msgdlg.h>

#include "app/gui/clipboard.h"
#include "app/gui/layout.h"
#include "app/gui/record_dialog.h"
#include "app/gui/text.h"
#include "base/last_error.h"

namespace vemko::gui {
namespace {

wxString positionText(double frames) { return wxString::Format("%.2f", frames); }

}  // namespace

LoopPage::LoopPage(wxWindow* parent, Waveform& waveform)
    : PropertiesPage(parent, {&waveform}),
      records_(waveform.records),
      mainLoopId_(waveform.mainLoopId),
      frames_(waveform.frames) {
  list_ = new wxListCtrl(this, wxID_ANY, wxDefaultPosition, FromDIP(wxSize(590, 240)),
                         wxLC_REPORT | wxLC_SINGLE_SEL);
  list_->SetName("Loops and markers");
  list_->AppendColumn("Name", wxLIST_FORMAT_LEFT, FromDIP(170));
  list_->AppendColumn("Type", wxLIST_FORMAT_LEFT, FromDIP(120));
  list_->AppendColumn("Start", wxLIST_FORMAT_RIGHT, FromDIP(90));
  list_->AppendColumn("End", wxLIST_FORMAT_RIGHT, FromDIP(90));
  list_->AppendColumn("Play", wxLIST_FORMAT_LEFT, FromDIP(100));
  auto* buttons = new wxBoxSizer(wxVERTICAL);
  auto button = [&](const wxString& label, void (LoopPage::*work)()) {
    auto* made = new wxButton(this, wxID_ANY, label);
    made->Bind(wxEVT_BUTTON, [this, work](wxCommandEvent&) { (this->*work)(); });
    buttons->Add(made, wxSizerFlags().Expand().Border(wxBOTTOM, FromDIP(4)));
  };
  button("&Add...", &LoopPage::add);
  button("&Edit...", &LoopPage::edit);
  button("&Remove", &LoopPage::remove);
  button("&Main loop", &LoopPage::makeMain);
  button("C&opy", &LoopPage::copy);
  button("&Paste", &LoopPage::paste);
  list_->Bind(wxEVT_LIST_ITEM_ACTIVATED, [this](wxListEvent&) { edit(); });
  auto* sizer = new wxBoxSizer(wxHORIZONTAL);
  sizer->Add(list_, wxSizerFlags(1).Expand().Border(wxALL, FromDIP(kDialogMargin)));
  sizer->Add(buttons, wxSizerFlags().Border(wxTOP | wxRIGHT | wxBOTTOM, FromDIP(kDialogMargin)));
  SetSizer(sizer);
  showRecords(0);
}

void LoopPage::store() {
  auto& waveform = static_cast<Waveform&>(first());
  waveform.records = records_;
  waveform.mainLoopId = mainLoopId_;
}

void LoopPage::showRecords(long selected) {
  list_->DeleteAllItems();
  for (const LoopRecord& record : records_) {
    const wxString name = shown(record.name) + (record.id == mainLoopId_ ? " (main)" : "");
    const long row = list_->InsertItem(list_->GetItemCount(), name);
    list_->SetItem(row, 1, shown(displayWord(record.type)));
    list_->SetItem(row, 2, positionText(record.startFrames()));
    if (record.type == RecordType::PositionMarker) continue;
    list_->SetItem(row, 3, positionText(record.endFrames()));
    if (record.type == RecordType::Loop) list_->SetItem(row, 4, shown(displayWord(record.play)));
  }
  if (selected >= 0 && selected < list_->GetItemCount())
    list_->SetItemState(selected, wxLIST_STATE_SELECTED | wxLIST_STATE_FOCUSED,
                        wxLIST_STATE_SELECTED | wxLIST_STATE_FOCUSED);
}

long LoopPage::selected() const { return list_->GetNextItem(-1, wxLIST_NEXT_ALL, wxLIST_STATE_SELECTED); }

void LoopPage::add() {
  LoopRecord record;
  record.type = RecordType::Loop;
  record.play = LoopPlay::Forward;
  record.name = mainLoopId_ == 0 ? kMainLoopName : kAltLoopName;
  record.end = frames_;
  if (!editRecord(this, record, frames_)) return;
  record.id = nextRecordId();
  if (mainLoopId_ == 0 && record.type == RecordType::Loop) mainLoopId_ = record.id;
  records_.push_back(record);
  noteModified();
  showRecords(static_cast<long>(records_.size()) - 1);
}

void LoopPage::edit() {
  const long row = selected();
  if (row < 0) return;
  LoopRecord& record = records_[static_cast<std::size_t>(row)];
  if (!editRecord(this, record, frames_)) return;
  if (record.type != RecordType::Loop && record.id == mainLoopId_) mainLoopId_ = 0;
  noteModified();
  showRecords(row);
}

void LoopPage::remove() {
  const long row = selected();
  if (row < 0) return;
  if (records_[static_cast<std::size_t>(row)].id == mainLoopId_) mainLoopId_ = 0;
  records_.erase(records_.begin() + row);
  noteModified();
  showRecords(std::min(row, static_cast<long>(records_.size()) - 1));
}

void LoopPage::makeMain() {
  const long row = selected();
  if (row < 0 || records_[static_cast<std::size_t>(row)].type != RecordType::Loop) return;
  mainLoopId_ = records_[static_cast<std::size_t>(row)].id;
  noteModified();
  showRecords(row);
}

// A loop travels alone, a marker with all the others.
void LoopPage::copy() {
  const long row = selected();
  if (row < 0) return;
  const LoopRecord& record = records_[static_cast<std::size_t>(row)];
  bool copied;
  if (record.type == RecordType::Loop) {
    copied = putOnClipboard({record}, app::ClipboardFormat::Loop);
  } else {
    std::vector<LoopRecord> markers;
    std::ranges::copy_if(records_, std::back_inserter(markers),
                         [](const LoopRecord& each) { return each.type != RecordType::Loop; });
    copied = putOnClipboard(markers, app::ClipboardFormat::Markers);
  }
  if (!copied) wxMessageBox(shown(lastError()), "Error!", wxOK | wxICON_ERROR, this);
}

void LoopPage::paste() {
  auto pasted = recordsFromClipboard(app::ClipboardFormat::Loop);
  if (!pasted) pasted = recordsFromClipboard(app::ClipboardFormat::Markers);
  if (!pasted) {
    wxMessageBox(shown(lastError()), "Error!", wxOK | wxICON_ERROR, this);
    return;
  }
  for (LoopRecord& record : *pasted) {
    record.id = nextRecordId();
    record.start = std::min(record.start, frames_);
    record.end = std::min(record.end, frames_);
    if (mainLoopId_ == 0 && record.type == RecordType::Loop) mainLoopId_ = record.id;
    records_.push_back(std::move(record));
  }
  noteModified();
  showRecords(static_cast<long>(records_.size()) - 1);
}

}  // namespace vemko::gui
