#pragma once
#include <cstddef>
#include <string_view>
#include <wx/gauge.h>
#include <wx/statusbr.h>

namespace vemko::gui {

/// The window's last line: what is going on, a gauge while it has a measurable length, and what is selected.
/// While it lives the core's progress goes here.
class StatusLine : public wxStatusBar {
 public:
  explicit StatusLine(wxWindow* parent);
  ~StatusLine() override;

  void showStatus(const wxString& text);
  void showSelection(const wxString& text);
  /// Work that goes on beside others; the gauge hides when all is done.
  void showBackground(std::size_t done, std::size_t all);
  /// 0..1; the gauge hides when the wait ends.
  void showProgress(double fraction);

 private:
  void wait(bool waiting);
  void placeGauge();
  void paintNow();

  wxGauge* gauge_;
  int waits_ = 0;
  long long lastPaint_ = 0;
};

}  // namespace vemko::gui
