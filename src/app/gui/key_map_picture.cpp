// What of the key map stays the same while regions are selected.
#include <algorithm>
#include <cmath>
#include <iterator>

#include "app/gui/key_map_view.h"
#include "app/gui/labels.h"

namespace vemko::gui {
namespace {

constexpr double kMostOpaque = 0.34, kLeastOpaque = 0.05;  // of a region's fill
constexpr double kFadeOpacity = 0.35;                      // of that, where a cross-fade cuts the region
constexpr double kBlackKeyLength = 0.62;
constexpr double kLeastKeyWidth = 3;  // narrower white keys are drawn without lines between them
constexpr int kVelocityMarks[] = {0, 32, 64, 96, 127};

wxGraphicsPath pathOf(wxGraphicsContext& gc, const std::vector<view::Point>& corners) {
  wxGraphicsPath path = gc.CreatePath();
  if (corners.empty()) return path;
  path.MoveToPoint(corners[0].x, corners[0].y);
  for (const view::Point& corner : corners) path.AddLineToPoint(corner.x, corner.y);
  path.CloseSubpath();
  return path;
}

}  // namespace

void KeyMapView::drawPicture(wxGraphicsContext& gc) {
  const wxSize size = GetClientSize();
  fillBox(gc, palette_.panel, 0, 0, size.x, size.y);
  drawGrid(gc);
  drawRegions(gc);
  drawKeyboard(gc);
  drawKeyNames(gc);
  if (!layout_.regions().empty()) return;
  const view::Box& area = layout_.area();
  const wxString text = "No instrument is selected";
  double width = 0, height = 0;
  gc.SetFont(GetFont(), palette_.quietText);
  gc.GetTextExtent(text, &width, &height);
  gc.DrawText(text, std::floor((area.left + area.right - width) / 2),
              std::floor((area.top + area.bottom - height) / 2));
}

void KeyMapView::drawGrid(wxGraphicsContext& gc) {
  const view::Box& area = layout_.area();
  fillBox(gc, palette_.background, area.left, area.top, area.right - area.left, area.bottom - area.top);
  for (int key = 0; key < view::KeyMapLayout::kKeys; key += 12)
    fillBox(gc, palette_.faintLine, std::floor(layout_.xOfKey(key)), area.top, 1, area.bottom - area.top);
  gc.SetFont(GetFont().Scaled(0.8f), palette_.quietText);
  double lastTop = 1e9;
  for (int velocity : kVelocityMarks) {
    const double y = std::floor(layout_.yOfVelocity(velocity == 127 ? 128 : velocity));
    if (velocity != 0) fillBox(gc, palette_.faintLine, area.left, y, area.right - area.left, 1);
    const wxString text = wxString::Format("%d", velocity);
    double width = 0, height = 0;
    gc.GetTextExtent(text, &width, &height);
    const double top = std::clamp(y - height / 2, area.top - height / 3, area.bottom - height);
    if (top + height > lastTop) continue;
    lastTop = top;
    gc.DrawText(text, std::floor(area.left - width - FromDIP(5)), std::floor(top));
  }
}

void KeyMapView::drawRegions(wxGraphicsContext& gc) {
  const double opacity = std::clamp(kMostOpaque / std::sqrt(overlap_), kLeastOpaque, kMostOpaque);
  gc.SetAntialiasMode(wxANTIALIAS_NONE);
  for (const view::MapRegion& region : layout_.regions()) {
    const view::Box box = layout_.boxOf(region);
    const wxColour colour = layerColour(palette_, region.layer);
    const double left = std::floor(box.left), top = std::floor(box.top);
    const double width = std::max(1.0, std::floor(box.right) - left);
    const double height = std::max(1.0, std::floor(box.bottom) - top);
    const bool fades = view::KeyMapLayout::hasFades(region);
    gc.SetBrush(wxBrush(translucent(colour, fades ? opacity * kFadeOpacity : opacity)));
    gc.SetPen(*wxTRANSPARENT_PEN);
    gc.DrawRectangle(left, top, width, height);
    if (!fades) continue;
    gc.SetAntialiasMode(wxANTIALIAS_DEFAULT);
    const wxGraphicsPath path = pathOf(gc, layout_.outlineOf(region));
    gc.SetBrush(wxBrush(translucent(colour, opacity)));
    gc.FillPath(path);
    gc.SetPen(gc.CreatePen(wxGraphicsPenInfo(translucent(colour, 0.8)).Width(1)));
    gc.StrokePath(path);
    gc.SetAntialiasMode(wxANTIALIAS_NONE);
  }
  const double lineOpacity = std::clamp(1.2 / std::sqrt(overlap_), 0.25, 0.85);
  for (const view::MapRegion& region : layout_.regions()) {
    const view::Box box = layout_.boxOf(region);
    const double left = std::floor(box.left), top = std::floor(box.top);
    const double right = std::max(left + 1, std::floor(box.right)),
                 bottom = std::max(top + 1, std::floor(box.bottom));
    const wxColour colour = translucent(layerColour(palette_, region.layer), lineOpacity);
    fillBox(gc, colour, left, top, right - left, 1);
    fillBox(gc, colour, left, top + 1, 1, bottom - top - 1);
    fillBox(gc, colour, right - 1, top + 1, 1, bottom - top - 1);
    fillBox(gc, colour, left + 1, bottom - 1, right - left - 2, 1);
  }
  gc.SetAntialiasMode(wxANTIALIAS_DEFAULT);
}

void KeyMapView::drawKeyboard(wxGraphicsContext& gc) {
  const double top = keyboard_.top, height = keyboard_.bottom - keyboard_.top;
  fillBox(gc, palette_.whiteKey, keyboard_.left, top, keyboard_.right - keyboard_.left, height);
  const double keyWidth = layout_.xOfKey(1) - layout_.xOfKey(0);
  const wxColour border = mixed(palette_.whiteKey, palette_.blackKey, 0.35);
  // Every key has the same width on top; below, neighbouring white keys meet under the black one between
  // them.
  for (int key = 1; key < view::KeyMapLayout::kKeys; ++key) {
    const double left = layout_.xOfKey(key);
    if (view::isBlackKey(key)) {
      if (keyWidth >= kLeastKeyWidth) fillBox(gc, border, std::floor(left + keyWidth / 2), top, 1, height);
      fillBox(gc, palette_.blackKey, std::floor(left), top,
              std::max(1.0, std::floor(left + keyWidth) - std::floor(left)),
              std::floor(height * kBlackKeyLength));
    } else if (!view::isBlackKey(key - 1) && keyWidth >= kLeastKeyWidth) {
      fillBox(gc, border, std::floor(left), top, 1, height);
    }
  }
  const wxColour edge = palette_.line;
  fillBox(gc, edge, keyboard_.left, top, keyboard_.right - keyboard_.left, 1);
  fillBox(gc, edge, keyboard_.left, keyboard_.bottom - 1, keyboard_.right - keyboard_.left, 1);
  fillBox(gc, edge, keyboard_.left, layout_.area().top, 1, keyboard_.bottom - layout_.area().top);
  fillBox(gc, edge, keyboard_.right - 1, layout_.area().top, 1, keyboard_.bottom - layout_.area().top);
}

void KeyMapView::drawKeyNames(wxGraphicsContext& gc) {
  gc.SetFont(GetFont().Scaled(0.8f), palette_.quietText);
  double lastRight = -1e9;
  for (int key = 0; key < view::KeyMapLayout::kKeys; key += 12) {
    const wxString name = keyText(key);
    double width = 0, height = 0;
    gc.GetTextExtent(name, &width, &height);
    const double x = std::floor(layout_.xOfKey(key));
    fillBox(gc, palette_.line, x, keyboard_.bottom, 1, FromDIP(4));
    if (x < lastRight + FromDIP(6)) continue;
    gc.DrawText(name, x + FromDIP(3), std::floor(keyboard_.bottom + FromDIP(1)));
    lastRight = x + width;
  }
}

}  // namespace vemko::gui
