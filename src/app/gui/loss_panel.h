#pragma once
#include <span>
#include <wx/panel.h>

#include "io/loss_report.h"

class wxStaticText;
class wxTextCtrl;

namespace vemko::gui {

/// What a save would drop, one line each; empty when nothing.
wxString lossLines(const Item& item, int row, const io::SaveOptions& options);

/// Tells in a dialog, before anything is written, what that save loses.
class LossPanel : public wxPanel {
 public:
  explicit LossPanel(wxWindow* parent);
  /// Each of the items is saved to a file of its own.
  void show(std::span<const Item* const> items, int row, const io::SaveOptions& options);

 private:
  wxStaticText* title_;
  wxTextCtrl* lines_;
};

}  // namespace vemko::gui
