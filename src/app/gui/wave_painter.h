#pragma once
// The drawing of a waveform: pure functions of what is to be seen.
#include <optional>
#include <wx/font.h>
#include <wx/graphics.h>

#include "app/gui/drawing.h"
#include "app/gui/palette.h"
#include "app/gui/wave_peaks.h"
#include "app/view/wave_flags.h"
#include "tools/tool_entry.h"

namespace vemko::gui {

/// The bands of the picture from top to bottom, in window coordinates.
struct WaveAreas {
  double width = 0;
  double timeRuler = 0;  ///< Lower edge.
  double flags = 0;      ///< Lower edge; that of the time ruler where there are none.
  double waves = 0;      ///< Lower edge; from here to `bottom` is the ruler in frames.
  double bottom = 0;
};

/// All that a picture shows.
struct WaveScene {
  WaveAreas areas;
  view::FlagMetrics flagMetrics;
  view::WaveScale scale;
  std::uint32_t rate = 0;
  unsigned channels = 0;
  bool isFilled = true;  ///< "viz.bWaveDispFill"
  bool isSplit = false;  ///< "viz.bWaveDispSplit"
  const PeakPyramid* pyramid = nullptr;
  FrameSpan samples;  ///< Of what is visible, or empty.
  const view::WaveFlags* flags = nullptr;
  std::optional<view::Handle> activeHandle;
  std::optional<view::Handle> hotHandle;  ///< Under the pointer.
  std::optional<tools::FrameRange> selection;
  std::optional<double> caret;  ///< Frame.
  bool hasFocus = false;
  double pixelScale = 1;    ///< Device pixels in a unit of the window's coordinates.
  bool hidesLines = false;  ///< Flags are too many for their lines to be drawn through the waves.
  wxFont font;              ///< Of rulers and labels.
  wxFont textFont;
  wxString message;  ///< In place of the waves.
  Palette palette;
};

/// The main loop's tint, behind the waves.
void drawLoopGround(wxGraphicsContext& gc, const WaveScene& scene);
void drawWaves(wxGraphicsContext& gc, const WaveScene& scene);
void drawRulers(wxGraphicsContext& gc, const WaveScene& scene);
void drawFlags(wxGraphicsContext& gc, const WaveScene& scene);
/// Everything, in the right order.
void drawScene(wxGraphicsContext& gc, const WaveScene& scene);

/// Frames per device pixel above which the pyramid is drawn instead of the samples.
inline constexpr double kPyramidFrames = PeakPyramid::kBlockFrames;

}  // namespace vemko::gui
