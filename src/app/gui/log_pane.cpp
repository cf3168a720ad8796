#include "app/gui/log_pane.h"

#include <wx/settings.h>

#include "app/gui/accessible.h"
#include "app/gui/text.h"

namespace vemko::gui {
namespace {

constexpr std::size_t kMostPending = 2000;  // a damaged file can log hundreds of thousands of lines
constexpr std::size_t kMostLines = 10000;

}  // namespace

LogPane::LogPane(wxWindow* parent)
    : wxTextCtrl(parent, wxID_ANY, {}, wxDefaultPosition, wxDefaultSize,
                 wxTE_MULTILINE | wxTE_READONLY | wxTE_RICH2 | wxBORDER_NONE) {
  SetName("Log");
  setAccessibleText(*this, "Log");
  setLogSink([this](LogLevel level, std::u16string_view line) {
    std::lock_guard lock(guard_);
    if (pending_.size() >= kMostPending) return;
    pending_.emplace_back(level, line);
    if (pending_.size() == 1) CallAfter(&LogPane::showPending);
  });
  Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
    event.Skip();
    Clear();
    append(shown_);
  });
}

LogPane::~LogPane() { setLogSink({}); }

void LogPane::showPending() {
  Lines lines;
  {
    std::lock_guard lock(guard_);
    lines.swap(pending_);
  }
  if (lines.size() >= kMostPending) lines.emplace_back(LogLevel::Info, u"...");
  if (shown_.size() > kMostLines) {
    shown_.clear();
    Clear();
  }
  append(lines);
  shown_.insert(shown_.end(), lines.begin(), lines.end());
}

void LogPane::append(const Lines& lines) {
  const wxColour plain = wxSystemSettings::GetColour(wxSYS_COLOUR_WINDOWTEXT);
  const wxColour warning = plain.GetLuminance() > 0.5 ? wxColour(255, 190, 90) : wxColour(160, 80, 0);
  for (const auto& [level, line] : lines) {
    SetDefaultStyle(wxTextAttr(level == LogLevel::Warning ? warning : plain));
    AppendText(shown(line) + "\n");
  }
  ShowPosition(GetLastPosition());
}

}  // namespace vemko::gui
