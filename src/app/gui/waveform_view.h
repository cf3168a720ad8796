#pragma once
#include <functional>
#include <optional>
#include <string>
#include <wx/window.h>

#include "core/collection.h"
#include "tools/tool_entry.h"

class wxButton;
class wxScrollBar;
class wxStaticText;
class wxToggleButton;

namespace vemko::gui {

class WaveCanvas;

/// One waveform: its picture with rulers, loops, sections and markers, a small bar of commands above it and a
/// scroll bar below.
class WaveformView : public wxWindow {
 public:
  explicit WaveformView(wxWindow* parent);

  /// kNoItem, or a null collection, shows nothing. The collection must outlive what is shown of it.
  void show(Collection* collection, ItemId waveform);
  /// After any change of the waveform or of how waveforms are displayed; also when it was removed.
  void refreshItem();

  /// Makes what arrow keys have just moved a step now and not after a pause; before undo, redo and saving.
  void finishEdit();

  /// Called once for each finished change; whoever is called applies it to the waveform, as an undo step of
  /// that name, or leaves things as they are.
  std::function<void(std::u16string stepName, std::function<void(Waveform&)> change)> onEdit;
  std::function<void()> onSelectionChanged;

  std::optional<tools::FrameRange> selection() const;
  /// The part that draws and takes the keys.
  wxWindow* canvas() const;

 private:
  wxWindow* makeBar();
  wxButton* addButton(wxWindow* bar, const char* iconName, const char* name, std::function<void()> command);
  wxToggleButton* addToggle(wxWindow* bar, const char* iconName, const char* name, bool* setting);
  template <class Button>
  void fit(Button* button, const char* iconName, const char* name);
  void showState();
  void showScroll();
  void onScroll();

  WaveCanvas* canvas_ = nullptr;
  wxScrollBar* scroll_ = nullptr;
  wxStaticText* status_ = nullptr;
  wxButton *zoomIn_ = nullptr, *zoomOut_ = nullptr, *all_ = nullptr, *toSelection_ = nullptr;
  wxToggleButton *filled_ = nullptr, *split_ = nullptr;
};

}  // namespace vemko::gui
