#include <algorithm>
#include <cmath>
#include <utility>

#include "app/gui/wave_canvas.h"

namespace vemko::gui {
namespace {

constexpr double kKeyZoom = 1.5;
constexpr double kArrowScroll = 0.05;  // of the width
constexpr double kPage = 0.9;          // of the width
constexpr double kFastPixels = 8;      // a handle's way with Ctrl, ten frames at least
constexpr double kLeastFast = 10;
constexpr int kKeysPauseMs = 700;  // arrow keys with shorter pauses are one step

}  // namespace

void WaveCanvas::bindKeys() {
  Bind(wxEVT_KEY_DOWN, &WaveCanvas::onKeyDown, this);
  Bind(wxEVT_CHAR, &WaveCanvas::onChar, this);
  Bind(
      wxEVT_TIMER, [this](wxTimerEvent&) { commitKeys(); }, keysTimer_.GetId());
}

/// Tab and Shift+Tab go through the handles and then on to the next control (with Ctrl at once). Left and
/// Right move the active handle by a frame, with Ctrl by eight pixels, with Shift to the next zero crossing;
/// without a handle they scroll, and with Shift change the selection. Home and End show the ends, Page Up and
/// Page Down scroll by a page, Up and Down zoom, Escape gives up handle and selection.
void WaveCanvas::onKeyDown(wxKeyEvent& event) {
  // What follows may be a command like "Undo", which has to find the step.
  if (event.GetKeyCode() == WXK_CONTROL || event.GetKeyCode() == WXK_ALT) commitKeys();
  if (!waveform() || event.AltDown()) return event.Skip();
  switch (event.GetKeyCode()) {
    case WXK_TAB:
      if (event.ControlDown())
        Navigate(event.ShiftDown() ? 0 : wxNavigationKeyEvent::IsForward);
      else
        cycleHandles(!event.ShiftDown());
      return;
    case WXK_LEFT:
    case WXK_RIGHT: {
      const int direction = event.GetKeyCode() == WXK_LEFT ? -1 : 1;
      if (moveHandle(direction, event)) return;
      return moveCaret(direction, event);
    }
    case WXK_UP:
      return zoom(1 / kKeyZoom);
    case WXK_DOWN:
      return zoom(kKeyZoom);
    case WXK_HOME:
      return scrollTo(0);
    case WXK_END:
      return scrollTo(scale_.frames());
    case WXK_PAGEUP:
      return scrollTo(scale_.firstFrame() - kPage * scale_.visibleFrames());
    case WXK_PAGEDOWN:
      return scrollTo(scale_.firstFrame() + kPage * scale_.visibleFrames());
    case WXK_ESCAPE:
      return escape();
    case 'A':
      if (!event.ControlDown()) break;
      return setSelection(tools::FrameRange{0, scale_.frames()});
    default:
      break;
  }
  event.Skip();
}

void WaveCanvas::onChar(wxKeyEvent& event) {
  switch (event.GetUnicodeKey()) {
    case '+':
    case '=':
      return zoom(1 / kKeyZoom);
    case '-':
      return zoom(kKeyZoom);
    case '0':
      return showAll();
    default:
      event.Skip();
  }
}

bool WaveCanvas::moveHandle(int direction, const wxKeyEvent& event) {
  const view::Flag* flag = active_ ? flags_.find(active_->recordId) : nullptr;
  if (!flag) return false;
  if (!keysOriginal_) keysOriginal_ = flag->record;
  const bool isEnd = active_->part == view::HandlePart::End;
  const std::int64_t now = isEnd ? flag->record.end : flag->record.start;
  std::int64_t frame = now + direction;
  if (event.ControlDown())
    frame = now + direction *
                      static_cast<std::int64_t>(std::max(kLeastFast, scale_.framesPerPixel() * kFastPixels));
  if (event.ShiftDown()) {
    // The crossing nearest to a place some way ahead; where that is behind, there is none ahead.
    const auto ahead = static_cast<std::int64_t>(std::max(kLeastFast, scale_.framesPerPixel() * kFastPixels));
    const std::int64_t place = std::clamp<std::int64_t>(now + direction * ahead, 0, scale_.frames());
    frame = snapped(static_cast<std::uint32_t>(place));
    if ((frame - now) * direction <= 0) return true;
  }
  keysMoved_ = view::movedRecord(flag->record, active_->part, frame, scale_.frames());
  flags_.replace(*keysMoved_);
  if (const auto at = flags_.frameOf(*active_)) scale_.reveal(*at);
  keysTimer_.StartOnce(kKeysPauseMs);
  tellHandle();
  viewChanged();
  return true;
}

void WaveCanvas::moveCaret(int direction, const wxKeyEvent& event) {
  const double step = direction * std::max(1.0, scale_.framesPerPixel() * (event.ControlDown() ? 20 : 1));
  if (!event.ShiftDown()) {
    scrollTo(scale_.firstFrame() +
             direction * scale_.visibleFrames() * (event.ControlDown() ? kPage : kArrowScroll));
    return;
  }
  // The caret stays where the selection began; the other end moves.
  if (!caret_)
    caret_ = selection_ ? selection_->start : std::max(0.0, std::round(scale_.frameAt(scale_.width() / 2.0)));
  const auto anchor = static_cast<std::uint32_t>(*caret_);
  const double end = !selection_ ? anchor : selection_->start == anchor ? selection_->end : selection_->start;
  const double moved = std::clamp(std::round(end + step), 0.0, static_cast<double>(scale_.frames()));
  scale_.reveal(moved);
  setSelection(tools::FrameRange{anchor, static_cast<std::uint32_t>(moved)});
  viewChanged();
}

void WaveCanvas::cycleHandles(bool forward) {
  commitKeys();
  active_ = flags_.next(active_, forward);
  if (!active_) {
    Refresh(false);
    Navigate(forward ? wxNavigationKeyEvent::IsForward : 0);
    return;
  }
  if (const auto frame = flags_.frameOf(*active_)) scale_.reveal(*frame);
  tellHandle();
  viewChanged();
}

void WaveCanvas::escape() {
  if (drag_.kind != DragKind::None) return endDrag(false);
  if (keysOriginal_) {
    keysTimer_.Stop();
    flags_.replace(*keysOriginal_);
    keysOriginal_ = keysMoved_ = std::nullopt;
  } else if (active_) {
    active_ = std::nullopt;
  } else {
    caret_ = std::nullopt;
    setSelection(std::nullopt);
  }
  viewChanged();
}

void WaveCanvas::commitKeys() {
  keysTimer_.Stop();
  const auto original = std::exchange(keysOriginal_, std::nullopt);
  const auto moved = std::exchange(keysMoved_, std::nullopt);
  if (original && moved) commit(*original, *moved);
}

}  // namespace vemko::gui
