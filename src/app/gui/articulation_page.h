#pragma once
#include <vector>

#include "app/gui/properties_page.h"

class wxCheckBox;
class wxChoice;
class wxFlexGridSizer;
class wxListBox;
class wxScrolledWindow;
class wxTextCtrl;

namespace vemko::gui {

/// The articulation of an instrument, layer or region by groups of slots. A slot that the level does not set
/// shows, greyed, what it inherits.
class ArticulationPage : public PropertiesPage {
 public:
  ArticulationPage(wxWindow* parent, const Item& item);
  bool store(Item& item) override;

  /// The articulation that an item of one of the three kinds holds; null for other kinds.
  static ArticulationBlock* blockOf(Item& item);

 private:
  struct SlotControls {
    Slot slot;
    wxCheckBox* set;
    wxTextCtrl* value;  // null for a choice
    wxChoice* choice;   // null for a number
  };

  SlotGroup group() const;
  void showGroup();
  void addSlot(wxFlexGridSizer& grid, Slot slot);
  void showValue(const SlotControls& controls);
  void valueEdited(const SlotControls& controls);
  void setToggled(const SlotControls& controls);
  float inherited(Slot slot) const;
  void copyGroup();
  void pasteGroup();
  void pasteAll();
  void showFailure();

  ArticulationBlock block_;
  ArticulationBlock above_;
  wxListBox* groups_;
  wxScrolledWindow* slots_;
  std::vector<SlotControls> controls_;
};

}  // namespace vemko::gui
