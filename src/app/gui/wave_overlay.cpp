// Rulers and flags of a waveform's picture.
#include <algorithm>
#include <array>
#include <cmath>

#include "app/gui/text.h"
#include "app/gui/wave_painter.h"
#include "app/view/ruler.h"

namespace vemko::gui {
namespace {

constexpr double kLabelGap = 3;      // between a line and its label
constexpr double kLeastLabel = 18;   // narrower room is left empty
constexpr double kRulerLabels = 88;  // between labels
constexpr double kArrowWidth = 12;
constexpr double kMinorTick = 3;
constexpr double kMajorTick = 7;

/// On a whole device pixel, so that lines are sharp.
double sharp(double x, const WaveScene& scene) { return std::floor(x * scene.pixelScale) / scene.pixelScale; }

/// As much of the text as fits, with an ellipsis where it was cut; empty when nothing fits.
wxString fitting(wxGraphicsContext& gc, const wxString& text, double room) {
  wxArrayDouble widths;
  gc.GetPartialTextExtents(text, widths);
  if (widths.empty() || widths.Last() <= room) return text;
  double ellipsis = 0;
  gc.GetTextExtent(L"\u2026", &ellipsis, nullptr);
  std::size_t length = 0;
  while (length < widths.size() && widths[length] + ellipsis <= room) ++length;
  return length == 0 ? wxString() : text.Left(length) + L"\u2026";
}

void drawText(wxGraphicsContext& gc, const wxString& text, double x, double middle) {
  double width = 0, height = 0, descent = 0, leading = 0;
  gc.GetTextExtent(text, &width, &height, &descent, &leading);
  gc.DrawText(text, x, std::floor(middle - height / 2));
}

wxColour colourOf(const WaveScene& scene, const view::Flag& flag) {
  const Palette& palette = scene.palette;
  if (flag.record.type == RecordType::PositionMarker) return palette.marker;
  if (flag.record.type == RecordType::SectionMarker) return palette.section;
  return flag.record.play == LoopPlay::Off ? mixed(palette.loop, palette.background, 0.45) : palette.loop;
}

bool isHandle(const std::optional<view::Handle>& handle, const view::Flag& flag, view::HandlePart part) {
  return handle && handle->recordId == flag.record.id && handle->part == part;
}

/// An arrow for the way a loop is played: to the right, to the left, both.
void drawArrow(wxGraphicsContext& gc, const wxColour& colour, LoopPlay play, double x, double middle) {
  const double end = x + kArrowWidth - 3, head = 2.6;
  wxGraphicsPath path = gc.CreatePath();
  path.MoveToPoint(x, middle);
  path.AddLineToPoint(end, middle);
  if (play == LoopPlay::Forward || play == LoopPlay::Alternating) {
    path.MoveToPoint(end - head, middle - head);
    path.AddLineToPoint(end, middle);
    path.AddLineToPoint(end - head, middle + head);
  }
  if (play == LoopPlay::Reverse || play == LoopPlay::Alternating) {
    path.MoveToPoint(x + head, middle - head);
    path.AddLineToPoint(x, middle);
    path.AddLineToPoint(x + head, middle + head);
  }
  gc.SetPen(gc.CreatePen(wxGraphicsPenInfo(colour).Width(1.3)));
  gc.StrokePath(path);
}

/// The line of one end through the waves, and its tab among the flags, which leans to `side`.
void drawEnd(wxGraphicsContext& gc, const WaveScene& scene, const view::Flag& flag, view::HandlePart part,
             double frame, int side) {
  const double x = sharp(scene.scale.xOf(frame), scene);
  const double tab = scene.flagMetrics.handleWidth;
  if (x < -tab || x > scene.areas.width + tab) return;
  const bool isActive = isHandle(scene.activeHandle, flag, part),
             isHot = isHandle(scene.hotHandle, flag, part);
  const wxColour colour = colourOf(scene, flag);
  const double top = scene.flagMetrics.top + flag.lane * scene.flagMetrics.laneHeight + 1;
  const double bottom = top + scene.flagMetrics.laneHeight - 2;
  const double lineEnd = scene.hidesLines && !isActive && !isHot ? bottom : scene.areas.waves;
  fillBox(gc, translucent(colour, isActive || isHot ? 1 : 0.75), x, top, isActive ? 2 : 1, lineEnd - top);
  wxGraphicsPath path = gc.CreatePath();
  path.MoveToPoint(x, top);
  path.AddLineToPoint(x + side * tab, top);
  path.AddLineToPoint(x + side * tab * 0.45, bottom);
  path.AddLineToPoint(x, bottom);
  path.CloseSubpath();
  gc.SetBrush(wxBrush(isHot ? mixed(colour, scene.palette.text, 0.25) : colour));
  if (isActive && scene.hasFocus)
    gc.SetPen(gc.CreatePen(wxGraphicsPenInfo(scene.palette.text).Width(1.5)));
  else
    gc.SetPen(*wxTRANSPARENT_PEN);
  gc.DrawPath(path);
}

void drawLabel(wxGraphicsContext& gc, const WaveScene& scene, const view::Flag& flag, double from,
               double to) {
  const double middle = scene.flagMetrics.top + (flag.lane + 0.5) * scene.flagMetrics.laneHeight;
  const bool hasArrow = flag.record.type == RecordType::Loop && flag.record.play != LoopPlay::Off;
  from += kLabelGap;
  to -= kLabelGap;
  if (hasArrow && to - from >= kArrowWidth) {
    drawArrow(gc, scene.palette.text, flag.record.play, from, middle);
    from += kArrowWidth + 1;
  }
  if (to - from < kLeastLabel) return;
  gc.SetFont(flag.isMainLoop ? scene.font.Bold() : scene.font, scene.palette.text);
  const wxString text = fitting(gc, shown(view::shortName(flag.record.name)), to - from);
  if (!text.empty()) drawText(gc, text, from, middle);
}

void drawSpan(wxGraphicsContext& gc, const WaveScene& scene, const view::Flag& flag) {
  const double left = std::max(-1.0, scene.scale.xOf(flag.first));
  const double right = std::min(scene.areas.width + 1, scene.scale.xOf(flag.end));
  const double top = scene.flagMetrics.top + flag.lane * scene.flagMetrics.laneHeight + 1;
  const double height = scene.flagMetrics.laneHeight - 2;
  const wxColour colour = colourOf(scene, flag);
  const bool isHot = isHandle(scene.hotHandle, flag, view::HandlePart::Whole);
  fillBox(gc, translucent(colour, isHot ? 0.4 : 0.24), left, top, std::max(1.0, right - left), height);
  const bool isSwapped = flag.record.startFrames() > flag.record.endFrames();
  using enum view::HandlePart;
  drawEnd(gc, scene, flag, isSwapped ? End : Start, flag.first, 1);
  drawEnd(gc, scene, flag, isSwapped ? Start : End, flag.end, -1);
  const double tab = scene.flagMetrics.handleWidth;
  drawLabel(gc, scene, flag, left + tab, right - tab);
}

void drawMarker(wxGraphicsContext& gc, const WaveScene& scene, const view::Flag& flag) {
  drawEnd(gc, scene, flag, view::HandlePart::Start, flag.first, 1);
  const double x = scene.scale.xOf(flag.first);
  const double tab = scene.flagMetrics.handleWidth;
  drawLabel(gc, scene, flag, x + tab, std::min(scene.scale.xOf(flag.labelEnd), scene.areas.width + 100));
}

void drawTicks(wxGraphicsContext& gc, const WaveScene& scene, const std::vector<view::Tick>& ticks,
               double top, double bottom, bool pointsUp) {
  fillBox(gc, scene.palette.panel, 0, top, scene.areas.width, bottom - top);
  const double pixel = 1 / scene.pixelScale;
  fillBox(gc, scene.palette.line, 0, pointsUp ? top : bottom - pixel, scene.areas.width, pixel);
  gc.SetFont(scene.font, scene.palette.quietText);
  for (const view::Tick& tick : ticks) {
    const double length = tick.isMajor ? kMajorTick : kMinorTick;
    fillBox(gc, scene.palette.line, sharp(tick.x, scene), pointsUp ? top : bottom - length, pixel, length);
  }
  for (const view::Tick& tick : ticks)
    if (tick.isMajor) drawText(gc, tick.label, tick.x + kLabelGap, (top + bottom) / 2 + (pointsUp ? 1 : -1));
}

}  // namespace

void drawLoopGround(wxGraphicsContext& gc, const WaveScene& scene) {
  if (!scene.flags) return;
  const auto flags = scene.flags->flags();
  const auto flag = std::ranges::find_if(flags, &view::Flag::isMainLoop);
  if (flag == flags.end() || !flag->isSpan()) return;
  const double left = std::max(-1.0, scene.scale.xOf(flag->first));
  const double right = std::min(scene.areas.width + 1, scene.scale.xOf(flag->end));
  fillBox(gc, translucent(colourOf(scene, *flag), 0.09), left, scene.areas.flags, std::max(0.0, right - left),
          scene.areas.waves - scene.areas.flags);
}

void drawFlags(wxGraphicsContext& gc, const WaveScene& scene) {
  if (!scene.flags || scene.flags->isEmpty()) return;
  const WaveAreas& areas = scene.areas;
  fillBox(gc, scene.palette.panel, 0, areas.timeRuler, areas.width, areas.flags - areas.timeRuler);
  gc.Clip(0, areas.timeRuler, areas.width, std::max(0.0, areas.waves - areas.timeRuler));
  std::array<int, view::WaveFlags::kMaxSpanLanes + 1> drawnTo;  // flags within one pixel are drawn once
  drawnTo.fill(-1);
  for (const view::Flag& flag : scene.flags->flags()) {
    const double left = scene.scale.xOf(flag.first), right = scene.scale.xOf(flag.end);
    const double reach = flag.isSpan() ? 0 : 400;  // of a marker's label
    if (left > areas.width + 20) break;
    if (right < -reach - 20) continue;
    int& drawn = drawnTo[static_cast<std::size_t>(flag.lane)];
    const int pixel = static_cast<int>(right);
    if (right - left < 1 && pixel == drawn) continue;
    drawn = pixel;
    flag.isSpan() ? drawSpan(gc, scene, flag) : drawMarker(gc, scene, flag);
  }
  gc.ResetClip();
  fillBox(gc, scene.palette.line, 0, areas.flags - 1 / scene.pixelScale, areas.width, 1 / scene.pixelScale);
}

void drawRulers(wxGraphicsContext& gc, const WaveScene& scene) {
  const WaveAreas& areas = scene.areas;
  drawTicks(gc, scene, view::timeTicks(scene.scale, scene.rate, kRulerLabels), 0, areas.timeRuler, false);
  drawTicks(gc, scene, view::frameTicks(scene.scale, kRulerLabels), areas.waves, areas.bottom, true);
}

}  // namespace vemko::gui
