#include "app/gui/waveform_list.h"

#include <algorithm>
#include <unordered_map>

#include "app/app_settings.h"
#include "app/gui/accessible.h"
#include "app/gui/icons.h"
#include "app/gui/labels.h"
#include "app/gui/text.h"

namespace vemko::gui {
namespace {

wxString loopText(const Waveform& waveform) {
  const LoopRecord* loop = waveform.mainLoop();
  return loop && loop->type == RecordType::Loop ? shown(displayWord(loop->play)) : wxString("-");
}

double lengthOf(const Waveform& waveform) {
  return waveform.rate == 0 ? 0 : static_cast<double>(waveform.frames) / waveform.rate;
}

struct Column {
  const char* title;
  int format;
  wxString (*text)(const Waveform&);
  bool (*less)(const Waveform&, const Waveform&);
};

// The widths of the first five are kept in the settings; the last one takes what is left.
constexpr Column kColumns[] = {
    {"Name", wxLIST_FORMAT_LEFT, [](const Waveform& w) { return shown(w.displayName()); },
     [](const Waveform& a, const Waveform& b) { return compareNatural(a.name(), b.name()) < 0; }},
    {"Length", wxLIST_FORMAT_RIGHT, [](const Waveform& w) { return lengthText(w.frames, w.rate); },
     [](const Waveform& a, const Waveform& b) { return lengthOf(a) < lengthOf(b); }},
    {"Rate", wxLIST_FORMAT_RIGHT, [](const Waveform& w) { return wxString::Format("%u Hz", w.rate); },
     [](const Waveform& a, const Waveform& b) { return a.rate < b.rate; }},
    {"Channels", wxLIST_FORMAT_LEFT, [](const Waveform& w) { return channelsText(w.channels); },
     [](const Waveform& a, const Waveform& b) { return a.channels < b.channels; }},
    {"Root key", wxLIST_FORMAT_LEFT, [](const Waveform& w) { return keyText(w.rootKey); },
     [](const Waveform& a, const Waveform& b) { return a.rootKey < b.rootKey; }},
    {"Loop", wxLIST_FORMAT_LEFT, loopText,
     [](const Waveform& a, const Waveform& b) { return loopText(a) < loopText(b); }},
};

}  // namespace

WaveformList::WaveformList(wxWindow* parent, app::Document& document)
    : wxListCtrl(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
                 wxLC_REPORT | wxLC_VIRTUAL | wxLC_EDIT_LABELS | wxBORDER_NONE),
      document_(document) {
  SetName("Waveforms");
  showIcons();
  Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
    showIcons();
    event.Skip();
  });
  const auto& widths = app::appSettings().shell.waveformColumnWidths;
  for (std::size_t i = 0; i < std::size(kColumns); ++i)
    InsertColumn(static_cast<long>(i), kColumns[i].title, kColumns[i].format,
                 i < widths.size() ? FromDIP(widths[i]) : FromDIP(90));
  Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    event.Skip();
    CallAfter(&WaveformList::fillWidth);
  });
  Bind(wxEVT_LIST_COL_END_DRAG, [this](wxListEvent& event) {
    event.Skip();
    CallAfter(&WaveformList::fillWidth);
  });
  Bind(wxEVT_LIST_ITEM_SELECTED, [this](wxListEvent&) { selectionMayHaveChanged(); });
  Bind(wxEVT_LIST_ITEM_DESELECTED, [this](wxListEvent&) { selectionMayHaveChanged(); });
  Bind(wxEVT_LIST_ITEM_FOCUSED, [this](wxListEvent&) { selectionMayHaveChanged(); });
  Bind(wxEVT_LIST_COL_CLICK, &WaveformList::onColumnClick, this);
  Bind(wxEVT_LIST_END_LABEL_EDIT, &WaveformList::onEndEdit, this);
  Bind(wxEVT_CHILD_FOCUS, &WaveformList::onFocus, this);
  reload();
}

// The toolkit moves focus and selection once more while it takes the window apart.
WaveformList::~WaveformList() { SetEvtHandlerEnabled(false); }

void WaveformList::showIcons() {
  wxVector<wxBitmapBundle> images;
  images.push_back(icon("waveform", 16));
  SetSmallImages(images);
}

void WaveformList::fillWidth() {
  constexpr int kLast = static_cast<int>(std::size(kColumns)) - 1;
  int rest = GetClientSize().x;
  for (int column = 0; column < kLast; ++column) rest -= GetColumnWidth(column);
  rest = std::max(rest, FromDIP(90));
  if (rest != GetColumnWidth(kLast)) SetColumnWidth(kLast, rest);
}

void WaveformList::onFocus(wxChildFocusEvent& event) {
  document_.activate(true);
  event.Skip();
}

void WaveformList::reload() {
  rows_.clear();
  document_.collection().forEach<Waveform>([&](const Waveform& waveform) { rows_.push_back(waveform.id()); });
  sortRows();
  SetItemCount(static_cast<long>(rows_.size()));
  showSelection();
  Refresh();
}

void WaveformList::refreshItems() { Refresh(); }

void WaveformList::showSelection() {
  std::vector<ItemId> selected = document_.selectedWaveforms();
  std::ranges::sort(selected);
  showing_ = true;
  long first = -1;
  for (long row = 0; row < static_cast<long>(rows_.size()); ++row) {
    const bool wanted = std::ranges::binary_search(selected, rows_[static_cast<std::size_t>(row)]);
    if (wanted && first < 0) first = row;
    if (wanted != (GetItemState(row, wxLIST_STATE_SELECTED) != 0))
      SetItemState(row, wanted ? wxLIST_STATE_SELECTED : 0, wxLIST_STATE_SELECTED);
  }
  // The next click takes the selection from the focused row, and only from that.
  if (first >= 0 && !HasFocus()) {
    SetItemState(first, wxLIST_STATE_FOCUSED, wxLIST_STATE_FOCUSED);
    EnsureVisible(std::min(first + GetCountPerPage() - 1, static_cast<long>(GetItemCount()) - 1));
    EnsureVisible(first);
  }
  showing_ = false;
  tellReaders();
}

// As the tree does; the list's lines are drawn by a window of their own.
void WaveformList::tellReaders() {
  const auto& selected = document_.selectedWaveforms();
  const auto* first = selected.empty() ? nullptr : document_.collection().find<Waveform>(selected.front());
  wxString name = "Waveforms";
  for (const Column& column : kColumns)
    if (first) name += (&column == kColumns ? ": " : ", ") + column.text(*first);
  if (selected.size() > 1) name += wxString::Format(", %zu selected", selected.size());
  for (wxWindow* part : GetChildren()) {
    setAccessibleText(*part, name);
    setAccessibleRole(*part, "table");
  }
}

void WaveformList::renameSelected() {
  const long row = nextSelected(-1);
  if (row < 0) return;
  EnsureVisible(row);
  EditLabel(row);
}

void WaveformList::selectAll() {
  showing_ = true;
  for (long row = 0; row < GetItemCount(); ++row)
    SetItemState(row, wxLIST_STATE_SELECTED, wxLIST_STATE_SELECTED);
  showing_ = false;
  tellSelection();
}

void WaveformList::storeWidths() const {
  auto& widths = app::appSettings().shell.waveformColumnWidths;
  for (std::size_t i = 0; i < widths.size(); ++i)
    widths[i] = static_cast<std::uint16_t>(std::clamp(ToDIP(GetColumnWidth(static_cast<int>(i))), 20, 2000));
}

wxString WaveformList::OnGetItemText(long row, long column) const {
  const Waveform* waveform = waveformAt(row);
  return waveform ? kColumns[column].text(*waveform) : wxString();
}

const Waveform* WaveformList::waveformAt(long row) const {
  if (row < 0 || static_cast<std::size_t>(row) >= rows_.size()) return nullptr;
  return document_.collection().find<Waveform>(rows_[static_cast<std::size_t>(row)]);
}

void WaveformList::sortRows() {
  if (sortColumn_ < 0) return;
  std::vector<const Waveform*> waveforms;
  for (ItemId id : rows_)
    if (const auto* waveform = document_.collection().find<Waveform>(id)) waveforms.push_back(waveform);
  const auto less = kColumns[sortColumn_].less;
  std::ranges::stable_sort(waveforms, [&](const Waveform* a, const Waveform* b) {
    return ascending_ ? less(*a, *b) : less(*b, *a);
  });
  std::ranges::transform(waveforms, rows_.begin(), [](const Waveform* waveform) { return waveform->id(); });
}

// A third click on a column gives the collection's own order back.
void WaveformList::onColumnClick(wxListEvent& event) {
  const int column = event.GetColumn();
  if (column < 0) return;
  if (column != sortColumn_) {
    sortColumn_ = column;
    ascending_ = true;
  } else if (ascending_) {
    ascending_ = false;
  } else {
    sortColumn_ = -1;
  }
  if (sortColumn_ >= 0)
    ShowSortIndicator(sortColumn_, ascending_);
  else
    RemoveSortIndicator();
  reload();
}

void WaveformList::onEndEdit(wxListEvent& event) {
  const Waveform* waveform = waveformAt(event.GetIndex());
  event.Veto();  // the text comes from the model
  if (event.IsEditCancelled() || !waveform) return;
  document_.rename(waveform->id(), textFrom(event.GetLabel()));
}

void WaveformList::selectionMayHaveChanged() {
  if (showing_ || tellPending_) return;
  tellPending_ = true;
  CallAfter(&WaveformList::tellSelection);
}

void WaveformList::tellSelection() {
  tellPending_ = false;
  std::vector<ItemId> selected;
  for (long row = nextSelected(-1); row >= 0; row = nextSelected(row))
    if (static_cast<std::size_t>(row) < rows_.size())
      selected.push_back(rows_[static_cast<std::size_t>(row)]);
  document_.selectWaveforms(std::move(selected));
  tellReaders();
}

}  // namespace vemko::gui
