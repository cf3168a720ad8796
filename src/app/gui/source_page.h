#pragma once
#include "app/gui/properties_page.h"

namespace vemko::gui {

/// Where a waveform's samples come from and what they are like; nothing to change.
class SourcePage : public PropertiesPage {
 public:
  SourcePage(wxWindow* parent, const Waveform& waveform);
  bool store(Item&) override { return true; }
};

}  // namespace vemko::gui
