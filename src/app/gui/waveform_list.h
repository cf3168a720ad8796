#pragma once
#include <vector>
#include <wx/listctrl.h>

#include "app/document/document.h"

namespace vemko::gui {

/// The collection's waveforms with their properties, in the collection's order or sorted by a column. Asks
/// for the text of visible rows only.
class WaveformList : public wxListCtrl {
 public:
  WaveformList(wxWindow* parent, app::Document& document);
  ~WaveformList() override;

  /// Takes the items from the document anew, keeping selection and order.
  void reload();
  void refreshItems();
  /// Shows the document's selection.
  void showSelection();
  void renameSelected();
  void selectAll();
  /// Stores the column widths in the settings.
  void storeWidths() const;

 private:
  wxString OnGetItemText(long row, long column) const override;
  int OnGetItemImage(long) const override { return 0; }
  void showIcons();
  void fillWidth();  // by the last column
  const Waveform* waveformAt(long row) const;
  long nextSelected(long row) const { return GetNextItem(row, wxLIST_NEXT_ALL, wxLIST_STATE_SELECTED); }
  void sortRows();
  void onColumnClick(wxListEvent& event);
  void onFocus(wxChildFocusEvent& event);  // the list consists of several windows
  void onEndEdit(wxListEvent& event);
  /// After the events of one click or key, however many, the selection is told once.
  void selectionMayHaveChanged();
  void tellSelection();
  void tellReaders();

  app::Document& document_;
  std::vector<ItemId> rows_;
  int sortColumn_ = -1;
  bool ascending_ = true;
  bool tellPending_ = false;
  bool showing_ = false;
};

}  // namespace vemko::gui
