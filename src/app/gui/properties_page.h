#pragma once
#include <wx/panel.h>

#include "core/collection.h"

namespace vemko::gui {

/// One page of the properties dialog. Shows what the item holds and, when the user is done, brings it back.
class PropertiesPage : public wxPanel {
 public:
  PropertiesPage(wxWindow* parent) : wxPanel(parent) {}

  /// Writes the fields into the item. False with the last error message set, and the field that is wrong
  /// focused, when one cannot be taken; nothing was written then.
  virtual bool store(Item& item) = 0;
  bool isModified() const { return modified_; }

 protected:
  void noteModified() { modified_ = true; }

 private:
  bool modified_ = false;
};

}  // namespace vemko::gui
