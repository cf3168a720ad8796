#pragma once
#include <functional>
#include <optional>
#include <vector>

#include "app/document/level_edit.h"
#include "app/gui/clipboard.h"
#include "app/gui/properties_page.h"

class wxButton;
class wxCheckBox;
class wxChoice;
class wxFlexGridSizer;
class wxListBox;
class wxScrolledWindow;
class wxTextCtrl;

namespace vemko::gui {

/// The articulation of instruments, layers or regions by groups of slots. A slot that a level does not set
/// shows, greyed, what it inherits.
class ArticulationPage : public PropertiesPage {
 public:
  ArticulationPage(wxWindow* parent, Items items);
  void store() override;

 private:
  struct Level {
    ArticulationBlock block, above;
    float value(Slot slot) const { return (block.isSet(slot) ? block : above).get(slot); }
  };
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
  std::optional<float> commonValue(Slot slot) const;
  void pasteSlots(app::ClipboardFormat format,
                  const std::function<void(const app::CopiedSlots&, ArticulationBlock&)>& paste);
  void showFailure();

  std::vector<Level> levels_;  // by item
  wxListBox* groups_;
  wxScrolledWindow* slots_;
  wxButton *copy_, *paste_, *reset_;
  std::vector<SlotControls> controls_;
};

}  // namespace vemko::gui
