#pragma once
#include <vector>
#include <wx/dialog.h>
#include <wx/timer.h>

#include "core/collection.h"
#include "io/save.h"

class wxChoice;
class wxTextCtrl;

namespace vemko::gui {

class FormatPanel;
class LossPanel;

/// Where the user saved last, or beside the file that the collection came from; the home folder where neither
/// can be written to.
Path folderToSaveIn(const Collection& collection);

/// "Save as": which item, in which format, where; and, before anything is written, what that loses.
class SaveDialog : public wxDialog {
 public:
  /// `items` are the candidates, the first one chosen; none is null.
  SaveDialog(wxWindow* parent, std::vector<Item*> items);

  Item& item() const;
  int row() const;
  Path path() const;
  io::SaveOptions options() const;

 private:
  void showItem();
  void formatChanged();
  void showLosses();
  void browse();
  void onOk(wxCommandEvent& event);

  std::vector<Item*> items_;
  wxChoice* item_;
  FormatPanel* format_;
  wxTextCtrl* path_;
  LossPanel* losses_;
};

}  // namespace vemko::gui
