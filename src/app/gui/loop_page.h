#pragma once
#include <vector>

#include "app/gui/properties_page.h"

class wxListCtrl;

namespace vemko::gui {

/// A waveform's loops, sections and markers.
class LoopPage : public PropertiesPage {
 public:
  LoopPage(wxWindow* parent, Waveform& waveform);
  void store() override;

 private:
  void showRecords(long selected);
  long selected() const;
  void add();
  void edit();
  void remove();
  void makeMain();
  void copy();
  void paste();

  std::vector<LoopRecord> records_;
  std::uint32_t mainLoopId_;
  std::uint32_t frames_;
  wxListCtrl* list_;
};

}  // namespace vemko::gui
