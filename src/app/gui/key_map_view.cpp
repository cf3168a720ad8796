#include "app/gui/key_map_view.h"

#include <algorithm>
#include <cmath>
#include <wx/dcbuffer.h>
#include <wx/dcmemory.h>

#include "app/gui/accessible.h"
#include "app/gui/labels.h"
#include "app/gui/text.h"
#include "app/view/wave_flags.h"

namespace vemko::gui {
namespace {

constexpr int kLeftMargin = 34, kRightMargin = 10, kCaption = 22, kNames = 18;
constexpr int kLeastKeyboard = 18, kMostKeyboard = 48;

}  // namespace

KeyMapView::KeyMapView(wxWindow* parent) {
  SetBackgroundStyle(wxBG_STYLE_PAINT);
  Create(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
         wxWANTS_CHARS | wxFULL_REPAINT_ON_RESIZE | wxBORDER_NONE, "Key map");
  SetMinSize(FromDIP(wxSize(200, 100)));
  Bind(wxEVT_PAINT, &KeyMapView::onPaint, this);
  Bind(wxEVT_MOTION, &KeyMapView::onMotion, this);
  Bind(wxEVT_LEFT_DOWN, &KeyMapView::onLeftDown, this);
  Bind(wxEVT_LEFT_DCLICK, &KeyMapView::onLeftDown, this);
  Bind(wxEVT_KEY_DOWN, &KeyMapView::onKeyDown, this);
  Bind(wxEVT_LEAVE_WINDOW, [this](wxMouseEvent&) { setHot(std::nullopt, 0); });
  Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    picture_ = wxBitmap();
    event.Skip();
  });
  const auto repaint = [this](wxFocusEvent& event) {
    Refresh(false);
    event.Skip();
  };
  Bind(wxEVT_SET_FOCUS, repaint);
  Bind(wxEVT_KILL_FOCUS, repaint);
  setAccessibleRole(*this, "image");
  tellSelection();
  Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
    picture_ = wxBitmap();
    Refresh(false);
    event.Skip();
  });
}

void KeyMapView::show(Collection* collection, ItemId instrument) {
  collection_ = collection;
  const Item* item = collection && instrument != kNoItem ? collection->find(instrument) : nullptr;
  layout_.setRegions(item ? view::mapRegionsOf(*item) : std::vector<view::MapRegion>());
  overlap_ = layout_.meanOverlap();
  if (!regionOf(selected_)) selected_ = kNoItem;
  setHot(std::nullopt, 0);
  picture_ = wxBitmap();
  Refresh(false);
}

void KeyMapView::select(ItemId region) {
  selected_ = regionOf(region) ? region : kNoItem;
  tellSelection();
  Refresh(false);
}

void KeyMapView::tellSelection() {
  const view::MapRegion* region = regionOf(selected_);
  setAccessibleText(*this, "Key map", region ? describe(*region, ", ") : wxString());
}

const view::MapRegion* KeyMapView::regionOf(ItemId id) const {
  const auto index = layout_.indexOf(id);
  return index ? &layout_.regions()[*index] : nullptr;
}

void KeyMapView::selectByUser(std::optional<std::size_t> index) {
  const ItemId id = index ? layout_.regions()[*index].id : kNoItem;
  if (id == selected_) return;
  selected_ = id;
  tellSelection();
  Refresh(false);
  if (onRegionSelected && id != kNoItem) onRegionSelected(id);
}

void KeyMapView::onLeftDown(wxMouseEvent& event) {
  SetFocus();
  selectByUser(layout_.pick(event.GetX(), event.GetY(), layout_.indexOf(selected_)));
}

void KeyMapView::onMotion(wxMouseEvent& event) {
  const auto there = layout_.regionsAt(event.GetX(), event.GetY());
  const auto selected = layout_.indexOf(selected_);
  const bool isOnSelected = selected && std::ranges::find(there, *selected) != there.end();
  setHot(there.empty() ? std::nullopt : std::optional(isOnSelected ? *selected : there.front()),
         there.size());
}

void KeyMapView::setHot(std::optional<std::size_t> index, std::size_t regionsThere) {
  if (index == hot_) return;
  hot_ = index;
  Refresh(false);
  if (!index) return UnsetToolTip();
  wxString tip = describe(layout_.regions()[*index], "\n");
  if (regionsThere > 1) tip += wxString::Format("\n%zu regions here, click again for the next", regionsThere);
  SetToolTip(tip);
}

void KeyMapView::onKeyDown(wxKeyEvent& event) {
  const auto selected = layout_.indexOf(selected_);
  const auto go = [&](view::Direction direction) {
    const auto to = selected ? layout_.neighbour(*selected, direction) : layout_.next({}, true);
    if (to) selectByUser(to);
  };
  const auto step = [&](std::optional<std::size_t> from, bool forward) {
    if (const auto to = layout_.next(from, forward)) selectByUser(to);
  };
  switch (event.GetKeyCode()) {
    case WXK_LEFT:
      return go(view::Direction::Left);
    case WXK_RIGHT:
      return go(view::Direction::Right);
    case WXK_UP:
      return go(view::Direction::Up);
    case WXK_DOWN:
      return go(view::Direction::Down);
    case WXK_PAGEUP:
      return step(selected, false);
    case WXK_PAGEDOWN:
      return step(selected, true);
    case WXK_HOME:
      return step({}, true);
    case WXK_END:
      return step({}, false);
    case WXK_TAB:
      Navigate(event.ShiftDown() ? 0 : wxNavigationKeyEvent::IsForward);
      return;
    default:
      event.Skip();
  }
}

wxString KeyMapView::describe(const view::MapRegion& region, const wxString& separator) const {
  const Region* item = collection_ ? collection_->find<Region>(region.id) : nullptr;
  if (!item) return {};
  const auto range = [](const MidiRange& values) {
    return values.low == values.high ? wxString::Format("%d", values.low)
                                     : wxString::Format(L"%d\u2013%d", values.low, values.high);
  };
  wxString keys = keyText(region.keys.low);
  if (region.keys.high != region.keys.low) keys += wxString(L"\u2013") + keyText(region.keys.high);
  wxString text = shown(view::shortName(item->displayName()));
  text += separator + "Keys " + keys + ", velocity " + range(region.velocities);
  text += separator + "Root key " + keyText(region.rootKey);
  const Waveform* wave = item->waveform();
  text += separator +
          (wave ? "Waveform " + shown(view::shortName(wave->displayName())) : wxString("No waveform"));
  return text;
}

void KeyMapView::placeLayout() {
  const wxSize size = GetClientSize();
  const double names = FromDIP(kNames);
  const double keys = std::clamp(size.y / 6, FromDIP(kLeastKeyboard), FromDIP(kMostKeyboard));
  const view::Box area{static_cast<double>(FromDIP(kLeftMargin)), static_cast<double>(FromDIP(kCaption)),
                       std::max(1.0, static_cast<double>(size.x - FromDIP(kRightMargin))),
                       std::max(1.0, size.y - names - keys)};
  layout_.setArea(area);
  keyboard_ = {area.left, area.bottom, area.right, area.bottom + keys};
}

void KeyMapView::onPaint(wxPaintEvent&) {
  wxAutoBufferedPaintDC dc(this);
  const wxSize size = GetClientSize();
  if (size.x < 1 || size.y < 1) return;
  if (!picture_.IsOk()) {
    palette_ = currentPalette();
    placeLayout();
    picture_.CreateScaled(size.x, size.y, 24, GetContentScaleFactor());
    wxMemoryDC memory(picture_);
    std::unique_ptr<wxGraphicsContext> gc(wxGraphicsContext::Create(memory));
    if (gc) drawPicture(*gc);
  }
  dc.DrawBitmap(picture_, 0, 0);
  std::unique_ptr<wxGraphicsContext> gc(wxGraphicsContext::Create(dc));
  if (!gc) return;
  if (hot_) drawHighlight(*gc, layout_.regions()[*hot_], false);
  if (const view::MapRegion* region = regionOf(selected_)) drawHighlight(*gc, *region, true);
  drawCaption(*gc);
}

void KeyMapView::drawHighlight(wxGraphicsContext& gc, const view::MapRegion& region, bool isSelected) {
  const view::Box box = layout_.boxOf(region);
  const wxColour colour = layerColour(palette_, region.layer);
  gc.SetBrush(wxBrush(translucent(colour, isSelected ? 0.45 : 0.2)));
  gc.SetPen(gc.CreatePen(wxGraphicsPenInfo(isSelected ? palette_.text : colour).Width(isSelected ? 2 : 1)));
  gc.DrawRectangle(box.left, box.top, box.right - box.left, box.bottom - box.top);
  if (!isSelected) return;
  gc.SetPen(*wxTRANSPARENT_PEN);
  gc.SetBrush(wxBrush(translucent(palette_.focus, 0.35)));
  gc.DrawRectangle(box.left, keyboard_.top, box.right - box.left, keyboard_.bottom - keyboard_.top);
  // The root key's dot.
  const double left = layout_.xOfKey(region.rootKey), width = layout_.xOfKey(region.rootKey + 1) - left;
  const double radius = std::clamp(width * 0.35, 2.0, 5.0);
  const double share = view::isBlackKey(region.rootKey) ? 0.4 : 0.78;
  gc.SetBrush(wxBrush(palette_.focus));
  gc.SetPen(gc.CreatePen(wxGraphicsPenInfo(*wxWHITE).Width(1)));
  gc.DrawEllipse(left + width / 2 - radius,
                 keyboard_.top + share * (keyboard_.bottom - keyboard_.top) - radius, 2 * radius, 2 * radius);
}

void KeyMapView::drawCaption(wxGraphicsContext& gc) {
  const std::size_t count = layout_.regions().size();
  const view::MapRegion* region = hot_ ? &layout_.regions()[*hot_] : regionOf(selected_);
  wxString text;
  if (region)
    text = describe(*region, L"  \u00b7  ");
  else if (count > 0)
    text = countText(count, "region");
  gc.SetFont(GetFont().Scaled(0.9f), palette_.quietText);
  double height = 0;
  gc.GetTextExtent(text.empty() ? wxString("X") : text, nullptr, &height);
  gc.Clip(layout_.area().left, 0, layout_.area().right - layout_.area().left, layout_.area().top);
  gc.DrawText(text, layout_.area().left, std::floor((layout_.area().top - height) / 2));
  gc.ResetClip();
}

}  // namespace vemko::gui
