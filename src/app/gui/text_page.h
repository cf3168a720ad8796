#pragma once
#include <vector>

#include "app/gui/properties_page.h"

class wxStaticBitmap;
class wxStaticText;
class wxTextCtrl;

namespace vemko::gui {

/// The items' texts.
class TextPage : public PropertiesPage {
 public:
  TextPage(wxWindow* parent, Items items);
  void store() override;

 private:
  struct Field {
    TextProperty property;
    wxTextCtrl* control;
    bool isEdited = false;
  };
  std::vector<Field> fields_;
};

/// The items' picture.
class ImagePage : public PropertiesPage {
 public:
  ImagePage(wxWindow* parent, Items items);
  void store() override;

 private:
  void showImage();
  void imageEdited();
  void load();

  std::vector<std::byte> image_;  // where the items agree
  bool isSame_ = true;
  wxStaticBitmap* picture_;
  wxStaticText* caption_;
};

}  // namespace vemko::gui
