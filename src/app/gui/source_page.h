#pragma once
#include "app/gui/properties_page.h"

namespace vemko::gui {

class FieldPage;

/// Where waveforms' samples come from. Samples that were imported as raw data can be taken in another format
/// here.
class SourcePage : public PropertiesPage {
 public:
  SourcePage(wxWindow* parent, Items waveforms);
  bool check() override;
  void store() override;
  bool isModified() const override;

 private:
  FieldPage* format_ = nullptr;  // of raw samples
};

}  // namespace vemko::gui
