#pragma once
#include <deque>
#include <mutex>
#include <utility>
#include <wx/textctrl.h>

#include "base/log.h"

namespace vemko::gui {

/// Shows what the core logs, also from worker threads.
class LogPane : public wxTextCtrl {
 public:
  explicit LogPane(wxWindow* parent);
  ~LogPane() override;

 private:
  using Lines = std::deque<std::pair<LogLevel, std::u16string>>;

  void showPending();
  void append(const Lines& lines);

  std::mutex guard_;
  Lines pending_;
  Lines shown_;
};

}  // namespace vemko::gui
