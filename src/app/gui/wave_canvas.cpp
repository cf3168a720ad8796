#include "app/gui/wave_canvas.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <wx/dcbuffer.h>
#include <wx/settings.h>

#include "app/app_settings.h"
#include "app/gui/accessible.h"
#include "app/gui/text.h"
#include "app/view/ruler.h"
#include "base/last_error.h"

namespace vemko::gui {
namespace {

constexpr int kTimeRuler = 20, kFrameRuler = 18, kLane = 17, kHandle = 9, kReach = 4;
constexpr int kPixelsOfFlag = 6;  // where there are more flags, their lines would hide the waves
constexpr double kSnapPixels = 12;
constexpr double kLeastSnap = 64, kMostSnap = 8192;  // frames

}  // namespace

WaveCanvas::WaveCanvas(wxWindow* parent) : peaks_([this] { CallAfter([this] { Refresh(false); }); }) {
  SetBackgroundStyle(wxBG_STYLE_PAINT);
  Create(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize,
         wxWANTS_CHARS | wxFULL_REPAINT_ON_RESIZE | wxBORDER_NONE, "Waveform");
  SetMinSize(FromDIP(wxSize(120, 90)));
  autoScroll_.SetOwner(this, NewControlId());
  keysTimer_.SetOwner(this, NewControlId());
  Bind(wxEVT_PAINT, &WaveCanvas::onPaint, this);
  Bind(wxEVT_SIZE, &WaveCanvas::onSize, this);
  const auto repaint = [this](wxFocusEvent& event) {
    Refresh(false);
    event.Skip();
  };
  Bind(wxEVT_SET_FOCUS, repaint);
  Bind(wxEVT_KILL_FOCUS, [this, repaint](wxFocusEvent& event) {
    commitKeys();
    repaint(event);
  });
  Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
    Refresh(false);
    event.Skip();
  });
  bindMouse();
  bindKeys();
  setAccessibleRole(*this, "image");
  setAccessibleText(*this, "Waveform");
}

WaveCanvas::~WaveCanvas() = default;

const Waveform* WaveCanvas::waveform() const {
  return collection_ && id_ != kNoItem ? collection_->find<Waveform>(id_) : nullptr;
}

void WaveCanvas::show(Collection* collection, ItemId waveformId) {
  if (collection == collection_ && waveformId == id_ && waveform()) return refreshItem();
  endDrag(false);
  commitKeys();
  collection_ = collection;
  id_ = waveformId;
  active_ = hot_ = std::nullopt;
  caret_ = pointer_ = std::nullopt;
  peaks_.clear();
  const Waveform* wave = waveform();
  if (wave) peaks_.start(*wave, false);
  drawnSource_ = wave && wave->sourceIsIntact() ? wave->source : nullptr;
  scale_.setFrames(wave ? wave->frames : 0);
  flags_ = wave ? view::WaveFlags(*wave) : view::WaveFlags();
  setSelection(std::nullopt);
  tellHandle();
  viewChanged();
}

void WaveCanvas::refreshItem() {
  const Waveform* wave = waveform();
  if (!wave) return show(nullptr, kNoItem);
  if (!isOwnEdit_) {
    endDrag(false);
    keysOriginal_ = keysMoved_ = std::nullopt;
  }
  // Samples of a file stay what they are, whether loaded or not; all others may have changed.
  const bool isSame = wave->frames == scale_.frames() &&
                      (isOwnEdit_ || (wave->sourceIsIntact() && wave->source == drawnSource_.lock()));
  if (!isSame) {
    peaks_.start(*wave, true);
    drawnSource_ = wave->sourceIsIntact() ? wave->source : nullptr;
  }
  if (wave->frames != scale_.frames()) {
    scale_.setFrames(wave->frames);
    caret_ = std::nullopt;
    if (selection_ && selection_->end > wave->frames) setSelection(std::nullopt);
  }
  reloadFlags();
  viewChanged();
}

void WaveCanvas::reloadFlags() {
  const Waveform* wave = waveform();
  flags_ = wave ? view::WaveFlags(*wave) : view::WaveFlags();
  if (active_ && !flags_.find(active_->recordId)) active_ = std::nullopt;
  hot_ = std::nullopt;
}

view::FlagMetrics WaveCanvas::flagMetrics() const {
  return {static_cast<double>(FromDIP(kTimeRuler)), static_cast<double>(FromDIP(kLane)),
          static_cast<double>(FromDIP(kHandle)), static_cast<double>(FromDIP(kReach))};
}

WaveAreas WaveCanvas::areas() const {
  const wxSize size = GetClientSize();
  const view::FlagMetrics metrics = flagMetrics();
  WaveAreas areas;
  areas.width = size.x;
  areas.bottom = size.y;
  areas.timeRuler = metrics.top;
  areas.flags = metrics.top + flags_.lanes() * metrics.laneHeight;
  areas.waves = std::max(areas.flags, areas.bottom - FromDIP(kFrameRuler));
  return areas;
}

wxString WaveCanvas::messageFor(const Waveform* wave) const {
  if (!wave) return "No waveform is selected";
  if (wave->frames == 0 || wave->channels == 0) return "The waveform is empty";
  return shown(peaks_.error());
}

WaveScene WaveCanvas::makeScene() {
  WaveScene scene;
  scene.areas = areas();
  scene.flagMetrics = flagMetrics();
  scene.scale = scale_;
  scene.isFilled = app::appSettings().display.fillWaveform;
  scene.isSplit = app::appSettings().display.splitChannels;
  scene.pyramid = peaks_.pyramid();
  scene.flags = &flags_;
  const auto isVisible = [&](const view::Flag& flag) {
    return flag.end >= scale_.firstFrame() && flag.first <= scale_.endFrame();
  };
  scene.hidesLines = std::ranges::count_if(flags_.flags(), isVisible) > scale_.width() / kPixelsOfFlag;
  scene.activeHandle = active_;
  scene.hotHandle = hot_;
  scene.selection = selection_;
  scene.caret = caret_;
  scene.hasFocus = HasFocus();
  scene.pixelScale = GetContentScaleFactor();
  scene.font = GetFont().Scaled(0.85f);
  scene.textFont = GetFont();
  scene.palette = currentPalette();
  const Waveform* wave = waveform();
  scene.rate = wave ? wave->rate : 0;
  scene.message = messageFor(wave);
  scene.hidesLines |= !scene.message.empty();
  if (!scene.message.empty()) return scene;
  scene.channels = wave->channels;
  if (scale_.framesPerPixel() / scene.pixelScale < kPyramidFrames) {
    const auto first = static_cast<std::uint64_t>(std::max(0.0, scale_.firstFrame() - 2));
    scene.samples = peaks_.samples(*wave, first, static_cast<std::uint64_t>(scale_.endFrame() + 2));
  }
  return scene;
}

void WaveCanvas::onPaint(wxPaintEvent&) {
  wxAutoBufferedPaintDC dc(this);
  std::unique_ptr<wxGraphicsContext> gc(wxGraphicsContext::Create(dc));
  if (gc) drawScene(*gc, makeScene());
}

void WaveCanvas::onSize(wxSizeEvent& event) {
  scale_.setWidth(GetClientSize().x);
  viewChanged();
  event.Skip();
}

void WaveCanvas::viewChanged() {
  Refresh(false);
  if (onViewChanged) onViewChanged();
  tellStatus();
}

void WaveCanvas::setSelection(std::optional<tools::FrameRange> range) {
  if (range && range->start > range->end) std::swap(range->start, range->end);
  if (range && range->start == range->end) range = std::nullopt;
  const bool isSame = range.has_value() == selection_.has_value() &&
                      (!range || (range->start == selection_->start && range->end == selection_->end));
  if (isSame) return;
  selection_ = range;
  Refresh(false);
  tellStatus();
  if (onSelectionChanged) onSelectionChanged();
}

void WaveCanvas::commit(const LoopRecord& original, const LoopRecord& moved) {
  const bool isSame = original.startFrames() == moved.startFrames() &&
                      original.endFrames() == moved.endFrames() && original.end == moved.end;
  if (!isSame && onEdit) {
    isOwnEdit_ = true;
    onEdit(std::u16string(view::moveStepName(moved.type)), [moved](Waveform& wave) {
      if (LoopRecord* record = wave.findRecord(moved.id)) {
        record->start = moved.start;
        record->end = moved.end;
        record->startHundredths = moved.startHundredths;
        record->endHundredths = moved.endHundredths;
      }
    });
    isOwnEdit_ = false;
  }
  reloadFlags();
  Refresh(false);
  tellStatus();
}

std::uint32_t WaveCanvas::snapped(std::uint32_t frame) const {
  const Waveform* wave = waveform();
  if (!wave) return frame;
  const SampleAccess access = accessTo(*wave);
  if (!access.canSeek()) return frame;
  const auto reach =
      static_cast<std::uint64_t>(std::clamp(scale_.framesPerPixel() * kSnapPixels, kLeastSnap, kMostSnap));
  LastErrorKeeper keeper;
  const auto window = readWindow(access, frame > reach ? frame - reach : 0, frame + reach);
  return window ? view::nearestZeroCrossing(*window, frame).value_or(frame) : frame;
}

wxString WaveCanvas::positionText(double frame) const {
  const Waveform* wave = waveform();
  const double bounded = std::clamp(std::floor(frame), 0.0, static_cast<double>(scale_.frames()));
  wxString text = "frame " + view::frameText(static_cast<std::uint64_t>(bounded));
  if (wave && wave->rate) text = view::timeText(bounded / wave->rate) + wxString(L"  \u00b7  ") + text;
  return text;
}

wxString WaveCanvas::statusText() const {
  const Waveform* wave = waveform();
  if (!wave) return {};
  const auto shownHandle = drag_.kind == DragKind::Handle ? active_
                           : hot_                         ? hot_
                           : HasFocus()                   ? active_
                                                          : hot_;
  if (shownHandle)
    if (const view::Flag* flag = flags_.find(shownHandle->recordId)) {
      wxString text = shown(view::recordDescription(flag->record, flag->isMainLoop, wave->rate));
      text.Replace("\n", L"  \u00b7  ");
      return text;
    }
  if (selection_) {
    const double rate = std::max(1u, wave->rate);
    return "Selected " + view::timeText(selection_->start / rate) + wxString(L"\u2013") +
           view::timeText(selection_->end / rate) + wxString(L"  \u00b7  ") +
           view::timeText((selection_->end - selection_->start) / rate) + ", " +
           view::frameText(std::uint64_t{selection_->end - selection_->start}) + " frames";
  }
  if (pointer_) return positionText(*pointer_);
  return caret_ ? positionText(*caret_) : wxString();
}

void WaveCanvas::tellStatus() {
  if (onStatus) onStatus(statusText());
}

// For those who cannot see which handle the keys move.
void WaveCanvas::tellHandle() {
  const Waveform* wave = waveform();
  setAccessibleText(*this,
                    wave ? "Waveform " + shown(view::shortName(wave->displayName())) : wxString("Waveform"),
                    active_ ? statusText() : wxString());
}

void WaveCanvas::zoom(double factor) {
  double x = scale_.width() / 2.0;
  const auto handleFrame = active_ ? flags_.frameOf(*active_) : std::nullopt;
  for (const std::optional<double>& frame : {caret_, handleFrame})
    if (frame && scale_.xOf(*frame) >= 0 && scale_.xOf(*frame) <= scale_.width()) x = scale_.xOf(*frame);
  scale_.zoom(factor, x);
  viewChanged();
}

void WaveCanvas::showAll() {
  scale_.showAll();
  viewChanged();
}

void WaveCanvas::showSelection() {
  if (!selection_) return;
  const double margin = (selection_->end - selection_->start) * 0.02;
  scale_.show(selection_->start - margin, selection_->end + margin);
  viewChanged();
}

void WaveCanvas::scrollTo(double firstFrame) {
  scale_.scrollTo(firstFrame);
  viewChanged();
}

}  // namespace vemko::gui
