#pragma once
#include <functional>
#include <optional>
#include <wx/bitmap.h>
#include <wx/graphics.h>
#include <wx/window.h>

#include "app/gui/drawing.h"
#include "app/gui/palette.h"
#include "app/view/key_map_layout.h"
#include "core/collection.h"

namespace vemko::gui {

/// The regions of an instrument over a keyboard, by key and velocity, a colour for each layer. A click
/// selects the region on top, another click there the one below it; arrow keys lead to the neighbours, Page
/// Up and Page Down through all regions, Home and End to the first and the last.
class KeyMapView : public wxWindow {
 public:
  explicit KeyMapView(wxWindow* parent);

  /// An instrument, layer or region; anything else shows nothing. Also after every change of what is shown.
  void show(Collection* collection, ItemId instrument);
  /// kNoItem selects none. Does not call onRegionSelected.
  void select(ItemId region);

  std::function<void(ItemId region)> onRegionSelected;  ///< By the user.

 private:
  void onPaint(wxPaintEvent& event);
  void onMotion(wxMouseEvent& event);
  void onLeftDown(wxMouseEvent& event);
  void onKeyDown(wxKeyEvent& event);
  void selectByUser(std::optional<std::size_t> index);
  void tellSelection();
  void setHot(std::optional<std::size_t> index, std::size_t regionsThere);

  const view::MapRegion* regionOf(ItemId id) const;
  void placeLayout();
  void drawPicture(wxGraphicsContext& gc);
  void drawGrid(wxGraphicsContext& gc);
  void drawRegions(wxGraphicsContext& gc);
  void drawKeyboard(wxGraphicsContext& gc);
  void drawKeyNames(wxGraphicsContext& gc);
  void drawHighlight(wxGraphicsContext& gc, const view::MapRegion& region, bool isSelected);
  void drawCaption(wxGraphicsContext& gc);
  wxString describe(const view::MapRegion& region, const wxString& separator) const;

  Collection* collection_ = nullptr;
  ItemId selected_ = kNoItem;
  std::optional<std::size_t> hot_;
  view::KeyMapLayout layout_;
  view::Box keyboard_;
  double overlap_ = 1;
  wxBitmap picture_;  // all but selection and caption; made anew when invalid
  Palette palette_;
};

}  // namespace vemko::gui
