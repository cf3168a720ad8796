#include "app/gui/waveform_view.h"

#include <algorithm>
#include <cmath>
#include <wx/bmpbuttn.h>
#include <wx/panel.h>
#include <wx/scrolbar.h>
#include <wx/sizer.h>
#include <wx/stattext.h>
#include <wx/tglbtn.h>

#include "app/app_settings.h"
#include "app/gui/accessible.h"
#include "app/gui/icons.h"
#include "app/gui/wave_canvas.h"

namespace vemko::gui {
namespace {

constexpr double kButtonZoom = 2;
constexpr int kScrollRange = 1 << 24;
constexpr int kIconSize = 18, kButtonSize = 28;

}  // namespace

WaveformView::WaveformView(wxWindow* parent)
    : wxWindow(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL, "Waveform view") {
  canvas_ = new WaveCanvas(this);
  scroll_ = new wxScrollBar(this, wxID_ANY);
  scroll_->SetCanFocus(false);
  auto* sizer = new wxBoxSizer(wxVERTICAL);
  sizer->Add(makeBar(), 0, wxEXPAND);
  sizer->Add(canvas_, 1, wxEXPAND);
  sizer->Add(scroll_, 0, wxEXPAND);
  SetSizer(sizer);
  canvas_->onEdit = [this](std::u16string name, std::function<void(Waveform&)> change) {
    if (onEdit) onEdit(std::move(name), std::move(change));
  };
  canvas_->onSelectionChanged = [this] {
    showState();
    if (onSelectionChanged) onSelectionChanged();
  };
  canvas_->onViewChanged = [this] {
    showState();
    showScroll();
  };
  canvas_->onStatus = [this](const wxString& text) {
    if (status_->GetLabel() != text) status_->SetLabelText(text);
  };
  for (auto type : {wxEVT_SCROLL_THUMBTRACK, wxEVT_SCROLL_CHANGED, wxEVT_SCROLL_LINEUP, wxEVT_SCROLL_LINEDOWN,
                    wxEVT_SCROLL_PAGEUP, wxEVT_SCROLL_PAGEDOWN, wxEVT_SCROLL_TOP, wxEVT_SCROLL_BOTTOM})
    scroll_->Bind(type, [this](wxScrollEvent&) { onScroll(); });
  showState();
  showScroll();
}

wxWindow* WaveformView::makeBar() {
  auto* bar = new wxPanel(this);
  auto* sizer = new wxBoxSizer(wxHORIZONTAL);
  bar->SetSizer(sizer);
  const int gap = FromDIP(2);
  sizer->AddSpacer(gap);
  zoomIn_ = addButton(bar, "zoom-in", "Zoom in (+)", [this] { canvas_->zoom(1 / kButtonZoom); });
  zoomOut_ = addButton(bar, "zoom-out", "Zoom out (-)", [this] { canvas_->zoom(kButtonZoom); });
  all_ = addButton(bar, "zoom-all", "Show all (0)", [this] { canvas_->showAll(); });
  toSelection_ = addButton(bar, "zoom-selection", "Show the selection", [this] { canvas_->showSelection(); });
  sizer->AddSpacer(FromDIP(8));
  app::DisplaySettings& display = app::appSettings().display;
  filled_ = addToggle(bar, "filled", "Fill the waveform", &display.fillWaveform);
  split_ = addToggle(bar, "split", "Draw channels apart", &display.splitChannels);
  status_ = new wxStaticText(bar, wxID_ANY, wxString(), wxDefaultPosition, wxDefaultSize,
                             wxST_NO_AUTORESIZE | wxST_ELLIPSIZE_END | wxALIGN_RIGHT);
  status_->SetMinSize(wxSize(FromDIP(40), -1));
  sizer->Add(status_, 1, wxALIGN_CENTRE_VERTICAL | wxLEFT | wxRIGHT, FromDIP(8));
  return bar;
}

// With it the icon follows the colours.
template <class Button>
void WaveformView::fit(Button* button, const char* iconName, const char* name) {
  button->SetToolTip(name);
  setAccessibleText(*button, name);
  button->SetMinSize(FromDIP(wxSize(kButtonSize, kButtonSize)));
  button->GetParent()->GetSizer()->Add(button, 0, wxTOP | wxBOTTOM, FromDIP(1));
  button->Bind(wxEVT_SYS_COLOUR_CHANGED, [button, iconName](wxSysColourChangedEvent& event) {
    button->SetBitmap(icon(iconName, kIconSize));
    event.Skip();
  });
}

wxButton* WaveformView::addButton(wxWindow* bar, const char* iconName, const char* name,
                                  std::function<void()> command) {
  auto* button = new wxBitmapButton(bar, wxID_ANY, icon(iconName, kIconSize), wxDefaultPosition,
                                    wxDefaultSize, wxBORDER_NONE | wxBU_EXACTFIT, wxDefaultValidator, name);
  button->Bind(wxEVT_BUTTON, [command = std::move(command)](wxCommandEvent&) { command(); });
  fit(button, iconName, name);
  return button;
}

wxToggleButton* WaveformView::addToggle(wxWindow* bar, const char* iconName, const char* name,
                                        bool* setting) {
  auto* button =
      new wxBitmapToggleButton(bar, wxID_ANY, icon(iconName, kIconSize), wxDefaultPosition, wxDefaultSize,
                               wxBORDER_NONE | wxBU_EXACTFIT | wxBU_NOTEXT, wxDefaultValidator, name);
  button->Bind(wxEVT_TOGGLEBUTTON, [this, button, setting](wxCommandEvent&) {
    *setting = button->GetValue();
    canvas_->Refresh(false);
  });
  fit(button, iconName, name);
  return button;
}

void WaveformView::show(Collection* collection, ItemId waveform) { canvas_->show(collection, waveform); }

void WaveformView::refreshItem() {
  canvas_->refreshItem();
  showState();
}

void WaveformView::finishEdit() { canvas_->commitKeys(); }

std::optional<tools::FrameRange> WaveformView::selection() const { return canvas_->selection(); }

wxWindow* WaveformView::canvas() const { return canvas_; }

void WaveformView::showState() {
  const view::WaveScale& scale = canvas_->scale();
  const bool hasFrames = scale.frames() > 0;
  zoomIn_->Enable(hasFrames && !scale.isClosest());
  zoomOut_->Enable(hasFrames && !scale.showsAll());
  all_->Enable(hasFrames && !scale.showsAll());
  toSelection_->Enable(canvas_->selection().has_value());
  filled_->SetValue(app::appSettings().display.fillWaveform);
  split_->SetValue(app::appSettings().display.splitChannels);
}

void WaveformView::showScroll() {
  const view::WaveScale& scale = canvas_->scale();
  const double frames = std::max(1.0, static_cast<double>(scale.frames()));
  const double unit = kScrollRange / frames;
  const double share = scale.frames() ? std::min(1.0, scale.visibleFrames() / frames) : 1;
  const int thumb = std::max(1, static_cast<int>(share * kScrollRange));
  scroll_->SetScrollbar(static_cast<int>(std::lround(scale.firstFrame() * unit)), thumb, kScrollRange,
                        std::max(1, thumb - thumb / 10), true);
  scroll_->Enable(!scale.showsAll() && scale.frames() > 0);
}

void WaveformView::onScroll() {
  const double frames = canvas_->scale().frames();
  canvas_->scrollTo(scroll_->GetThumbPosition() * frames / kScrollRange);
}

}  // namespace vemko::gui
