#pragma once
#include <vector>

#include "app/gui/properties_page.h"

class wxStaticBitmap;
class wxTextCtrl;

namespace vemko::gui {

/// The item's texts.
class TextPage : public PropertiesPage {
 public:
  TextPage(wxWindow* parent, const Item& item);
  bool store(Item& item) override;

 private:
  std::vector<std::pair<TextProperty, wxTextCtrl*>> fields_;
};

/// The item's picture.
class ImagePage : public PropertiesPage {
 public:
  ImagePage(wxWindow* parent, const Item& item);
  bool store(Item& item) override;

 private:
  void showImage();
  void load();

  std::vector<std::byte> image_;
  wxStaticBitmap* picture_;
};

}  // namespace vemko::gui
