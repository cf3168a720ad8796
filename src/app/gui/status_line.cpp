#include "app/gui/status_line.h"

#include <algorithm>
#include <wx/app.h>
#include <wx/evtloop.h>
#include <wx/thread.h>
#include <wx/time.h>
#include <wx/utils.h>

#include "app/gui/text.h"
#include "base/progress.h"

namespace vemko::gui {
namespace {

enum Field { kText, kGauge, kSelection };
constexpr int kSteps = 1000;
constexpr long long kPaintEveryMs = 40;

}  // namespace

StatusLine::StatusLine(wxWindow* parent) : wxStatusBar(parent, wxID_ANY) {
  SetFieldsCount(3);
  const int widths[] = {-1, FromDIP(150), FromDIP(270)};
  SetStatusWidths(3, widths);
  gauge_ = new wxGauge(this, wxID_ANY, kSteps);
  gauge_->SetName("Progress");
  gauge_->Hide();
  Bind(wxEVT_SIZE, [this](wxSizeEvent& event) {
    placeGauge();
    event.Skip();
  });
  setProgressSink({[this](std::u16string_view text) { showStatus(shown(text)); },
                   [this](double fraction) { showProgress(fraction); },
                   [this](bool waiting) { wait(waiting); }});
}

StatusLine::~StatusLine() { setProgressSink({}); }

void StatusLine::showStatus(const wxString& text) {
  if (!wxIsMainThread()) return;
  SetStatusText(text, kText);
  paintNow();
}

void StatusLine::showSelection(const wxString& text) {
  if (GetStatusText(kSelection) != text) SetStatusText(text, kSelection);
}

void StatusLine::showProgress(double fraction) {
  const long long now = wxGetUTCTimeMillis().GetValue();
  if (now - lastPaint_ < kPaintEveryMs) return;
  placeGauge();
  gauge_->Show();
  gauge_->SetValue(static_cast<int>(std::clamp(fraction, 0.0, 1.0) * kSteps));
  paintNow();
}

void StatusLine::showBackground(std::size_t done, std::size_t all) {
  if (waits_ > 0) return;
  placeGauge();
  gauge_->Show(done < all);
  if (all > 0) gauge_->SetValue(static_cast<int>(done * kSteps / all));
}

void StatusLine::wait(bool waiting) {
  if (waiting) {
    if (waits_++ == 0) wxBeginBusyCursor();
    return;
  }
  if (--waits_ > 0) return;
  wxEndBusyCursor();
  gauge_->Hide();
}

void StatusLine::placeGauge() {
  wxRect field;
  if (GetFieldRect(kGauge, field)) gauge_->SetSize(field.Deflate(FromDIP(2), FromDIP(3)));
}

// The work runs in the main thread: only what paints is let through, keys and clicks wait until it is done.
void StatusLine::paintNow() {
  lastPaint_ = wxGetUTCTimeMillis().GetValue();
  Update();
  wxEventLoopBase* loop = wxEventLoopBase::GetActive();
  if (waits_ > 0 && loop && !loop->IsYielding()) loop->YieldFor(wxEVT_CATEGORY_UI);
}

}  // namespace vemko::gui
