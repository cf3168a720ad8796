#pragma once
#include <wx/dialog.h>

#include "io/save.h"

class wxChoice;
class wxDirPickerCtrl;
class wxTextCtrl;

namespace vemko::gui {

class FormatPanel;
class LossPanel;

/// "Save all": every item of a kind to a file of its own; and, before anything is written, what that loses.
class SaveAllDialog : public wxDialog {
 public:
  SaveAllDialog(wxWindow* parent, Collection& collection);

  /// What was chosen; collisions are asked for over the dialog's parent.
  io::SaveAllRequest request() const;

 private:
  ItemKind kind() const;
  void showKind();
  void showLosses();

  Collection& collection_;
  wxChoice* kind_;
  wxDirPickerCtrl* folder_;
  wxTextCtrl* baseName_;
  FormatPanel* format_;
  LossPanel* losses_;
};

}  // namespace vemko::gui
