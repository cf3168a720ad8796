#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <wx/cursor.h>

#include "app/gui/text.h"
#include "app/gui/wave_canvas.h"

namespace vemko::gui {
namespace {

constexpr int kDragThreshold = 3;
constexpr double kWheelZoom = 1.25;   // for a notch
constexpr double kWheelScroll = 0.1;  // of the width for a notch
constexpr int kAutoScrollMs = 30;
constexpr double kAutoScrollShare = 0.25;  // of how far the pointer is outside, each time

}  // namespace

void WaveCanvas::bindMouse() {
  Bind(wxEVT_LEFT_DOWN, &WaveCanvas::onLeftDown, this);
  Bind(wxEVT_LEFT_UP, &WaveCanvas::onLeftUp, this);
  Bind(wxEVT_LEFT_DCLICK, &WaveCanvas::onDoubleClick, this);
  Bind(wxEVT_MOTION, &WaveCanvas::onMotion, this);
  Bind(wxEVT_MOUSEWHEEL, &WaveCanvas::onWheel, this);
  Bind(wxEVT_TIMER, &WaveCanvas::onAutoScroll, this, autoScroll_.GetId());
  Bind(wxEVT_MOUSE_CAPTURE_LOST, [this](wxMouseCaptureLostEvent&) { endDrag(false); });
  Bind(wxEVT_LEAVE_WINDOW, [this](wxMouseEvent& event) {
    if (drag_.kind == DragKind::None) {
      showHot(std::nullopt, false);
      pointer_ = std::nullopt;
      tellStatus();
    }
    event.Skip();
  });
}

void WaveCanvas::onLeftDown(wxMouseEvent& event) {
  SetFocus();
  commitKeys();
  if (!waveform()) return;
  const auto handle = flags_.hit(scale_, flagMetrics(), event.GetX(), event.GetY(), active_);
  drag_ = {};
  drag_.start = event.GetPosition();
  const view::Flag* flag = handle ? flags_.find(handle->recordId) : nullptr;
  if (flag) {
    drag_.kind = DragKind::Handle;
    drag_.original = drag_.moved = flag->record;
    if (handle->part == view::HandlePart::Whole)
      drag_.grabOffset = std::int64_t{scale_.boundaryAt(event.GetX())} - flag->record.start;
    active_ = handle;
  } else if (event.GetY() >= areas().flags && event.GetY() < areas().waves) {
    drag_.kind = DragKind::Selection;
    active_ = std::nullopt;
    drag_.anchor = scale_.boundaryAt(event.GetX());
    if (event.ShiftDown() && (selection_ || caret_)) {
      const std::uint32_t frame = drag_.anchor;
      drag_.anchor = selection_ ? selection_->start : static_cast<std::uint32_t>(*caret_);
      if (selection_ && frame < selection_->start + (selection_->end - selection_->start) / 2)
        drag_.anchor = selection_->end;
      setSelection(tools::FrameRange{drag_.anchor, frame});
    } else {
      caret_ = drag_.anchor;
      setSelection(std::nullopt);
    }
  } else {
    active_ = std::nullopt;
    Refresh(false);
    return;
  }
  CaptureMouse();
  Refresh(false);
  tellStatus();
}

void WaveCanvas::onMotion(wxMouseEvent& event) {
  pointer_ = scale_.frameAt(event.GetX());
  if (drag_.kind == DragKind::None) {
    const bool isOverWaves = event.GetY() >= areas().flags && event.GetY() < areas().waves;
    showHot(flags_.hit(scale_, flagMetrics(), event.GetX(), event.GetY(), active_), isOverWaves);
    tellStatus();
    return;
  }
  if (!drag_.hasMoved && std::abs(event.GetX() - drag_.start.x) < FromDIP(kDragThreshold)) return;
  drag_.hasMoved = true;
  dragTo(event.GetX(), event.ShiftDown() && drag_.kind == DragKind::Handle);
  const bool isOutside = event.GetX() < 0 || event.GetX() > scale_.width();
  if (isOutside && !autoScroll_.IsRunning()) autoScroll_.Start(kAutoScrollMs);
  if (!isOutside) autoScroll_.Stop();
}

void WaveCanvas::dragTo(int x, bool snaps) {
  const std::uint32_t frame = scale_.boundaryAt(x);
  if (drag_.kind == DragKind::Selection) {
    caret_ = std::nullopt;
    setSelection(tools::FrameRange{drag_.anchor, frame});
    return;
  }
  std::int64_t target = std::int64_t{frame} - drag_.grabOffset;
  if (snaps)
    target = snapped(static_cast<std::uint32_t>(std::clamp<std::int64_t>(target, 0, scale_.frames())));
  drag_.moved = view::movedRecord(drag_.original, active_->part, target, scale_.frames());
  flags_.replace(drag_.moved);
  Refresh(false);
  tellStatus();
}

void WaveCanvas::onLeftUp(wxMouseEvent&) { endDrag(true); }

void WaveCanvas::endDrag(bool keep) {
  autoScroll_.Stop();
  if (HasCapture()) ReleaseMouse();
  const Drag drag = std::exchange(drag_, {});
  if (drag.kind != DragKind::Handle || !drag.hasMoved) return;
  if (keep)
    commit(drag.original, drag.moved);
  else
    flags_.replace(drag.original);
  Refresh(false);
}

void WaveCanvas::onDoubleClick(wxMouseEvent& event) {
  const auto handle = flags_.hit(scale_, flagMetrics(), event.GetX(), event.GetY(), active_);
  const view::Flag* flag = handle ? flags_.find(handle->recordId) : nullptr;
  if (flag && flag->isSpan())
    setSelection(tools::FrameRange{static_cast<std::uint32_t>(flag->first),
                                   static_cast<std::uint32_t>(std::ceil(flag->end))});
}

void WaveCanvas::onWheel(wxMouseEvent& event) {
  const double notches = static_cast<double>(event.GetWheelRotation()) / std::max(1, event.GetWheelDelta());
  const bool isSideways = event.GetWheelAxis() == wxMOUSE_WHEEL_HORIZONTAL;
  if (isSideways || event.ShiftDown())
    scale_.scrollBy((isSideways ? notches : -notches) * kWheelScroll * scale_.width());
  else
    scale_.zoom(std::pow(kWheelZoom, -notches), event.GetX());
  pointer_ = scale_.frameAt(event.GetX());
  if (drag_.hasMoved) dragTo(event.GetX(), false);
  viewChanged();
}

void WaveCanvas::onAutoScroll(wxTimerEvent&) {
  const int x = ScreenToClient(wxGetMousePosition()).x;
  const int outside = x < 0 ? x : std::max(0, x - scale_.width());
  if (outside == 0 || drag_.kind == DragKind::None) return autoScroll_.Stop();
  scale_.scrollBy(outside * kAutoScrollShare);
  dragTo(std::clamp(x, 0, scale_.width()), wxGetKeyState(WXK_SHIFT) && drag_.kind == DragKind::Handle);
  viewChanged();
}

void WaveCanvas::showHot(std::optional<view::Handle> handle, bool isOverWaves) {
  const bool isSizing = handle && handle->part != view::HandlePart::Whole;
  const wxStockCursor cursor = isSizing      ? wxCURSOR_SIZEWE
                               : handle      ? wxCURSOR_HAND
                               : isOverWaves ? wxCURSOR_IBEAM
                                             : wxCURSOR_ARROW;
  if (std::exchange(cursor_, cursor) != cursor) SetCursor(wxCursor(cursor));
  if (handle == hot_) return;
  hot_ = handle;
  const view::Flag* flag = handle ? flags_.find(handle->recordId) : nullptr;
  const Waveform* wave = waveform();
  if (flag && wave)
    SetToolTip(shown(view::recordDescription(flag->record, flag->isMainLoop, wave->rate)));
  else
    UnsetToolTip();
  Refresh(false);
}

}  // namespace vemko::gui
