#pragma once
#include <functional>
#include <optional>
#include <string>
#include <wx/timer.h>
#include <wx/window.h>

#include "app/gui/wave_painter.h"
#include "app/gui/wave_peaks.h"
#include "app/view/wave_flags.h"
#include "core/collection.h"
#include "tools/tool_entry.h"

namespace vemko::gui {

/// The picture of WaveformView, which has bar and scroll bar around it. Mouse: dragging in the waves selects,
/// dragging a flag's end or band moves it (with Shift to zero crossings), a double click on a band selects
/// its span, the wheel zooms at the pointer and with Shift scrolls. Keys: see onKeyDown().
class WaveCanvas : public wxWindow {
 public:
  explicit WaveCanvas(wxWindow* parent);
  ~WaveCanvas() override;

  void show(Collection* collection, ItemId waveform);
  void refreshItem();

  std::function<void(std::u16string stepName, std::function<void(Waveform&)> change)> onEdit;
  std::function<void()> onSelectionChanged;
  std::function<void()> onViewChanged;  ///< Another part of the waveform is visible.
  std::function<void(const wxString&)> onStatus;

  const view::WaveScale& scale() const { return scale_; }
  std::optional<tools::FrameRange> selection() const { return selection_; }
  void commitKeys();  ///< What arrow keys have moved so far becomes one step.

  void zoom(double factor);  ///< At the active handle, the caret, or in the middle.
  void showAll();
  void showSelection();
  void scrollTo(double firstFrame);

 private:
  enum class DragKind { None, Selection, Handle };
  struct Drag {
    DragKind kind = DragKind::None;
    wxPoint start;
    std::uint32_t anchor = 0;     // of a selection
    std::int64_t grabOffset = 0;  // from a band's start to where it was taken hold of
    LoopRecord original;
    LoopRecord moved;
    bool hasMoved = false;
  };

  // wave_canvas.cpp
  const Waveform* waveform() const;
  wxString messageFor(const Waveform* wave) const;
  WaveScene makeScene();
  WaveAreas areas() const;
  view::FlagMetrics flagMetrics() const;
  void onPaint(wxPaintEvent& event);
  void onSize(wxSizeEvent& event);
  void viewChanged();
  void setSelection(std::optional<tools::FrameRange> range);
  void reloadFlags();
  void commit(const LoopRecord& original, const LoopRecord& moved);
  std::uint32_t snapped(std::uint32_t frame) const;
  void tellStatus();
  void tellHandle();
  wxString statusText() const;
  wxString positionText(double frame) const;

  // wave_canvas_mouse.cpp
  void bindMouse();
  void onLeftDown(wxMouseEvent& event);
  void onLeftUp(wxMouseEvent& event);
  void onDoubleClick(wxMouseEvent& event);
  void onMotion(wxMouseEvent& event);
  void onWheel(wxMouseEvent& event);
  void onAutoScroll(wxTimerEvent& event);
  void dragTo(int x, bool snaps);
  void endDrag(bool keep);
  void showHot(std::optional<view::Handle> handle, bool isOverWaves);

  // wave_canvas_keys.cpp
  void bindKeys();
  void onKeyDown(wxKeyEvent& event);
  void onChar(wxKeyEvent& event);
  bool moveHandle(int direction, const wxKeyEvent& event);
  void moveCaret(int direction, const wxKeyEvent& event);
  void cycleHandles(bool forward);
  void escape();

  Collection* collection_ = nullptr;
  ItemId id_ = kNoItem;
  WavePeaks peaks_;
  std::weak_ptr<const SampleSource> drawnSource_;  // whose samples are drawn, as long as they are its own
  bool isOwnEdit_ = false;
  view::WaveScale scale_;
  view::WaveFlags flags_;
  std::optional<tools::FrameRange> selection_;
  std::optional<double> caret_;
  std::optional<double> pointer_;  // frame
  std::optional<view::Handle> active_;
  std::optional<view::Handle> hot_;
  wxStockCursor cursor_ = wxCURSOR_ARROW;
  Drag drag_;
  std::optional<LoopRecord> keysOriginal_, keysMoved_;
  wxTimer autoScroll_, keysTimer_;
};

}  // namespace vemko::gui
