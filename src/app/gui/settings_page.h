#pragma once
#include <string>
#include <vector>
#include <wx/panel.h>

#include "app/settings.h"

class wxListCtrl;
class wxTextCtrl;

namespace vemko::gui {

/// Every setting with its value and meaning; the selected one's value is edited below the list.
class SettingsPage : public wxPanel {
 public:
  explicit SettingsPage(wxWindow* parent);

  /// Puts the values that were edited into force; true when there were any.
  bool apply();

 private:
  void showSelected();
  void takeValue();

  wxListCtrl* list_;
  wxTextCtrl* value_;
  std::vector<std::u16string> values_;  // by row
  std::vector<bool> edited_;
  long row_ = -1;
};

}  // namespace vemko::gui
