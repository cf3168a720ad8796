#include "app/gui/wave_painter.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace vemko::gui {
namespace {

constexpr double kFramesOfLine = 0.5;  // frames per device pixel up to which samples are joined by a line
constexpr double kPixelsOfDots = 6;    // device pixels per frame from which samples are dots
constexpr double kOverlaid = 0.6;      // opacity of channels that lie over each other
constexpr double kLaneMargin = 3;      // above and below a channel

/// Where a channel is drawn.
struct Lane {
  double top, bottom;
  double middle() const { return (top + bottom) / 2; }
  double half() const { return (bottom - top) / 2; }
  double yOf(float sample) const {
    return middle() - std::clamp(std::isfinite(sample) ? double{sample} : 0.0, -1.0, 1.0) * half();
  }
};

Lane laneOf(const WaveScene& scene, unsigned channel) {
  const unsigned lanes = scene.isSplit ? std::max(1u, scene.channels) : 1;
  const double height = (scene.areas.waves - scene.areas.flags) / lanes;
  const double top = scene.areas.flags + (scene.isSplit ? channel : 0) * height;
  const double margin = std::min(kLaneMargin, height / 8);
  return {top + margin, top + height - margin};
}

// Where channels lie over each other, lines are told apart by their colour, and bars show what they share.
wxColour lineColour(const WaveScene& scene, unsigned channel) {
  constexpr std::size_t kOthers[] = {4, 2, 1, 3};  // of the layers' colours: red first
  if (scene.isSplit || channel == 0) return scene.palette.wave;
  return layerColour(scene.palette, kOthers[(channel - 1) % std::size(kOthers)]);
}

bool areOverlaid(const WaveScene& scene) { return !scene.isSplit && scene.channels > 1; }

std::optional<Peak> columnPeak(const WaveScene& scene, unsigned channel, double from, double to) {
  const auto first = static_cast<std::uint64_t>(std::max(0.0, std::floor(from)));
  const auto end = std::min<std::uint64_t>(scene.scale.frames(),
                                           std::max(first + 1, static_cast<std::uint64_t>(std::ceil(to))));
  if (first >= end) return std::nullopt;
  const FrameSpan& samples = scene.samples;
  if (to - from < kPyramidFrames && samples.covers(first, end)) {
    // One frame more, so that neighbouring columns touch.
    const std::uint64_t joined = first > samples.first ? first - 1 : first;
    const auto part =
        samples.samples.subspan(static_cast<std::size_t>(joined - samples.first) * samples.channels,
                                static_cast<std::size_t>(end - joined) * samples.channels);
    return peakOf(part, samples.channels, channel);
  }
  return scene.pyramid ? scene.pyramid->peak(channel, first, end) : std::nullopt;
}

/// Bars of one device pixel's width and at least that height.
struct Bars {
  wxGraphicsPath path;
  double pixel;
  void add(double x, double top, double bottom) {
    top = std::floor(top / pixel) * pixel;
    bottom = std::max(top + pixel, std::ceil(bottom / pixel) * pixel);
    path.AddRectangle(x, top, pixel, bottom - top);
  }
};

void drawColumns(wxGraphicsContext& gc, const WaveScene& scene, unsigned channel) {
  const Lane lane = laneOf(scene, channel);
  const double pixel = 1 / scene.pixelScale;
  Bars extremes{gc.CreatePath(), pixel}, body{gc.CreatePath(), pixel};
  const int columns = static_cast<int>(std::ceil(scene.areas.width * scene.pixelScale));
  for (int column = 0; column < columns; ++column) {
    const double x = column * pixel;
    const auto peak = columnPeak(scene, channel, scene.scale.frameAt(x), scene.scale.frameAt(x + pixel));
    if (!peak || !(peak->low <= peak->high)) continue;
    if (!scene.isFilled) {
      extremes.add(x, lane.yOf(peak->high), lane.yOf(peak->high));
      extremes.add(x, lane.yOf(peak->low), lane.yOf(peak->low));
      continue;
    }
    extremes.add(x, lane.yOf(peak->high), lane.yOf(peak->low));
    const float level = std::sqrt(peak->power);
    const float high = std::min(peak->high, level), low = std::max(peak->low, -level);
    if (high > low) body.add(x, lane.yOf(high), lane.yOf(low));
  }
  gc.SetPen(*wxTRANSPARENT_PEN);
  gc.SetBrush(wxBrush(translucent(scene.palette.wave, areOverlaid(scene) ? kOverlaid : 1)));
  gc.FillPath(extremes.path, wxWINDING_RULE);
  if (!scene.isFilled || areOverlaid(scene)) return;
  gc.SetBrush(wxBrush(scene.palette.waveBody));
  gc.FillPath(body.path, wxWINDING_RULE);
}

/// The line through the samples, and what it passes at the window's edges.
void drawLine(wxGraphicsContext& gc, const WaveScene& scene, unsigned channel) {
  const FrameSpan& samples = scene.samples;
  const Lane lane = laneOf(scene, channel);
  const auto first = static_cast<std::uint64_t>(std::max(0.0, std::floor(scene.scale.firstFrame()) - 1));
  const auto end =
      std::min<std::uint64_t>(scene.scale.frames(), static_cast<std::uint64_t>(scene.scale.endFrame()) + 2);
  const double pixelsPerFrame = scene.pixelScale / scene.scale.framesPerPixel();
  const double radius = pixelsPerFrame >= kPixelsOfDots ? std::clamp(pixelsPerFrame / 8, 1.5, 3.0) : 0;
  wxGraphicsPath line = gc.CreatePath(), area = gc.CreatePath(), dots = gc.CreatePath();
  double x = 0, y = 0;
  for (std::uint64_t frame = first; frame < end; ++frame) {
    const std::size_t at = static_cast<std::size_t>(frame - samples.first) * samples.channels + channel;
    if (!samples.covers(frame, frame + 1) || channel >= samples.channels) continue;
    x = scene.scale.xOf(static_cast<double>(frame));
    y = lane.yOf(samples.samples[at]);
    if (frame == first) {
      line.MoveToPoint(x, y);
      area.MoveToPoint(x, lane.middle());
    }
    line.AddLineToPoint(x, y);
    area.AddLineToPoint(x, y);
    if (radius > 0) dots.AddCircle(x, y, radius);
  }
  area.AddLineToPoint(x, lane.middle());
  area.CloseSubpath();
  const wxColour colour = lineColour(scene, channel);
  gc.SetPen(*wxTRANSPARENT_PEN);
  if (scene.isFilled) {
    gc.SetBrush(wxBrush(translucent(colour, 0.22)));
    gc.FillPath(area, wxODDEVEN_RULE);
  }
  gc.SetPen(gc.CreatePen(wxGraphicsPenInfo(colour).Width(1.2)));
  gc.StrokePath(line);
  if (radius <= 0) return;
  gc.SetPen(*wxTRANSPARENT_PEN);
  gc.SetBrush(wxBrush(colour));
  gc.FillPath(dots, wxWINDING_RULE);
}

void drawZeroLines(wxGraphicsContext& gc, const WaveScene& scene) {
  const double pixel = 1 / scene.pixelScale;
  const unsigned lanes = scene.isSplit ? std::max(1u, scene.channels) : 1;
  for (unsigned lane = 0; lane < lanes; ++lane) {
    const Lane area = laneOf(scene, lane);
    const double y = std::floor(area.middle() * scene.pixelScale) * pixel;
    fillBox(gc, scene.palette.line, 0, y, scene.areas.width, pixel);
    for (double quarter : {-0.5, 0.5}) {
      const double level = std::floor((area.middle() + quarter * area.half()) * scene.pixelScale) * pixel;
      if (area.half() > 40) fillBox(gc, scene.palette.faintLine, 0, level, scene.areas.width, pixel);
    }
    if (lane > 0)
      fillBox(gc, scene.palette.line, 0, std::floor(area.top - kLaneMargin), scene.areas.width, pixel);
  }
}

void drawSelection(wxGraphicsContext& gc, const WaveScene& scene) {
  if (!scene.selection) return;
  const double start = std::clamp(scene.scale.xOf(scene.selection->start), -1.0, scene.areas.width + 1);
  const double end = std::clamp(scene.scale.xOf(scene.selection->end), -1.0, scene.areas.width + 1);
  const double top = scene.areas.flags, height = scene.areas.waves - top;
  fillBox(gc, translucent(scene.palette.focus, 0.25), start, top, std::max(1.0, end - start), height);
  for (double x : {start, end}) fillBox(gc, scene.palette.focus, std::floor(x), top, 1, height);
}

void drawCaret(wxGraphicsContext& gc, const WaveScene& scene) {
  if (!scene.caret) return;
  const double x = std::floor(scene.scale.xOf(*scene.caret));
  fillBox(gc, scene.palette.text, x, scene.areas.flags, 1, scene.areas.waves - scene.areas.flags);
}

// Behind the last frame, of a waveform that is shorter than the window can zoom in.
void drawEnd(wxGraphicsContext& gc, const WaveScene& scene) {
  const double end = scene.scale.xOf(scene.scale.frames());
  if (end >= scene.areas.width) return;
  fillBox(gc, scene.palette.panel, end, scene.areas.flags, scene.areas.width - end,
          scene.areas.waves - scene.areas.flags);
}

void drawMessage(wxGraphicsContext& gc, const WaveScene& scene) {
  double width = 0, height = 0;
  gc.SetFont(scene.textFont, scene.palette.quietText);
  gc.GetTextExtent(scene.message, &width, &height);
  gc.DrawText(scene.message, std::floor((scene.areas.width - width) / 2),
              std::floor((scene.areas.flags + scene.areas.waves - height) / 2));
}

}  // namespace

void drawWaves(wxGraphicsContext& gc, const WaveScene& scene) {
  drawZeroLines(gc, scene);
  const double framesPerDevicePixel = scene.scale.framesPerPixel() / scene.pixelScale;
  const bool asLine = framesPerDevicePixel <= kFramesOfLine && !scene.samples.samples.empty();
  for (unsigned channel = scene.channels; channel-- > 0;) {  // the first lies on top
    if (asLine) {
      gc.SetAntialiasMode(wxANTIALIAS_DEFAULT);
      drawLine(gc, scene, channel);
    } else {
      gc.SetAntialiasMode(wxANTIALIAS_NONE);
      drawColumns(gc, scene, channel);
    }
  }
  gc.SetAntialiasMode(wxANTIALIAS_DEFAULT);
}

void drawScene(wxGraphicsContext& gc, const WaveScene& scene) {
  const WaveAreas& areas = scene.areas;
  fillBox(gc, scene.palette.background, 0, 0, areas.width, areas.bottom);
  gc.Clip(0, areas.flags, areas.width, std::max(0.0, areas.waves - areas.flags));
  if (scene.message.empty()) {
    drawEnd(gc, scene);
    drawLoopGround(gc, scene);
    drawWaves(gc, scene);
    drawSelection(gc, scene);
    drawCaret(gc, scene);
  } else {
    drawMessage(gc, scene);
  }
  gc.ResetClip();
  drawFlags(gc, scene);
  drawRulers(gc, scene);
}

}  // namespace vemko::gui
